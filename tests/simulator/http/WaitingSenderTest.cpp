// Senders that wait to be asked to send a body.

#include <string>

#include <gtest/gtest.h>

#include "tests/simulator/http/HttpPeer.h"
#include "tests/simulator/http/RunningPage.h"

namespace {

const char* const kJsonType = "application/json";
constexpr std::size_t kMostBodyBytes = 4 * 1024 * 1024;

/// The head of a command that is sent when its sender has been asked to go on.
std::string HeadThatWaits(const RunningPage& page, const std::string& type, std::size_t length)
{
    return "POST /command HTTP/1.1\r\nHost: localhost:" + std::to_string(page.Port()) +
           "\r\nContent-Type: " + type + "\r\nContent-Length: " + std::to_string(length) +
           "\r\nExpect: 100-Continue\r\n\r\n";
}

TEST(Requests, WhoseSendersWaitToBeToldSoAreToldToSendTheirBody)
{
    const RunningPage page;
    const std::string body = R"({"operation":"IsSteeringEngaged"})";
    const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    HttpPeer peer(page.Port());

    peer.Send(HeadThatWaits(page, kJsonType, body.size()));
    ASSERT_TRUE(peer.ReadUntil(goOn));
    EXPECT_EQ(goOn, peer.Read());
    peer.Send(body);

    EXPECT_TRUE(peer.ReadToEnd());
    EXPECT_EQ(goOn.size(), peer.Read().find("HTTP/1.1 200 OK"));
}

TEST(Requests, WhoseSendersNeedNotWaitAreNotToldToGoOn)
{
    const RunningPage page;
    const std::string body = R"({"operation":"IsSteeringEngaged"})";
    const struct
    {
        std::string request;
        const char* answer;
    } rows[] = {{HeadThatWaits(page, "text/plain", body.size()), "HTTP/1.1 415"},
                {HeadThatWaits(page, kJsonType, kMostBodyBytes + 1), "HTTP/1.1 413"},
                {HeadThatWaits(page, kJsonType, body.size()) + body, "HTTP/1.1 200"}};
    for (const auto& row : rows) {
        HttpPeer peer(page.Port());
        peer.Send(row.request);

        EXPECT_TRUE(peer.ReadToEnd());
        EXPECT_EQ(0u, peer.Read().find(row.answer)) << peer.Read();
    }
}

} // namespace
