#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <stdio_ext.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/faults/Fault.h"
#include "tests/faults/Process.h"
#include "tests/faults/Scripts.h"
#include "tests/faults/SystemCalls.h"
#include "tests/support/Bytes.h"
#include "tests/support/Stopwatch.h"
#include "tests/support/SwallowingPort.h"

namespace {

template <typename... Types>
std::shared_ptr<void> All()
{
    return std::make_shared<std::tuple<Types...>>();
}

/// By how much readings of the wall clock differ that are taken at once.
double SecondsBetweenReadings()
{
    std::vector<long long> readings;
    for (int count = 0; count < 16; ++count) { // other threads may take every second one
        readings.push_back(std::time(nullptr));
        readings.push_back(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    }
    const auto [least, most] = std::minmax_element(readings.begin(), readings.end());
    return static_cast<double>(*most - *least);
}

std::shared_ptr<void> AJumpingWallClock()
{
    auto clock = std::make_shared<CJumpingWallClock>();
    EXPECT_NEAR(86400, SecondsBetweenReadings(), 1);
    return clock;
}

/// Takes its time for every reply, so that the client is interrupted while it waits.
void ServeSlowly(CRawLink& link)
{
    while (true) {
        const CRawMessage call = NextCall(link);
        link.Pause(100);
        link.Send(call.kind == 0 ? ReplyTo(call) : std::string());
    }
}

std::vector<CFault> ProcessFaults()
{
    const auto nothing = [](const CRawMessage&) { return std::string(); };
    const auto whole = [](const CRawMessage& call) { return ReplyTo(call); };
    return {
        CFault("InterruptionsWhileAReplyIsAwaited", ServeSlowly)
            .SaysNothingToNotifications()
            .Under(All<CInterruptions>)
            .Interrupts()
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("InterruptionsWhileAReplyTrickles", Scripts::Trickle(whole, 5))
            .Under(All<CInterruptions>)
            .Interrupts()
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("InterruptionsUntilTheTimeout", Scripts::Send(nothing))
            .SaysNothingToNotifications()
            .Under(All<CInterruptions>)
            .Interrupts()
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(1),
        CFault("InterruptionsWhileAPortSwallowsConnections")
            .Under([] {
                return std::shared_ptr<void>(
                    std::make_shared<std::pair<CInterruptions, CSwallowingPort>>(
                        std::piecewise_construct, std::forward_as_tuple(),
                        std::forward_as_tuple(std::uint16_t{5010})));
            })
            .Interrupts()
            .Fails(),
        CFault("AWallClockThatJumpsADay", ServeSlowly)
            .SaysNothingToNotifications()
            .Under(AJumpingWallClock)
            .Succeeds()
            .ThenWorksOnConnection(1),
        CFault("AWallClockThatJumpsADayUntilTheTimeout", Scripts::Send(nothing))
            .SaysNothingToNotifications()
            .Under(AJumpingWallClock)
            .Fails(ELinkError::TimedOut)
            .ThenWorksOnConnection(1),
    };
}

void ReadNothing(CRawLink& link)
{
    link.Pause(60000);
}

/// A wait of the client, which is to end with its time-out.
struct WaitRow
{
    const char* what;
    void (*wait)(CNavigationAPI&);
};

const WaitRow kWaits[] = {
    {"ProcessMessages", [](CNavigationAPI& api) { EXPECT_FALSE(api.ProcessMessages(true)); }},
    {"ReceiveMessage", [](CNavigationAPI& api) { EXPECT_FALSE(api.ReceiveMessage(true)); }},
    {"a blocked send",
     [](CNavigationAPI& api) {
         BListC arguments(nullptr);
         arguments.AddString(std::string(std::size_t{30} * 1024 * 1024, 'x'));
         EXPECT_FALSE(api.SendNotification("a", &arguments));
         EXPECT_EQ(ELinkError::TimedOut, api.LastError().code);
     }},
};

/// In milliseconds: what a wait of 150 takes at most on a busy machine, the making of 30 MiB in
/// front of it included. One that begins anew at each interruption, or hangs on the wall clock,
/// takes for ever.
constexpr int kLongestWait = 3000;

/// Counts a child's descriptors in the program that it turns into: standard input, output and
/// error, and that of the listing itself.
int CountDescriptorsAfterExec()
{
    FILE* const listing = ::popen("exec ls /proc/self/fd | wc -l", "re");
    int count = -1;
    EXPECT_EQ(1, std::fscanf(listing, "%d", &count));
    EXPECT_EQ(0, ::pclose(listing));
    return count;
}

/// What a child that does nothing else exits with.
int ExitStatusOfAChild(const std::function<int()>& work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    int status = -1;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    return status;
}

/// Has standard output refuse everything while it lives.
class CFullOutput
{
public:
    CFullOutput()
    {
        const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        ::dup2(full, STDOUT_FILENO);
        ::close(full);
    }
    ~CFullOutput()
    {
        ::__fpurge(stdout); // what was refused is not left to the next
        std::clearerr(stdout);
    }
    CFullOutput(const CFullOutput&) = delete;
    CFullOutput& operator=(const CFullOutput&) = delete;

    /// Whether it has refused something.
    static bool HasRefused() { return std::fflush(stdout) != 0 || std::ferror(stdout) != 0; }

private:
    CCapturedOutput m_aside; // gives standard output back
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Process, Fault, testing::ValuesIn(ProcessFaults()), NameOfFault);

TEST(ProcessFault, InterruptionsNeitherShortenNorLengthenAWait)
{
    for (const WaitRow& row : kWaits) {
        CRawPeer service(ReadNothing);
        CNavigationAPI navigation;
        navigation.SetTimeout(150);
        const CInterruptions interruptions;
        const CStopwatch stopwatch;
        row.wait(navigation);
        EXPECT_GE(stopwatch.MillisecondsPassed(), 149) << row.what;
        EXPECT_LE(stopwatch.Milliseconds(), kLongestWait) << row.what;
        EXPECT_GT(CInterruptions::Count(), 0) << row.what;
    }
}

TEST(ProcessFault, AWallClockThatJumpsMovesNoWait)
{
    for (const WaitRow& row : kWaits) {
        CRawPeer service(ReadNothing);
        CNavigationAPI navigation;
        navigation.SetTimeout(150);
        const std::shared_ptr<void> jumps = AJumpingWallClock();
        const CStopwatch stopwatch;
        row.wait(navigation);
        EXPECT_GE(stopwatch.MillisecondsPassed(), 149) << row.what;
        EXPECT_LE(stopwatch.Milliseconds(), kLongestWait) << row.what;
    }
}

TEST(ProcessFault, AChildThatRunsAnotherProgramInheritsNothing)
{
    const int before = CountDescriptorsAfterExec();
    CRawPeer service(Serve);
    CNavigationAPI navigation;
    ASSERT_EQ(7, navigation.EngageSteering());
    EXPECT_EQ(before, CountDescriptorsAfterExec());
    EXPECT_EQ(7, navigation.EngageSteering());
    EXPECT_EQ(1, service.WaitForConnections(1));
}

TEST(ProcessFault, AChildThatDestroysItsCopyOfTheClientLeavesTheLinkAlone)
{
    CRawPeer service(Serve);
    auto navigation = std::make_unique<CNavigationAPI>();
    ASSERT_EQ(7, navigation->EngageSteering());
    EXPECT_EQ(0, ExitStatusOfAChild([&] {
                  navigation.reset();
                  return 0;
              }));
    EXPECT_EQ(7, navigation->EngageSteering());
    EXPECT_EQ(1, service.WaitForConnections(1));
}

TEST(ProcessFault, AChildReopensALostLinkForItselfAlone)
{
    CRawPeer service(Scripts::SendAndClose([](const CRawMessage& call) { return ReplyTo(call); }));
    CNavigationAPI navigation;
    ASSERT_EQ(7, navigation.EngageSteering());
    pollfd watched = {navigation.Descriptor(), POLLRDHUP, 0};
    ASSERT_EQ(1, ::poll(&watched, 1, 10000));
    EXPECT_EQ(0, ExitStatusOfAChild([&] {
                  return navigation.EngageSteering() == 7 && service.WaitForConnections(1) == 1 ? 0
                                                                                                : 1;
              }));
    EXPECT_EQ(2, service.WaitForConnections(2));
    EXPECT_EQ(7, navigation.EngageSteering());
    EXPECT_EQ(3, service.WaitForConnections(3));
}

TEST(ProcessFault, AFullStandardOutputKeepsNoEventFromItsFunctor)
{
    const std::string event =
        Bytes::Notification("cb_implement_width_changed", '\x91' + Bytes::Float64(6.5));
    std::string events;
    for (int count = 0; count < 1000; ++count) {
        events += event;
    }
    CRawPeer service(Scripts::SendAhead(events));
    CNavigationAPI navigation;
    int calls = 0;
    navigation.SetImplementWidthCallback(
        Core::Functors::MakeFunctor([&](double width) { calls += width == 6.5 ? 1 : 0; }));
    ASSERT_EQ(7, navigation.EngageSteering());
    bool hasRefused = false;
    {
        const CFullOutput full;
        navigation.ProcessMessages(false);
        hasRefused = CFullOutput::HasRefused();
    }
    EXPECT_TRUE(hasRefused);
    EXPECT_EQ(1000, calls);
    EXPECT_EQ(7, navigation.EngageSteering());
    navigation.SetImplementWidthCallback(nullptr);
}

TEST(ProcessFault, AFullStandardOutputKeepsNoPointFromAWayline)
{
    std::string points = " 1000";
    for (int number = 0; number < 3000; ++number) { // more than standard output holds back
        points += ' ' + std::to_string(static_cast<double>(number));
    }
    for (const char* type : {"3", "4"}) {
        bool hasRefused = false;
        Kestrove::WaylinePtr wayline;
        {
            const CFullOutput full;
            wayline = Kestrove::CWayline::FromString(type + points);
            hasRefused = CFullOutput::HasRefused();
        }
        EXPECT_TRUE(hasRefused) << type;
        ASSERT_NE(nullptr, wayline.Get()) << type;
        EXPECT_EQ(type + points, wayline->ToString()) << type;
    }
}
