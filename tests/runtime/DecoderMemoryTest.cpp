#include <algorithm>
#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/BEncoder.h"
#include "runtime/MessageDecoder.h"
#include "tests/runtime/DecoderFeed.h"
#include "tests/runtime/MessageLimits.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"

using Bytes::BigEndian;
using Bytes::FromHex;
using EResult = MessageDecoderC::EResult;

namespace {

constexpr std::size_t kMostMemory = 96 * kMebibyte;
/// The room that bytes arrive in, and what the decoder itself takes.
constexpr std::size_t kBeside = kMebibyte;

const std::string kEventHead = FromHex("93 02 a1 65");

std::string ListHead(std::size_t count)
{
    return '\xdd' + BigEndian(count, 4);
}

std::string Repeated(const std::string& unit, std::size_t bytes)
{
    std::string all = unit;
    all.reserve(2 * (bytes + unit.size()));
    while (all.size() < bytes) {
        all += all;
    }
    return all.substr(0, (bytes + unit.size() - 1) / unit.size() * unit.size());
}

/// Decodes a stream that arrives in portions, until the message ends or is refused.
EResult DecodeInPortions(MessageDecoderC& decoder, const std::string& bytes, MessageC& message,
                         std::size_t portion)
{
    EResult result = EResult::NeedMore;
    for (std::size_t place = 0; place < bytes.size() && result == EResult::NeedMore;) {
        std::size_t room = 0;
        char* const space = decoder.Space(room);
        const std::size_t count = std::min({room, bytes.size() - place, portion});
        std::memcpy(space, bytes.data() + place, count);
        decoder.Arrived(count);
        place += count;
        result = decoder.Next(message);
    }
    return result;
}

/// An attack that never ends: a head, then a unit over and over.
struct Attack
{
    const char* name;
    std::string head;
    const char* unit;
    const char* outcome; // kFits, or why it is refused
};

void PrintTo(const Attack& attack, std::ostream* out)
{
    *out << attack.name;
}

std::string Nested(int levels)
{
    return std::string(static_cast<std::size_t>(levels), '\x91');
}

const char* const kOverMemory = "a message whose values take more than 96 MiB";
const char* const kOverBytes = "a message of more than 32 MiB";
/// As many as are allowed end the message; what stands behind them does not matter.
const char* const kFits = "fits";

class EndlessMessage : public testing::TestWithParam<Attack>
{
};

} // namespace

TEST_P(EndlessMessage, TakesAtMost96Mebibytes)
{
    const Attack& attack = GetParam();
    const std::string stream =
        kEventHead + attack.head + Repeated(FromHex(attack.unit), kLargestMessage);
    const CAllocationMeter meter;
    MessageDecoderC decoder;
    MessageC message;
    const EResult result = DecodeInPortions(decoder, stream, message, 16384);
    EXPECT_LE(meter.PeakGrowth(), kMostMemory + kBeside);
    EXPECT_LE(decoder.Held(), kMostMemory + kBeside);
    const std::string outcome = result == EResult::Bad ? decoder.Problem() : kFits;
    EXPECT_EQ(attack.outcome, outcome);
}

