#include "runtime/MessageDecoder.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "tests/runtime/DecoderFeed.h"
#include "tests/support/Bytes.h"

using Bytes::FromHex;
using EResult = MessageDecoderC::EResult;

namespace {

/// The result of a response whose result is given as bytes; null when it is not a message.
std::unique_ptr<BElementC> ResultOf(const std::string& hex)
{
    MessageDecoderC decoder;
    Feed(decoder, Bytes::Response(1, FromHex(hex)));
    MessageC message;
    if (decoder.Next(message) != EResult::Complete) {
        ADD_FAILURE() << hex << ": " << decoder.Problem();
        return nullptr;
    }
    return std::move(message.result);
}

struct IntegerBytes
{
    const char* bytes;
    std::int64_t value;
};

// Every width that a MessagePack library may choose, the needlessly wide ones included.
const IntegerBytes kIntegers[] = {
    {"00", 0},
    {"7f", 127},
    {"ff", -1},
    {"e0", -32},
    {"cc 07", 7},
    {"cc ff", 255},
    {"cd 00 07", 7},
    {"cd ff ff", 65535},
    {"ce 00 00 00 07", 7},
    {"ce ff ff ff ff", 4294967295},
    {"cf 00 00 00 00 00 00 00 07", 7},
    {"cf 7f ff ff ff ff ff ff ff", std::numeric_limits<std::int64_t>::max()},
    {"d0 07", 7},
    {"d0 80", -128},
    {"d1 00 07", 7},
    {"d1 80 00", -32768},
    {"d2 00 00 00 07", 7},
    {"d2 80 00 00 00", std::numeric_limits<std::int32_t>::min()},
    {"d3 00 00 00 00 00 00 00 07", 7},
    {"d3 80 00 00 00 00 00 00 00", std::numeric_limits<std::int64_t>::min()},
    {"c3", 1},
    {"c2", 0},
};

struct DoubleBytes
{
    const char* bytes;
    double value;
};

const DoubleBytes kDoubles[] = {
    {"ca 40 20 00 00", 2.5},
    {"ca 3d cc cc cd", static_cast<double>(0.1F)},
    {"ca ff 80 00 00", -std::numeric_limits<double>::infinity()},
    {"cb 40 04 00 00 00 00 00 00", 2.5},
    {"cb 3f b9 99 99 99 99 99 9a", 0.1},
    {"cb 00 00 00 00 00 00 00 01", std::numeric_limits<double>::denorm_min()},
    {"cb 80 00 00 00 00 00 00 00", -0.0},
};

const char* const kTexts[] = {
    "a3 61 62 63",    "d9 03 61 62 63",    "da 00 03 61 62 63",       "db 00 00 00 03 61 62 63",
    "c4 03 61 62 63", "c5 00 03 61 62 63", "c6 00 00 00 03 61 62 63",
};

const char* const kLists[] = {"92 01 02", "dc 00 02 01 02", "dd 00 00 00 02 01 02"};

const char* const kMaps[] = {"81 a1 6b 07", "de 00 01 a1 6b 07", "df 00 00 00 01 a1 6b 07",
                             "81 c4 01 6b 07"};

struct UndecodableBytes
{
    const char* what;
    const char* bytes;
};

const UndecodableBytes kUndecodable[] = {
    {"an integer", "07"},
    {"nil", "c0"},
    {"a text", "a1 61"},
    {"a map", "81 a1 6b 07"},
    {"an empty list", "90"},
    {"a list of two", "92 02 a1 61"},
    {"a list of five", "95 00 01 a1 61 90 c0"},
    {"an unknown kind", "94 03 01 a1 61 90"},
    {"a negative kind", "94 ff 01 a1 61 90"},
    {"a kind that is a truth value", "94 c2 01 a1 61 90"},
    {"a kind that is a double", "94 cb 00 00 00 00 00 00 00 00 01 a1 61 90"},
    {"a kind that is a list", "94 90 01 a1 61 90"},
    {"a request of three", "93 00 01 a1 61"},
    {"a notification of four", "94 02 a1 61 90 c0"},
    {"a request number that is a text", "94 00 a1 31 a1 61 90"},
    {"a request number that is negative", "94 00 ff a1 61 90"},
    {"a name that is a number", "94 00 01 07 90"},
    {"a name that is nil", "93 02 c0 90"},
    {"arguments that are nil", "94 00 01 a1 61 c0"},
    {"arguments that are a number", "93 02 a1 61 07"},
    {"arguments that are a map", "93 02 a1 61 80"},
    {"a byte without a meaning", "c1"},
    {"a byte without a meaning inside", "93 02 a1 61 91 c1"},
    {"an extension", "93 02 a1 61 91 d4 01 00"},
    {"a long extension", "93 02 a1 61 91 c7 03 05 01 02 03"},
    {"a key that is a number", "93 02 a1 61 91 81 01 02"},
    {"a key that is a list", "93 02 a1 61 91 81 90 02"},
};

} // namespace

