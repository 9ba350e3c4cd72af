#include "platform/MPISocketConnection.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/MPISocketClient.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawPeer.h"

using Bytes::FromHex;
using Bytes::Notification;
using testing::ElementsAre;

namespace {

/// Notes every hook that the runtime calls.
class CHookedClient : public MPISocketClientC
{
public:
    CHookedClient() : MPISocketClientC(false) {}

    void Idle() override { m_notes.emplace_back("idle"); }
    void Connected() override
    {
        MPISocketClientC::Connected();
        m_notes.push_back(IsLinkUp() ? "connected" : "connected without a link");
    }
    int GetExtraReader() override { return m_extraReader; }
    void ReadExtra() override
    {
        char byte = 0;
        m_notes.push_back(::read(m_extraReader, &byte, 1) == 1 ? "extra" : "extra without a byte");
    }
    void DataReceived() override { m_notes.emplace_back("received"); }
    void DataReceivedFrom(std::string host, unsigned short port) override
    {
        m_notes.push_back("from " + host);
        m_port = port;
    }
    void DataSent() override { m_notes.emplace_back("sent"); }
    void Disconnected() override { m_notes.emplace_back("disconnected"); }
    int DoClientCallback(const std::string& name, BListC* payload) override
    {
        m_notes.push_back("client " + name);
        return m_passesOn ? MPISocketClientC::DoClientCallback(name, payload) : 0;
    }
    int DoCallback(const std::string& name, BListC* payload) override
    {
        m_notes.push_back("event " + name);
        return MPISocketClientC::DoCallback(name, payload);
    }
    void MessageReceived(BDictionaryC* message) override
    {
        const auto& method = dynamic_cast<const BAtomC&>(*message->Get("method"));
        const auto& number = dynamic_cast<const BAtomC&>(*message->Get("msgid"));
        const auto& arguments = dynamic_cast<const BListC&>(*message->Get("params"));
        m_notes.push_back("asked " + method.StringValue() + ' ' +
                          std::to_string(number.Int64Value()) + ' ' +
                          std::to_string(arguments.GetInt(0)));
    }

    std::vector<std::string> m_notes;
    unsigned short m_port = 0;
    int m_extraReader = -1;
    bool m_passesOn = true;
};

class CCountingCallback : public MPICallbackBase
{
public:
    CCountingCallback(int& count, int result) : m_count(count), m_result(result) {}
    int Callback(BListC*) override
    {
        ++m_count;
        return m_result;
    }

private:
    int& m_count;
    int m_result;
};

/// Answers one request with 7 and stays.
void AnswerOnce(CRawLink& link)
{
    link.Reply(link.Read(), "\x07");
    link.WaitForEnd();
}

} // namespace

TEST(Hooks, TellOfAConnectionOnceItIsUp)
{
    CRawPeer peer(AnswerOnce, 0);
    CHookedClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_THAT(client.m_notes, ElementsAre("connected"));
    EXPECT_FALSE(client.Connect(kHost, 1, 100));
    EXPECT_THAT(client.m_notes, ElementsAre("connected", "disconnected"));
}

TEST(Hooks, TellOfWhatIsSentAndReceivedAndFromWhere)
{
    CRawPeer peer(AnswerOnce, 0);
    CHookedClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const std::unique_ptr<BElementC> reply(client.CallMethod("a", nullptr));
    ASSERT_NE(nullptr, reply);
    EXPECT_THAT(client.m_notes, ElementsAre("connected", "sent", "received", "from 127.0.0.1"));
    EXPECT_EQ(peer.Port(), client.m_port);
}

TEST(Hooks, TellOfTheEndOfAConnectionByEitherSideOnce)
{
    CRawPeer peer([](CRawLink& link) { link.Read(); }, 0);
    CHookedClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_TRUE(client.SendNotification("end", nullptr));
    while (client.IsLinkUp()) {
        client.ReceiveMessage(true);
    }
    EXPECT_EQ(1, std::count(client.m_notes.begin(), client.m_notes.end(), "disconnected"));
    client.Close();
    EXPECT_EQ(1, std::count(client.m_notes.begin(), client.m_notes.end(), "disconnected"));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.Close();
    EXPECT_EQ(2, std::count(client.m_notes.begin(), client.m_notes.end(), "disconnected"));
}