INSTANTIATE_TEST_SUITE_P(
    EndlessMessage, EndlessMessage,
    testing::Values(
        Attack{"EmptyLists", ListHead(kMostElements), "90", kOverMemory},
        Attack{"EmptyDictionaries", ListHead(kMostElements), "80", kOverMemory},
        Attack{"EmptyTexts", ListHead(kMostElements), "a0", kFits},
        Attack{"EmptyBytes", ListHead(kMostElements), "c4 00", kFits},
        Attack{"Nothing", ListHead(kMostElements), "c0", kFits},
        Attack{"SmallNumbers", ListHead(kMostElements), "07", kFits},
        Attack{"Doubles", ListHead(kMostElements), "cb 40 00 00 00 00 00 00 00", kOverBytes},
        Attack{"ListsOfOneNumber", ListHead(kMostElements / 2), "91 07", kOverMemory},
        Attack{"ListsOfOneText", ListHead(kMostElements / 2), "91 a1 61", kOverMemory},
        Attack{"ListsOfAnEmptyList", ListHead(kMostElements / 2), "91 90", kOverMemory},
        Attack{"ListsOfThree", ListHead(kMostElements / 4), "93 90 80 a0", kOverMemory},
        Attack{"ListsOfEightEmptyLists", ListHead(kMostElements / 9), "98 90 90 90 90 90 90 90 90",
               kOverMemory},
        Attack{"DictionariesOfEmptyKeys", ListHead(kMostElements / 2), "81 a0 c0", kOverMemory},
        Attack{"ADictionaryOfEmptyKeysAndNothing", '\x91' + ('\xdf' + BigEndian(4'000'000, 4)),
               "a0 c0", kOverMemory},
        Attack{"ADictionaryOfNumbers", '\x91' + ('\xdf' + BigEndian(4'000'000, 4)), "a0 07",
               kOverMemory},
        Attack{"ADictionaryOfLists", '\x91' + ('\xdf' + BigEndian(4'000'000, 4)), "a0 90",
               kOverMemory},
        Attack{"ADictionaryOfTexts", '\x91' + ('\xdf' + BigEndian(4'000'000, 4)), "a1 6b a1 76",
               kOverMemory},
        Attack{"EmptyListsInTheDepth", Nested(60) + ListHead(kMostElements - 100), "90",
               kOverMemory},
        Attack{"AnnouncedListsInTheDepth", ListHead(kMostElements / 4), "dc 00 02 dc 00 01 90 90",
               kOverMemory},
        Attack{"TextsOf16", ListHead(kMostElements),
               "b0 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61", kOverBytes},
        Attack{
            "BigAndSmall", ListHead(kMostElements / 2),
            "d9 28 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 "
            "61 61 61 61 61 61 61 61 61 61 61 61 61 61 90",
            kOverMemory}),
    [](const testing::TestParamInfo<Attack>& row) { return row.param.name; });

TEST(DecoderMemory, RefusesEmptyListsOnceTheyTakeTooMuch)
{
    MessageDecoderC decoder;
    MessageC message;
    const std::string stream =
        kEventHead + ListHead(kMostElements) + std::string(2'000'000, '\x90');
    ASSERT_EQ(EResult::Bad, DecodeInPortions(decoder, stream, message, 16384));
    EXPECT_EQ(kOverMemory, decoder.Problem());
}

TEST(DecoderMemory, IsBoundedForATextWithoutEnd)
{
    const CAllocationMeter meter;
    MessageDecoderC decoder;
    MessageC message;
    const std::string stream = kEventHead + FromHex("dd 00 40 00 00 db 01 ff ff 00");
    EXPECT_EQ(EResult::NeedMore, DecodeInPortions(decoder, stream, message, 4096));
    const std::string portion(kMebibyte, 'x');
    for (int sent = 0; sent < 31; ++sent) {
        ASSERT_EQ(EResult::NeedMore, DecodeInPortions(decoder, portion, message, 16384));
    }
    EXPECT_EQ(EResult::Bad, DecodeInPortions(decoder, portion, message, 16384));
    EXPECT_LE(meter.PeakGrowth(), 36 * kMebibyte);
}

namespace {

/// Lists of as many elements as a message may hold, within 32 MiB.
struct Plain
{
    const char* name;
    const char* unit;
    std::size_t elements; // a unit holds
};

void PrintTo(const Plain& plain, std::ostream* out)
{
    *out << plain.name;
}

class PlainList : public testing::TestWithParam<Plain>
{
};

} // namespace

TEST_P(PlainList, OfTheMostElementsFitsAndComesBackByteByByte)
{
    const std::string unit = FromHex(GetParam().unit);
    const std::size_t units = kMostElements / GetParam().elements;
    const std::string list =
        ListHead(units * GetParam().elements) + Repeated(unit, units * unit.size());
    const std::string stream = kEventHead + list;
    ASSERT_LE(stream.size(), kLargestMessage);
    for (const std::size_t portion : {std::size_t{16} * 1024, stream.size()}) {
        const CAllocationMeter meter;
        MessageDecoderC decoder;
        MessageC message;
        ASSERT_EQ(EResult::Complete, DecodeInPortions(decoder, stream, message, portion))
            << decoder.Problem();
        EXPECT_LE(meter.PeakGrowth(), kMostMemory + kBeside) << portion;
        BEncoderC encoder;
        EXPECT_TRUE(encoder.Write(*message.arguments));
        EXPECT_TRUE(std::string(encoder.Data(), encoder.Size()) == list) << portion;
    }
}

