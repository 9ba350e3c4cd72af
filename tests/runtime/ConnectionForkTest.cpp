#include "platform/MPISocketClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "runtime/ProcessMark.h"
#include "tests/runtime/ConnectionCalls.h"
#include "tests/runtime/EventCalls.h"
#include "tests/runtime/RunningService.h"

namespace {

constexpr int kCallsEach = 2000;

/// How a process makes another one that goes on with its memory.
struct ForkRow
{
    const char* name;
    pid_t (*fork)();
};

/// fork(), and ways around it that run none of its handlers.
const ForkRow kForks[] = {
    {"fork", ::fork},
    {"_Fork", ::_Fork},
#ifdef SYS_fork
    {"system call", [] { return static_cast<pid_t>(::syscall(SYS_fork)); }},
#endif
};

/// What a child that does nothing else exits with.
class CChild
{
public:
    explicit CChild(const std::function<int()>& work, pid_t (*fork)() = ::fork) : m_process(fork())
    {
        if (m_process == 0) {
            ::_exit(work());
        }
    }
    int ExitCode() const
    {
        int status = -1;
        EXPECT_EQ(m_process, ::waitpid(m_process, &status, 0));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_process;
};

/// Answers "who" with the number of the connection that it came over, and an event "who" with it,
/// too, as soon as somebody subscribes.
void AnswerWithNumbers(CRunningService& service)
{
    service.On("who", [](MPISocketServerC& server, ClientNumber client, std::uint64_t request) {
        const BAtomC number(static_cast<int>(client));
        server.Reply(client, request, &number);
    });
    service.On("subscribed", [](MPISocketServerC& server, ClientNumber client, std::uint64_t) {
        BListC payload(nullptr);
        payload.AddInt(static_cast<int>(client));
        server.PushTo(client, "who", payload);
    });
}

/// Asks over and over who it is.
///
/// @return how often the answer was another than `number`.
int WrongAnswers(MPISocketClientC& client, int number)
{
    int wrong = 0;
    for (int count = 0; count < kCallsEach; ++count) {
        wrong += client.VerifyConnection() && Call(client, "who") == number ? 0 : 1;
    }
    return wrong;
}

} // namespace

TEST(ConnectionFork, ChildAndParentCallAtOnceAndEachGetsItsOwnReplies)
{
    for (const ForkRow& row : kForks) {
        CRunningService service;
        AnswerWithNumbers(service);
        MPISocketClientC client(true);
        ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
        ASSERT_EQ(1, Call(client, "who"));
        const CChild child([&] { return WrongAnswers(client, 2) == 0 ? 0 : 1; }, row.fork);
        EXPECT_EQ(0, WrongAnswers(client, 1)) << row.name;
        EXPECT_EQ(0, child.ExitCode()) << row.name;
        EXPECT_EQ(1, Call(client, "who")) << row.name;
    }
}

TEST(ConnectionFork, EveryGenerationHasALinkOfItsOwn)
{
    CRunningService service;
    AnswerWithNumbers(service);
    MPISocketClientC client(true);
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    ASSERT_EQ(1, Call(client, "who"));
    const CChild child([&] {
        const int ownWrong = WrongAnswers(client, 2);
        const CChild grandchild([&] { return WrongAnswers(client, 3); });
        return ownWrong + grandchild.ExitCode() + WrongAnswers(client, 2);
    });
    EXPECT_EQ(0, child.ExitCode());
    EXPECT_EQ(1, Call(client, "who"));
}

TEST(ConnectionFork, RegistrationsGoWithTheChild)
{
    CRunningService service;
    AnswerWithNumbers(service);
    CNotingClient client(true);
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    client.Note("who");
    ASSERT_TRUE(client.ProcessMessages(true));
    const CChild child([&] {
        client.SetTimeout(10000);
        client.m_events.clear();
        return client.ProcessMessages(true) && client.m_events == std::vector<int>{2} ? 0 : 1;
    });
    EXPECT_EQ(0, child.ExitCode());
    EXPECT_EQ(std::vector<int>{1}, client.m_events);
    EXPECT_EQ(1, Call(client, "who"));
}

TEST(ConnectionFork, EventsThatTheParentHasNotTakenYetStayTheParents)
{
    CRunningService service;
    AnswerWithNumbers(service);
    CNotingClient client(true);
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    ASSERT_EQ(1, Call(client, "who"));
    client.Note("who");
    ASSERT_TRUE(service.WaitForNotes("subscribed"));
    const CChild child([&] {
        client.SetTimeout(10000);
        while (client.m_events.empty() && client.ProcessMessages(true)) {
        }
        return client.m_events == std::vector<int>{2} ? 0 : 1;
    });
    EXPECT_EQ(0, child.ExitCode());
    client.SetTimeout(10000);
    EXPECT_TRUE(client.ProcessMessages(true));
    EXPECT_EQ(std::vector<int>{1}, client.m_events);
}

TEST(ConnectionFork, AChildOfAClientThatDoesNotReconnectClosesItsCopyAndSendsNothing)
{
    CRunningService service;
    AnswerWithNumbers(service);
    MPISocketClientC client(false);
    ASSERT_TRUE(client.Connect(kHost, service.Port(), -1));
    ASSERT_EQ(1, Call(client, "who"));
    const int descriptor = client.Descriptor();
    const CChild child([&] {
        const bool wasOpen = ::fcntl(descriptor, F_GETFD) != -1;
        const bool isLeftAlone = client.Descriptor() == -1 && Call(client, "who") == -1 &&
                                 client.LastError().code == ELinkError::NotConnected &&
                                 !client.SendNotification("note", nullptr) &&
                                 !client.VerifyConnection();
        return wasOpen && isLeftAlone && ::fcntl(descriptor, F_GETFD) == -1 ? 0 : 1;
    });
    EXPECT_EQ(0, child.ExitCode());
    EXPECT_EQ(1, Call(client, "who"));
    const std::vector<std::string> expected = {"connected 1", "request who of 0",
                                               "request who of 0"};
    EXPECT_EQ(expected, service.Notes());
}

TEST(ProcessMark, DiffersInEveryChildAndStaysInTheProcess)
{
    const std::uint64_t own = ProcessMark();
    for (const ForkRow& row : kForks) {
        const CChild child(
            [&] {
                const std::uint64_t childs = ProcessMark();
                return childs != own && childs != 0 && childs == ProcessMark() ? 0 : 1;
            },
            row.fork);
        EXPECT_EQ(0, child.ExitCode()) << row.name;
        EXPECT_EQ(own, ProcessMark()) << row.name;
    }
}
