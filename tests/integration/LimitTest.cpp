#include <string>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::BigEndian;
using Bytes::FromHex;

namespace {

constexpr std::size_t kLargestMessage = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kMostElements = 4'194'304;

/// Answers with `reply` (in which the number is put in) on the first connection, with 7 on others.
CRawPeer::Script FirstWith(const std::string& result)
{
    return [&result](CRawLink& link) {
        while (true) {
            const CRawMessage request = link.Read();
            link.Send(Bytes::Response(request.number, link.Number() == 1 ? result : "\x07"));
        }
    };
}

/// A result that makes the whole response `size` bytes long: three numbers and a text.
std::string ResultForSize(std::size_t size)
{
    const std::string head = FromHex("94 01 02 03 db");
    const std::size_t length = size - Bytes::Response(0, head).size() - 4;
    return head + BigEndian(length, 4) + std::string(length, 'x');
}

/// Three numbers, and a list so that there are `levels` levels in all.
std::string ResultNested(int levels)
{
    return FromHex("94 01 02 03") + std::string(static_cast<std::size_t>(levels) - 2, '\x91') +
           '\x90';
}

/// Whether a list reply that reads from three numbers on is taken; when not, checks that the
/// connection was closed and that the next call makes a new one.
bool IsTaken(const std::string& result)
{
    CRawPeer peer(FirstWith(result));
    CNavigationAPI navigation;
    navigation.SetTimeout(20000);
    Core::Maths::Vector3<double> nudge{};
    const bool isTaken = navigation.GetNudgeVector(nudge);
    if (!isTaken) {
        EXPECT_EQ(ELinkError::BadMessage, navigation.LastError().code);
        EXPECT_EQ(-1, navigation.Descriptor());
        EXPECT_EQ(7, navigation.EngageSteering());
        EXPECT_EQ(2, peer.WaitForConnections(2));
    }
    return isTaken;
}

} // namespace

TEST(Limit, OfAMessageIs32Mebibytes)
{
    EXPECT_TRUE(IsTaken(ResultForSize(kLargestMessage)));
    EXPECT_FALSE(IsTaken(ResultForSize(kLargestMessage + 1)));
}

TEST(Limit, OfNestingIs64Levels)
{
    EXPECT_TRUE(IsTaken(ResultNested(64)));
    EXPECT_FALSE(IsTaken(ResultNested(65)));
}

TEST(Limit, OfElementsIs4194304)
{
    for (const std::size_t excess : {0U, 1U}) {
        const std::size_t count = kMostElements + excess;
        const std::string result = '\xdd' + BigEndian(count, 4) + std::string(count, '\x05');
        CRawPeer peer(FirstWith(result));
        CNavigationAPI navigation;
        navigation.SetTimeout(20000);
        EXPECT_EQ(excess == 0 ? count : 0, navigation.CalculateHeadings({}).size());
    }
}

TEST(Limit, LetsAnnouncedLengthsAllocateNothing)
{
    const char* const announcements[] = {
        "db 01 ff ff 00",    // a text of almost 32 MiB
        "c6 01 ff ff 00",    // as many bytes
        "db ff ff ff ff",    // a text of 4 GiB
        "c6 ff ff ff ff",    // as many bytes
        "91 db ff ff ff ff", // in a list
        "dd ff ff ff ff",    // a list of 2^32 elements
        "dd 00 40 00 00",    // a list of as many as are allowed
        "df ff ff ff ff",    // a dictionary
    };
    for (const char* const announcement : announcements) {
        const std::string result = FromHex(announcement);
        CRawPeer peer(FirstWith(result));
        CNavigationAPI navigation;
        navigation.SetTimeout(50);
        const CAllocationMeter meter;
        EXPECT_EQ(-1, navigation.EngageSteering()) << announcement;
        EXPECT_LE(meter.LargestBlock(), std::size_t{128} * 1024) << announcement;
    }
}

TEST(Limit, LetsAValueOfAnExtensionCloseTheConnection)
{
    EXPECT_FALSE(IsTaken(FromHex("94 01 02 03 d6 ff 00 00 00 00")));
    EXPECT_FALSE(IsTaken(FromHex("94 01 02 03 c1")));
}
