#include <atomic>

#include <dlfcn.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"

namespace {

std::atomic<int> g_connects{0};

// One attempt goes to ::1 and to 127.0.0.1.
constexpr int kOneAttempt = 2;

struct CallRow
{
    const char* call;
    void (*make)(CNavigationAPI&);
};

const CallRow kCalls[] = {
    {"a request of the reconnecting guard", [](CNavigationAPI& api) { api.EngageSteering(); }},
    {"a notification of the reconnecting guard",
     [](CNavigationAPI& api) { api.SetCurveFilterSize(7); }},
    {"a request of the verifying guard",
     [](CNavigationAPI& api) { static_cast<void>(api.GetLookAheadTime()); }},
    {"a notification of the verifying guard", [](CNavigationAPI& api) { api.SetNudge(0.5); }},
};

} // namespace

/// Counts the connections that the program attempts, the library included.
extern "C" __attribute__((visibility("default"))) int
connect(int descriptor, const sockaddr* address, socklen_t length)
{
    using Connect = int (*)(int, const sockaddr*, socklen_t);
    static const auto system = reinterpret_cast<Connect>(::dlsym(RTLD_NEXT, "connect"));
    ++g_connects;
    return system(descriptor, address, length);
}

TEST(Attempt, IsMadeOnceByTheConstructor)
{
    g_connects = 0;
    const CNavigationAPI navigation;
    EXPECT_EQ(kOneAttempt, g_connects);
}

TEST(Attempt, IsMadeOnceACallWhileThereIsNoService)
{
    CNavigationAPI navigation;
    for (const CallRow& row : kCalls) {
        g_connects = 0;
        row.make(navigation);
        EXPECT_EQ(kOneAttempt, g_connects) << row.call;
    }
}

TEST(Attempt, IsMadeNotMoreThanOnceInHalfASecondByAnApplicationThatOnlyListens)
{
    CNavigationAPI navigation;
    g_connects = 0;
    for (int count = 0; count < 20; ++count) {
        navigation.CheckCallbacks();
    }
    EXPECT_EQ(kOneAttempt, g_connects);
}