INSTANTIATE_TEST_SUITE_P(
    PlainList, PlainList,
    testing::Values(Plain{"SmallNumbers", "07", 1}, Plain{"LargerNumbers", "cd 7f ff cc ff 07", 3},
                    Plain{"Nothing", "c0", 1}, Plain{"EmptyTexts", "a0", 1},
                    Plain{"TextsOfSeven", "a6 61 62 63 64 65 66", 1},
                    Plain{"NumbersAndTexts", "07 ac 61 62 63 64 65 66 67 68 69 6a 6b 6c", 2},
                    Plain{"DoublesAndSmallNumbers", "07 cb 3f b9 99 99 99 99 99 9a 07", 3}),
    [](const testing::TestParamInfo<Plain>& row) { return row.param.name; });

namespace {

/// Elements of a list, or a dictionary, that announces as many as a message may hold.
struct Growing
{
    const char* name;
    std::string head;
    const char* unit;
    std::size_t blocksEach; // what a unit takes beside its place
};

void PrintTo(const Growing& growing, std::ostream* out)
{
    *out << growing.name;
}

class GrowingList : public testing::TestWithParam<Growing>
{
};

std::string DictionaryHead()
{
    return '\x91' + ('\xdf' + BigEndian(kMostElements / 2, 4));
}

} // namespace

TEST_P(GrowingList, MovesAHandfulOfTimesInWhateverPortionsItArrives)
{
    const Growing& growing = GetParam();
    const std::string unit = FromHex(growing.unit);
    constexpr std::size_t units = 140'000; // more than a thirty-second of what is announced
    constexpr std::size_t handful = 48;
    const std::string stream = kEventHead + growing.head + Repeated(unit, units * unit.size());
    for (const std::size_t portion : {std::size_t{509}, std::size_t{4096}, stream.size()}) {
        MessageC message;
        const CAllocationMeter meter;
        MessageDecoderC decoder(portion > 65536 ? portion : 65536);
        ASSERT_EQ(EResult::NeedMore, DecodeInPortions(decoder, stream, message, portion))
            << decoder.Problem();
        EXPECT_LE(meter.BlockCount(), growing.blocksEach * units + handful) << portion;
    }
}

