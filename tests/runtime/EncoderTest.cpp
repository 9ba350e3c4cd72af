#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/BElement.h"
#include "platform/BEncoder.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"

namespace {

std::string HexOf(const BEncoderC& encoder)
{
    return Bytes::ToHex(std::string(encoder.Data(), encoder.Size()));
}

std::string HexOfElement(const BElementC& element)
{
    BEncoderC encoder;
    EXPECT_TRUE(encoder.Write(element));
    return HexOf(encoder);
}

struct EncodedInteger
{
    std::int64_t value;
    const char* bytes;
};

// The shortest form of each integer, at both sides of every boundary.
const EncodedInteger kEncodedIntegers[] = {
    {0, "00"},
    {127, "7f"},
    {128, "cc 80"},
    {255, "cc ff"},
    {256, "cd 01 00"},
    {65535, "cd ff ff"},
    {65536, "ce 00 01 00 00"},
    {4294967295, "ce ff ff ff ff"},
    {4294967296, "cf 00 00 00 01 00 00 00 00"},
    {std::numeric_limits<std::int64_t>::max(), "cf 7f ff ff ff ff ff ff ff"},
    {-1, "ff"},
    {-32, "e0"},
    {-33, "d0 df"},
    {-128, "d0 80"},
    {-129, "d1 ff 7f"},
    {-32768, "d1 80 00"},
    {-32769, "d2 ff ff 7f ff"},
    {std::numeric_limits<std::int32_t>::min(), "d2 80 00 00 00"},
    {-2147483649, "d3 ff ff ff ff 7f ff ff ff"},
    {std::numeric_limits<std::int64_t>::min(), "d3 80 00 00 00 00 00 00 00"},
};

struct EncodedDouble
{
    double value;
    const char* bytes;
};

const EncodedDouble kEncodedDoubles[] = {
    {0.0, "cb 00 00 00 00 00 00 00 00"},
    {-0.0, "cb 80 00 00 00 00 00 00 00"},
    {1.0, "cb 3f f0 00 00 00 00 00 00"},
    {2.5, "cb 40 04 00 00 00 00 00 00"},
    {std::numeric_limits<double>::infinity(), "cb 7f f0 00 00 00 00 00 00"},
    {std::numeric_limits<double>::denorm_min(), "cb 00 00 00 00 00 00 00 01"},
    {std::numeric_limits<double>::max(), "cb 7f ef ff ff ff ff ff ff"},
};

std::unique_ptr<BListC> ListNested(int levels)
{
    auto list = std::make_unique<BListC>(nullptr);
    BListC* innermost = list.get();
    for (int level = 1; level < levels; ++level) {
        auto* const next = new BListC(nullptr);
        innermost->Add(next);
        innermost = next;
    }
    return list;
}

} // namespace

TEST(Encoder, WritesIntegersInTheirShortestForm)
{
    for (const EncodedInteger& row : kEncodedIntegers) {
        BListC list(nullptr);
        list.AddInt64(row.value);
        EXPECT_EQ(row.bytes, HexOfElement(BAtomC(row.value))) << row.value;
        EXPECT_EQ(std::string("91 ") + row.bytes, HexOfElement(list)) << row.value;
        BEncoderC encoder;
        encoder.WriteInteger(row.value);
        EXPECT_EQ(row.bytes, HexOf(encoder)) << row.value;
    }
}

TEST(Encoder, WritesDoublesAlwaysAsFloat64)
{
    for (const EncodedDouble& row : kEncodedDoubles) {
        BListC list(nullptr);
        list.AddDouble(row.value);
        EXPECT_EQ(row.bytes, HexOfElement(BAtomC(row.value))) << row.value;
        EXPECT_EQ(std::string("91 ") + row.bytes, HexOfElement(list)) << row.value;
    }
}

