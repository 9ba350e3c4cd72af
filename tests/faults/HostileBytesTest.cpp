#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Scripts.h"
#include "tests/support/Bytes.h"

using Bytes::FromHex;

namespace {

constexpr int kLongTimeout = 20000;

CFault::Script Say(const std::string& bytes)
{
    return Scripts::Send(bytes);
}

/// A megabyte that is different for each seed and always the same for one.
CFault::Script SayRandomBytes(std::size_t seed)
{
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    std::string bytes(1U << 20, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return Scripts::Send(bytes);
}

/// Ahead of the right reply.
CFault::Script SayAhead(const std::string& bytes)
{
    return Scripts::SendAhead(bytes);
}

/// In the place of the result, with the right number, and never going on.
CFault::Script AnnounceAsResult(const std::string& announcement)
{
    return Scripts::SendAndStall([announcement](const CRawMessage& call) {
        return Bytes::Response(call.number, announcement);
    });
}

/// A result with the right number whose end never comes.
CFault::Script EndlessResult(const std::string& start, const std::string& rest)
{
    return Scripts::OnFirstConnection([start, portion = Scripts::Repeated(rest)](CRawLink& link) {
        link.Send(Bytes::Response(NextCall(link).number, start));
        while (true) {
            link.Send(portion);
        }
    });
}

/// The largest list but for its last element.
CFault::Script LargestListButOne()
{
    return Scripts::OnFirstConnection([](CRawLink& link) {
        constexpr std::size_t kCount = 4'194'304;
        const std::uint64_t number = NextCall(link).number;
        link.Send(Bytes::Response(number, '\xdd' + Bytes::BigEndian(kCount, 4)));
        const std::string portion(65536, '\x01');
        for (std::size_t sent = portion.size(); sent < kCount; sent += portion.size()) {
            link.Send(portion);
        }
        link.Send(portion.substr(1));
        link.WaitForEnd();
    });
}

const std::vector<std::string> kNoMessages = {"c0",
                                              "c3",
                                              "07",
                                              "ff",
                                              "a1 61",
                                              "90",
                                              "80",
                                              "91 01",
                                              "92 01 02",
                                              "95 01 01 c0 07 07",
                                              "94 03 01 c0 07",
                                              "94 ff 01 c0 07",
                                              "94 a1 31 01 c0 07",
                                              "93 02 07 90",
                                              "93 02 a1 61 07",
                                              "93 01 c0 07",
                                              "94 02 a1 61 90 90",
                                              "94 00 01 a1 61 07",
                                              "81 a1 61 01",
                                              "94 01 01 c0 c1",
                                              "94 91 01 01 c0 07"};
const std::vector<std::string> kExtensions = {
    "d4 01 00",
    "d5 01 00 00",
    "d6 ff 00 00 00 00",
    "d7 ff 00 00 00 00 00 00 00 00",
    "d8 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
    "c7 01 05 00",
    "c8 00 01 05 00",
    "c9 00 00 00 01 05 00"};
const std::vector<std::string> kLargeHeaders = {"db 01 ff ff 00", "c6 01 ff ff 00",
                                                "91 db 01 ff ff 00", "dd 00 40 00 00"};
const std::vector<std::string> kTooLargeHeaders = {
    "db ff ff ff ff", "c6 ff ff ff ff", "91 db 02 00 00 00", "dd ff ff ff ff",
    "df ff ff ff ff", "dd 00 40 00 01", "df 00 40 00 01"};
// Names and values that are odd, in events that nobody has asked for or that are asked for.
const std::vector<std::string> kOddTexts = {
    "93 02 a3 ff fe fd 91 a2 c3 28",
    "93 02 a3 00 00 00 90",
    "93 02 a0 90",
    "93 02 c4 00 90",
    "93 02 aa 63 62 5f 6f 66 66 73 65 74 73 91 a4 00 ff c0 80",
    "93 02 aa 63 62 5f 6f 66 66 73 65 74 73 91 a3 ed a0 80"};

std::vector<CFault> Bursts()
{
    const std::string http = "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n";
    const std::string levels = Bytes::Response(0, std::string(2'000'000, '\x91') + '\x07');
    std::vector<std::string> extensions;
    for (const std::string& extension : kExtensions) {
        extensions.push_back("94 01 01 c0 " + extension);
    }
    return {
        CFault("Garbage", Each(1, 20, SayRandomBytes)).Fails(),
        CFault("Http", Say(http)).Fails(ELinkError::BadMessage).ThenWorksOnConnection(2),
        CFault("WellFormedButNoMessage", EachOf(kNoMessages, Say))
            .Fails(ELinkError::BadMessage)
            .ThenWorksOnConnection(2),
        CFault("ExtensionTypes", EachOf(extensions, Say))
            .Fails(ELinkError::BadMessage)
            .ThenWorksOnConnection(2),
        CFault("TwoMillionLevels", Say(levels))
            .Fails(ELinkError::BadMessage)
            .ThenWorksOnConnection(2),
        CFault("LongHeaders", EachOf(kLargeHeaders, AnnounceAsResult))
            .BeginsInTime()
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(2)
            .NotificationsStayOnConnection(1),
        CFault("TooLongHeaders", EachOf(kTooLargeHeaders, AnnounceAsResult))
            .Fails(ELinkError::BadMessage)
            .ThenWorksOnConnection(2),
        CFault("OddTexts", EachOf(kOddTexts, SayAhead)).Succeeds().ThenWorksOnConnection(1),
    };
}

std::vector<CFault> EndlessStreams()
{
    const std::string unknownEvent = Bytes::Notification("ev", "\x91\x07");
    const std::string request = FromHex("94 00 01 a1 61 90");
    const std::string otherReply = FromHex("94 01 01 c0 07");
    return {
        CFault("Nesting", EndlessResult("", "\x91")).Fails(ELinkError::BadMessage),
        CFault("Nil", Scripts::SendWithoutEnd("", "\xc0")).Fails(ELinkError::BadMessage),
        CFault("Text", EndlessResult(FromHex("dd 00 40 00 00 db 01 ff ff 00"), "x"))
            .WithTimeout(kLongTimeout)
            .WithALargeMessage()
            .Fails(ELinkError::BadMessage),
        CFault("MegabytesOfOneByteElements", LargestListButOne())
            .WithTimeout(1000)
            .WithALargeMessage()
            .Fails(ELinkError::TimedOut),
        CFault("UnknownEvents", Scripts::SendWithoutEnd("", unknownEvent))
            .Fails(ELinkError::TimedOut),
        CFault("Requests", Scripts::SendWithoutEnd("", request)).Fails().NotificationsMayFail(),
        CFault("OtherReplies", Scripts::SendWithoutEnd("", otherReply)).Fails(ELinkError::TimedOut),
        CFault("EventsFromTheStart", Scripts::FloodFromTheStart(OffsetEvent(1.0)))
            .Fails(ELinkError::TimedOut),
        CFault("RequestsFromTheStart", Scripts::FloodFromTheStart(request))
            .Fails()
            .NotificationsMayFail(),
        CFault("RepliesFromTheStart", Scripts::FloodFromTheStart(otherReply))
            .Fails(ELinkError::TimedOut),
        CFault("NestingFromTheStart", Scripts::FloodFromTheStart("\x91")).Fails(),
    };
}

} // namespace

INSTANTIATE_TEST_SUITE_P(HostileBytes, Fault, testing::ValuesIn(Bursts()), NameOfFault);
INSTANTIATE_TEST_SUITE_P(EndlessStream, Fault, testing::ValuesIn(EndlessStreams()), NameOfFault);