INSTANTIATE_TEST_SUITE_P(
    GrowingList, GrowingList,
    testing::Values(
        Growing{"SmallNumbers", ListHead(kMostElements), "01", 0},
        Growing{"LargerNumbers", ListHead(kMostElements), "cd 7f ff", 0},
        Growing{"Doubles", ListHead(kMostElements), "cb 40 00 00 00 00 00 00 00", 0},
        Growing{"NumbersAndDoubles", ListHead(kMostElements), "07 cb 40 00 00 00 00 00 00 00", 0},
        Growing{"DoublesByTwoAndNumbers", ListHead(kMostElements),
                "cb 40 00 00 00 00 00 00 00 cb 40 00 00 00 00 00 00 00 07", 0},
        Growing{"NumbersInTheDepth", Nested(10) + ListHead(kMostElements - 100), "01", 0},
        Growing{"Nothing", ListHead(kMostElements), "c0", 0},
        Growing{"NothingBehindNumbers", ListHead(kMostElements) + std::string(131'000, '\x01'),
                "c0", 0},
        Growing{"NumbersAndEmptyTexts", ListHead(kMostElements), "01 a0", 0},
        Growing{"EmptyLists", ListHead(kMostElements), "90", 1},
        Growing{"ListsOfOneNumber", ListHead(kMostElements / 2), "91 07", 2},
        Growing{"ADictionaryOfNumbers", DictionaryHead(), "a0 07", 1},
        Growing{"ADictionaryOfLists", DictionaryHead(), "a0 90", 1}),
    [](const testing::TestParamInfo<Growing>& row) { return row.param.name; });

TEST(DecoderMemory, LeavesRoomForLongTextsBesideTheMostNumbers)
{
    for (const std::size_t length : {820U, 2048U, 2049U}) {
        const std::string text = '\xda' + BigEndian(length, 2) + std::string(length, 't');
        const std::size_t texts = (kLargestMessage - kMostElements - 16) / text.size();
        const std::string stream = kEventHead + ListHead(kMostElements) +
                                   Repeated(text, texts * text.size()) +
                                   std::string(kMostElements - texts, '\x07');
        ASSERT_LE(stream.size(), kLargestMessage);
        const CAllocationMeter meter;
        MessageDecoderC decoder;
        MessageC message;
        EXPECT_EQ(EResult::Complete, DecodeInPortions(decoder, stream, message, 16384)) << length;
        EXPECT_LE(meter.PeakGrowth(), kMostMemory + kBeside) << length;
    }
}

TEST(DecoderMemory, KeepsTheTextsOfALongListReadableInAnyOrder)
{
    constexpr int count = 1000;
    BListC written(nullptr);
    for (int index = 0; index < count; ++index) {
        written.AddString(std::string(static_cast<std::size_t>(index * 7 % 50), 'a') +
                          std::to_string(index));
    }
    BEncoderC encoder;
    ASSERT_TRUE(encoder.Write(written));
    const std::string bytes = kEventHead + std::string(encoder.Data(), encoder.Size());
    for (const int step : {1, 7, 999, 333}) { // forwards, scattered, backwards
        MessageDecoderC decoder;
        MessageC message;
        ASSERT_EQ(EResult::Complete, DecodeInPortions(decoder, bytes, message, 100));
        const BListC& list = *message.arguments;
        ASSERT_EQ(count, list.Size());
        const std::string* const first = &list.GetString(0);
        for (int read = 0; read < count; ++read) {
            const int index = read * step % count;
            ASSERT_EQ(EBElementType::String, list.TypeAt(index));
            ASSERT_EQ(written.GetString(index), list.GetString(index)) << step;
            ASSERT_EQ(message.arguments.get(), list.GetElement(index)->Parent());
        }
        EXPECT_EQ(first, &list.GetString(0)) << "the text stays where it is";
    }
}

TEST(DecoderMemory, HoldsNothingOfAMessageOnceItIsGivenAway)
{
    MessageDecoderC decoder;
    MessageC message;
    const std::size_t before = decoder.Held();
    ASSERT_EQ(EResult::Complete,
              DecodeInPortions(decoder,
                               kEventHead + ListHead(100'000) + std::string(100'000, '\x90'),
                               message, 16384));
    EXPECT_LE(decoder.Held(), before + MessageDecoderC::kUsualPortion);
    EXPECT_GE(message.memory, std::size_t{100'000} * 64);
}

TEST(DecoderMemory, SaysTheSameOfAMessageInWhateverPiecesItArrives)
{
    for (std::size_t length = 0; length <= 80; ++length) {
        const std::string text = '\xd9' + BigEndian(length, 1) + std::string(length, 't');
        const std::string stream = kEventHead + "\x93" + text + "\x81" + text + text + "\x07";
        MessageC whole;
        MessageDecoderC decoder;
        ASSERT_EQ(EResult::Complete, DecodeInPortions(decoder, stream, whole, stream.size()));
        for (const std::size_t portion : {1, 3, 7, 16, 20}) {
            MessageC message;
            ASSERT_EQ(EResult::Complete, DecodeInPortions(decoder, stream, message, portion));
            EXPECT_EQ(whole.memory, message.memory) << length << " bytes by " << portion;
        }
    }
}

TEST(DecoderMemory, CountsTextsThatComeInPiecesLikeWholeOnes)
{
    MessageDecoderC inPieces;
    MessageDecoderC inWhole;
    MessageC message;
    const std::string head = kEventHead + ListHead(kMostElements) + '\xc0';
    DecodeInPortions(inPieces, head, message, 64);
    DecodeInPortions(inWhole, head, message, 64);
    const std::string text = '\xb4' + std::string(20, 't');
    for (int count = 0; count < 1000; ++count) {
        ASSERT_EQ(EResult::NeedMore, DecodeInPortions(inPieces, text, message, 8));
        ASSERT_EQ(EResult::NeedMore, DecodeInPortions(inWhole, text, message, 64));
        ASSERT_EQ(inWhole.Held(), inPieces.Held()) << "after " << count;
    }
}