TEST(Encoder, WritesTextsInTheirShortestForm)
{
    const std::string text31(31, 'x');
    const std::string text32(32, 'x');
    const std::string text256(256, 'x');
    const std::string text65536(65536, 'x');
    EXPECT_EQ("a0", HexOfElement(BAtomC(std::string())));
    EXPECT_EQ("bf", HexOfElement(BAtomC(text31)).substr(0, 2));
    EXPECT_EQ("d9 20", HexOfElement(BAtomC(text32)).substr(0, 5));
    EXPECT_EQ("da 01 00", HexOfElement(BAtomC(text256)).substr(0, 8));
    EXPECT_EQ("db 00 01 00 00", HexOfElement(BAtomC(text65536)).substr(0, 14));
}

TEST(Encoder, WritesListsInTheirShortestForm)
{
    const std::pair<int, const char*> rows[] = {
        {0, "90"}, {15, "9f"}, {16, "dc 00 10"}, {65535, "dc ff ff"}, {65536, "dd 00 01 00 00"}};
    for (const auto& [count, header] : rows) {
        BListC list(nullptr);
        for (int index = 0; index < count; ++index) {
            list.AddInt(0);
        }
        const std::string bytes = HexOfElement(list);
        EXPECT_EQ(header, bytes.substr(0, std::string(header).size())) << count;
    }
}

TEST(Encoder, WritesNothingNestedListsAndDictionaries)
{
    BListC list(nullptr);
    list.AddNothing();
    auto* const nested = new BListC(nullptr);
    nested->AddString("a");
    list.Add(nested);
    auto* const dictionary = new BDictionaryC(nullptr);
    dictionary->Add("k", new BAtomC(1));
    dictionary->Add("n", nullptr);
    list.Add(dictionary);
    EXPECT_EQ("93 c0 91 a1 61 82 a1 6b 01 a1 6e c0", HexOfElement(list));
}

TEST(Encoder, WritesTheLargestUnsignedNumber)
{
    BEncoderC encoder;
    encoder.WriteUnsigned(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ("cf ff ff ff ff ff ff ff ff", HexOf(encoder));
}

TEST(Encoder, WritesOneMessageBehindTheOtherUntilItIsCleared)
{
    BEncoderC encoder;
    encoder.WriteListHeader(2);
    encoder.WriteString("ab", 2);
    encoder.WriteNothing();
    EXPECT_EQ("92 a2 61 62 c0", HexOf(encoder));
    encoder.Clear();
    EXPECT_EQ(0U, encoder.Size());
    encoder.WriteInteger(5);
    EXPECT_EQ("05", HexOf(encoder));
}

TEST(Encoder, AllocatesNothingForAFurtherMessageOfTheSameSize)
{
    BEncoderC encoder;
    BListC list(nullptr);
    list.AddInt(1);
    list.AddDouble(2.5);
    ASSERT_TRUE(encoder.Write(list));
    const CAllocationMeter meter;
    encoder.Clear();
    ASSERT_TRUE(encoder.Write(list));
    EXPECT_EQ(0U, meter.BlockCount());
}

TEST(Encoder, GivesALargeBufferBackAndKeepsASmallOne)
{
    const std::string large(std::size_t{3} * 1024 * 1024, 'x');
    const std::string small(std::size_t{512} * 1024, 'x');
    for (const auto& [text, isKept] : {std::pair(&large, false), std::pair(&small, true)}) {
        BEncoderC encoder;
        encoder.WriteString(text->data(), text->size());
        encoder.Clear();
        const CAllocationMeter meter;
        encoder.WriteString(small.data(), small.size());
        EXPECT_EQ(isKept, meter.BlockCount() == 0) << text->size();
    }
}

TEST(Encoder, Refuses65LevelsOfNestingAndTakes64)
{
    BEncoderC encoder;
    EXPECT_TRUE(encoder.Write(*ListNested(64)));
    encoder.Clear();
    EXPECT_FALSE(encoder.Write(*ListNested(65)));
}

TEST(List, KeepsNumbersInPlaceAt16BytesEach)
{
    BListC list(nullptr);
    const CAllocationMeter meter;
    list.Reserve(1000);
    for (int index = 0; index < 500; ++index) {
        list.AddInt(index);
        list.AddDouble(index);
    }
    EXPECT_EQ(1U, meter.BlockCount());
    EXPECT_EQ(16000U, meter.LargestBlock());
}