TEST(Decoder, TakesEveryWidthOfAnInteger)
{
    for (const IntegerBytes& row : kIntegers) {
        const auto result = ResultOf(row.bytes);
        const auto* const atom = dynamic_cast<const BAtomC*>(result.get());
        ASSERT_NE(nullptr, atom) << row.bytes;
        EXPECT_EQ(row.value, atom->Int64Value()) << row.bytes;
        const auto list = ResultOf(std::string("91 ") + row.bytes);
        EXPECT_EQ(row.value, dynamic_cast<const BListC&>(*list).GetInt64(0)) << row.bytes;
    }
}

TEST(Decoder, TakesAnUnsignedNumberBeyondTheSignedOnesAsADouble)
{
    const auto result = ResultOf("cf ff ff ff ff ff ff ff ff");
    const auto& atom = dynamic_cast<const BAtomC&>(*result);
    EXPECT_EQ(18446744073709551615.0, atom.DoubleValue());
    EXPECT_EQ(std::numeric_limits<int>::max(), atom.IntValue());
}

TEST(Decoder, TakesBothWidthsOfAFloat)
{
    for (const DoubleBytes& row : kDoubles) {
        const auto result = ResultOf(row.bytes);
        const auto* const atom = dynamic_cast<const BAtomC*>(result.get());
        ASSERT_NE(nullptr, atom) << row.bytes;
        EXPECT_EQ(row.value, atom->DoubleValue()) << row.bytes;
        EXPECT_EQ(std::signbit(row.value), std::signbit(atom->DoubleValue())) << row.bytes;
        const auto list = ResultOf(std::string("91 ") + row.bytes);
        EXPECT_EQ(row.value, dynamic_cast<const BListC&>(*list).GetDouble(0)) << row.bytes;
    }
}

TEST(Decoder, TakesEveryWidthOfATextAndOfBytes)
{
    for (const char* const bytes : kTexts) {
        const auto result = ResultOf(bytes);
        const auto* const atom = dynamic_cast<const BAtomC*>(result.get());
        ASSERT_NE(nullptr, atom) << bytes;
        EXPECT_EQ("abc", atom->StringValue()) << bytes;
    }
    EXPECT_EQ("", dynamic_cast<const BAtomC&>(*ResultOf("a0")).StringValue());
    EXPECT_EQ("", dynamic_cast<const BAtomC&>(*ResultOf("c4 00")).StringValue());
}

TEST(Decoder, TakesEveryWidthOfAListAndOfADictionary)
{
    for (const char* const bytes : kLists) {
        const auto result = ResultOf(bytes);
        ASSERT_EQ(2, dynamic_cast<const BListC&>(*result).Size()) << bytes;
        EXPECT_EQ(2, dynamic_cast<const BListC&>(*result).GetInt(1)) << bytes;
    }
    for (const char* const bytes : kMaps) {
        const auto result = ResultOf(bytes);
        const auto& dictionary = dynamic_cast<const BDictionaryC&>(*result);
        EXPECT_EQ(7, dynamic_cast<const BAtomC&>(*dictionary.Get("k")).IntValue()) << bytes;
    }
}

TEST(Decoder, TakesMethodNamesOfEveryWidthAndAsBytes)
{
    for (const char* const name : kTexts) {
        MessageDecoderC decoder;
        Feed(decoder, FromHex(std::string("94 00 07 ") + name + "90"));
        MessageC message;
        ASSERT_EQ(EResult::Complete, decoder.Next(message)) << name;
        EXPECT_EQ(MessageC::EKind::Request, message.kind) << name;
        EXPECT_EQ("abc", message.method) << name;
        EXPECT_EQ(7U, message.id) << name;
        EXPECT_EQ(0, message.arguments->Size()) << name;
    }
}