TEST(Hooks, AreIdleWhenAWaitForMessagesEndsWithoutOne)
{
    CRawPeer peer([](CRawLink& link) { link.WaitForEnd(); }, 0);
    CHookedClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(20);
    client.ProcessMessages(true);
    EXPECT_THAT(client.m_notes, ElementsAre("connected", "idle"));
}

TEST(Hooks, WatchAFurtherDescriptorWhileMessagesAreWaitedFor)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, ::pipe(ends));
    CRawPeer peer(
        [&](CRawLink& link) {
            link.Read();
            EXPECT_EQ(1, ::write(ends[1], "x", 1));
            link.Pause(50);
            link.Send(Notification("ev", "\x90"));
            link.WaitForEnd();
        },
        0);
    CHookedClient client;
    int count = 0;
    client.RequestCallback("ev", new CCountingCallback(count, 0));
    client.m_extraReader = ends[0];
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    client.SetTimeout(10000);
    while (count == 0) {
        client.ProcessMessages(true);
    }
    EXPECT_EQ(1, std::count(client.m_notes.begin(), client.m_notes.end(), "extra"));
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(Hooks, LetEveryEventPassDoClientCallbackThenDoCallback)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Read();
            link.Send(Notification("ev", "\x90"));
            link.WaitForEnd();
        },
        0);
    CHookedClient client;
    int count = 0;
    client.RequestCallback("ev", new CCountingCallback(count, 0));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1)); // may take the event in already
    ASSERT_TRUE(client.ProcessMessages(true));
    auto& notes = client.m_notes;
    notes.erase(std::remove(notes.begin(), notes.end(), "connected"), notes.end());
    EXPECT_THAT(notes, ElementsAre("sent", "received", "from 127.0.0.1", "client ev", "event ev"));
    EXPECT_EQ(1, count);
}

TEST(Hooks, MayKeepAnEventFromItsCallback)
{
    CRawPeer peer(
        [](CRawLink& link) {
            link.Read();
            link.Send(Notification("ev", "\x90"));
            link.WaitForEnd();
        },
        0);
    CHookedClient client;
    client.m_passesOn = false;
    int count = 0;
    client.RequestCallback("ev", new CCountingCallback(count, 0));
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    EXPECT_TRUE(client.ProcessMessages(true));
    EXPECT_EQ(0, count);
}

TEST(Hooks, PassOnWhatACallbackReturns)
{
    MPISocketConnectionC connection;
    int count = 0;
    connection.RequestCallback("ev", new CCountingCallback(count, 5));
    BListC payload(nullptr);
    EXPECT_EQ(5, connection.DoCallback("ev", &payload));
    EXPECT_EQ(5, connection.DoClientCallback("ev", &payload));
    EXPECT_EQ(0, connection.DoCallback("other", &payload));
    EXPECT_EQ(2, count);
}

TEST(Hooks, GetARequestOfTheService)
{
    CRawPeer peer(
        [](CRawLink& link) {
            const CRawMessage request = link.Read();
            link.Send(Bytes::Request(300, "ask", "\x91\x05"));
            link.Reply(request, "\x07");
            link.WaitForEnd();
        },
        0);
    CHookedClient client;
    ASSERT_TRUE(client.Connect(kHost, peer.Port(), -1));
    const std::unique_ptr<BElementC> reply(client.CallMethod("a", nullptr));
    EXPECT_NE(nullptr, reply);
    EXPECT_EQ(1, std::count(client.m_notes.begin(), client.m_notes.end(), "asked ask 300 5"));
}

TEST(Hooks, HaveHarmlessDefaults)
{
    MPISocketConnectionC connection;
    connection.Idle();
    connection.Connected();
    connection.ReadExtra();
    connection.DataReceived();
    connection.DataReceivedFrom("127.0.0.1", 5010);
    connection.DataSent();
    connection.Disconnected();
    EXPECT_EQ(-1, connection.GetExtraReader());
    EXPECT_FALSE(connection.IsLinkUp());
}
