#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;

// A service may be written with any MessagePack library, in any width that it chooses. The bytes
// here are written by hand.

namespace {

/// Answers every request with the bytes that `result` holds at the time.
CRawPeer::Script AnswerWith(const std::string& result)
{
    return [&result](CRawLink& link) {
        while (true) {
            link.Reply(link.Read(), result);
        }
    };
}

struct NumberRow
{
    const char* bytes;
    int asInt;
    double asDouble;
};

constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();

const NumberRow kNumbers[] = {
    {"00", 0, 0.0},
    {"7f", 127, 127.0},
    {"ff", -1, -1.0},
    {"e0", -32, -32.0},
    {"cc 07", 7, 7.0},
    {"cc ff", 255, 255.0},
    {"cd 00 07", 7, 7.0},
    {"cd ff ff", 65535, 65535.0},
    {"ce 00 00 00 07", 7, 7.0},
    {"ce ff ff ff ff", kIntMax, 4294967295.0},
    {"cf 00 00 00 00 00 00 00 07", 7, 7.0},
    {"cf ff ff ff ff ff ff ff ff", kIntMax, 18446744073709551615.0},
    {"d0 07", 7, 7.0},
    {"d0 80", -128, -128.0},
    {"d1 80 00", -32768, -32768.0},
    {"d2 80 00 00 00", kIntMin, -2147483648.0},
    {"d2 7f ff ff ff", kIntMax, 2147483647.0},
    {"d3 00 00 00 00 00 00 00 07", 7, 7.0},
    {"d3 80 00 00 00 00 00 00 00", kIntMin, -9223372036854775808.0},
    {"c3", 1, 1.0},
    {"c2", 0, 0.0},
    {"ca 40 20 00 00", 2, 2.5},
    {"ca bd cc cc cd", 0, static_cast<double>(-0.1F)},
    {"ca 7f 80 00 00", kIntMax, std::numeric_limits<double>::infinity()},
    {"cb 40 04 00 00 00 00 00 00", 2, 2.5},
    {"cb c1 e0 00 00 00 20 00 00", kIntMin, -2147483649.0},
    {"cb 7f ef ff ff ff ff ff ff", kIntMax, std::numeric_limits<double>::max()},
    {"cb 00 00 00 00 00 00 00 01", 0, std::numeric_limits<double>::denorm_min()},
    {"a1 37", 0, 0.0},
    {"d9 01 37", 0, 0.0},
    {"da 00 01 37", 0, 0.0},
    {"db 00 00 00 01 37", 0, 0.0},
    {"c4 01 37", 0, 0.0},
    {"c5 00 01 37", 0, 0.0},
    {"c6 00 00 00 01 37", 0, 0.0},
};

const char* const kThreeNumbers[] = {
    "93 01 ca 40 20 00 00 cb 40 04 00 00 00 00 00 00",
    "dc 00 03 d3 00 00 00 00 00 00 00 01 ca 40 20 00 00 ca 40 20 00 00",
    "dd 00 00 00 03 cf 00 00 00 00 00 00 00 01 cb 40 04 00 00 00 00 00 00 ca 40 20 00 00",
    "93 c3 ca 40 20 00 00 cb 40 04 00 00 00 00 00 00",
};

/// A response whose fixed parts are as wide as they can be.
std::string WidestResponse(std::uint64_t number)
{
    return FromHex("dd 00 00 00 04 d3 00 00 00 00 00 00 00 01 cf") + Bytes::BigEndian(number, 8) +
           FromHex("c0 d3 00 00 00 00 00 00 00 07");
}

} // namespace

TEST(ForeignWriter, MayWriteASingleReplyInEveryWidth)
{
    std::string result;
    CRawPeer peer(AnswerWith(result));
    CNavigationAPI navigation;
    for (const NumberRow& row : kNumbers) {
        result = FromHex(row.bytes);
        EXPECT_EQ(row.asInt, navigation.EngageSteering()) << row.bytes;
        EXPECT_EQ(row.asDouble, navigation.GetLookAheadTime()) << row.bytes;
    }
    EXPECT_EQ(1, peer.WaitForConnections(1));
}

TEST(ForeignWriter, MayReplyWithNan)
{
    const std::string result = FromHex("cb 7f f8 00 00 00 00 00 00");
    CRawPeer peer(AnswerWith(result));
    CNavigationAPI navigation;
    EXPECT_TRUE(std::isnan(navigation.GetLookAheadTime()));
    EXPECT_EQ(0, navigation.EngageSteering());
}

TEST(ForeignWriter, MayWriteAListReplyInEveryWidth)
{
    std::string result;
    CRawPeer peer(AnswerWith(result));
    CNavigationAPI navigation;
    for (const char* const bytes : kThreeNumbers) {
        result = FromHex(bytes);
        Core::Maths::Vector3<double> nudge{};
        EXPECT_TRUE(navigation.GetNudgeVector(nudge)) << bytes;
        EXPECT_EQ(1.0, nudge.x) << bytes;
        EXPECT_EQ(2.5, nudge.y) << bytes;
        EXPECT_EQ(2.5, nudge.z) << bytes;
    }
}

TEST(ForeignWriter, MayWriteTheMessageItselfInTheWidestForms)
{
    CRawPeer peer([](CRawLink& link) {
        while (true) {
            link.Send(WidestResponse(link.Read().number));
        }
    });
    CNavigationAPI navigation;
    EXPECT_EQ(7, navigation.EngageSteering());
    EXPECT_EQ(7.0, navigation.GetLookAheadTime());
}

TEST(ForeignWriter, MayWriteTheNamesOfEventsAsTextsOrBytesOfEveryWidth)
{
    const char* const headers[] = {"aa",    "d9 0a",    "da 00 0a",      "db 00 00 00 0a",
                                   "c4 0a", "c5 00 0a", "c6 00 00 00 0a"};
    CRawPeer peer([&](CRawLink& link) {
        link.Read(); // the subscription
        for (const char* const header : headers) {
            link.Send(FromHex(std::string("93 02 ") + header) + "cb_offsets" +
                      FromHex("91 ca 40 20 00 00"));
        }
        link.WaitForEnd();
    });
    CNavigationAPI navigation;
    std::vector<double> offsets;
    const std::unique_ptr<Core::Functors::Functor1<void, double>> functor(
        Core::Functors::MakeFunctor([&](double offset) { offsets.push_back(offset); }));
    navigation.SetOffsetCallback(functor.get());
    while (offsets.size() < std::size(headers) && navigation.ProcessMessages(true)) {
    }
    EXPECT_EQ(std::vector<double>(std::size(headers), 2.5), offsets);
}