TEST(Decoder, TakesNestedValuesInTheirPlaces)
{
    const auto result = ResultOf("94 c0 91 cb 3f f0 00 00 00 00 00 00 81 a1 6b 91 05 a1 78");
    const auto& list = dynamic_cast<const BListC&>(*result);
    ASSERT_EQ(4, list.Size());
    EXPECT_EQ(EBElementType::Nothing, list.TypeAt(0));
    EXPECT_EQ(1.0, list.GetList(1)->GetDouble(0));
    const auto& dictionary = dynamic_cast<const BDictionaryC&>(*list.GetElement(2));
    EXPECT_EQ(5, dynamic_cast<const BListC&>(*dictionary.Get("k")).GetInt(0));
    EXPECT_EQ("x", list.GetString(3));
}

TEST(Decoder, TellsAnErrorFromAResult)
{
    MessageDecoderC decoder;
    Feed(decoder, FromHex("94 01 05 a3 62 61 64 c0 94 01 06 c0 c0"));
    MessageC message;
    ASSERT_EQ(EResult::Complete, decoder.Next(message));
    EXPECT_EQ(5U, message.id);
    EXPECT_EQ("bad", dynamic_cast<const BAtomC&>(*message.error).StringValue());
    EXPECT_EQ(nullptr, message.result);
    ASSERT_EQ(EResult::Complete, decoder.Next(message));
    EXPECT_EQ(6U, message.id);
    EXPECT_EQ(nullptr, message.error);
    EXPECT_EQ(nullptr, message.result);
    EXPECT_EQ(EResult::NeedMore, decoder.Next(message));
}

TEST(Decoder, TakesAStreamByteByByte)
{
    const std::string stream = FromHex("93 02 a2 65 76 92 01 a1 78") +
                               Bytes::Response(300, FromHex("92 cb 40 04 00 00 00 00 00 00 c6 00 "
                                                            "00 00 03 61 62 63")) +
                               FromHex("94 00 cd 01 2c a1 6d 91 81 a1 6b c0");
    MessageDecoderC decoder;
    MessageC message;
    int complete = 0;
    for (const char byte : stream) {
        Feed(decoder, std::string(1, byte));
        const EResult result = decoder.Next(message);
        ASSERT_NE(EResult::Bad, result) << decoder.Problem();
        complete += result == EResult::Complete ? 1 : 0;
        EXPECT_EQ(result == EResult::NeedMore, decoder.InMessage());
    }
    EXPECT_EQ(3, complete);
    EXPECT_EQ("m", message.method);
    EXPECT_EQ(300U, message.id);
}

TEST(Decoder, TakesAMessageSplitAtEveryByte)
{
    const std::string bytes = Bytes::Response(1, FromHex("93 07 a3 61 62 63 91 ca 40 20 00 00"));
    for (std::size_t at = 1; at < bytes.size(); ++at) {
        MessageDecoderC decoder;
        MessageC message;
        Feed(decoder, bytes.substr(0, at));
        ASSERT_EQ(EResult::NeedMore, decoder.Next(message)) << at;
        Feed(decoder, bytes.substr(at));
        ASSERT_EQ(EResult::Complete, decoder.Next(message)) << at;
        const auto& list = dynamic_cast<const BListC&>(*message.result);
        EXPECT_EQ("abc", list.GetString(1)) << at;
        EXPECT_EQ(2.5, list.GetList(2)->GetDouble(0)) << at;
    }
}

TEST(Decoder, RefusesWhatIsNoMessage)
{
    for (const UndecodableBytes& row : kUndecodable) {
        MessageDecoderC decoder;
        MessageC message;
        Feed(decoder, FromHex(row.bytes));
        EXPECT_EQ(EResult::Bad, decoder.Next(message)) << row.what;
        EXPECT_NE("", decoder.Problem()) << row.what;
    }
}

TEST(Decoder, StartsAnewAfterAReset)
{
    for (const char* const before : {"93 02 a2 65", "c1", "93 02 a2 65 76 91 92 01"}) {
        MessageDecoderC decoder;
        MessageC message;
        Feed(decoder, FromHex(before));
        decoder.Next(message);
        decoder.Reset();
        EXPECT_FALSE(decoder.InMessage()) << before;
        Feed(decoder, FromHex("93 02 a2 65 76 91 07"));
        ASSERT_EQ(EResult::Complete, decoder.Next(message)) << before;
        EXPECT_EQ(7, message.arguments->GetInt(0)) << before;
    }
}
