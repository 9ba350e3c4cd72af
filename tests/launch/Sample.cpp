// Tests that do to their process what the runner of tests has to stand. run_gtest_test.py has them
// run, a few at a time; they are not tests of their own.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

TEST(Quiet, Passes) {}

TEST(Quiet, PassesToo) {}

TEST(Quiet, PassesInTheEnd) {}

TEST(Quiet, WritesAnUnfinishedLine)
{
    std::printf("unfinished");
}

TEST(Quiet, IsSkipped)
{
    GTEST_SKIP() << "for want of something";
}

TEST(Quiet, DISABLED_IsNotRun)
{
    FAIL();
}

TEST(Faulty, Fails)
{
    std::printf("said before the fault\n");
    FAIL() << "the fault itself";
}

TEST(Faulty, Crashes)
{
    std::fprintf(stderr, "said before the crash\n");
    std::raise(SIGSEGV);
}

TEST(Faulty, Exits)
{
    std::exit(0);
}

TEST(Faulty, Hangs)
{
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(1)); // what is ended from outside
    }
}

void LeaveAProcess()
{
    if (::fork() == 0) {
        ::execlp("sleep", "sleep", std::getenv("SAMPLE_SLEEPS"), nullptr);
    }
}

TEST(Faulty, LeavesAProcessAndCrashes)
{
    LeaveAProcess();
    std::raise(SIGSEGV);
}

TEST(Faulty, LeavesAProcessAndHangs)
{
    LeaveAProcess();
    std::this_thread::sleep_for(std::chrono::hours(1)); // what is ended from outside
}

TEST(Spoiling, MakesTheProcessEndWithAFault)
{
    std::atexit([] {
        std::fprintf(stderr, "said at the end\n");
        ::_exit(23);
    });
}

class Slow : public testing::TestWithParam<int>
{
};

TEST_P(Slow, TakesASecond)
{
    std::this_thread::sleep_for(std::chrono::seconds(1)); // what the test is about
}

INSTANTIATE_TEST_SUITE_P(Seconds, Slow, testing::Range(0, 8));

/// What a test leaves in its process.
int g_runs = 0;

TEST(Lonely, WantsAProcess)
{
    EXPECT_EQ(1, ++g_runs);
}

TEST(Lonely, WantsAnother)
{
    EXPECT_EQ(1, ++g_runs);
}

class SuiteThatExits : public testing::Test
{
protected:
    static void SetUpTestSuite() { std::exit(0); }
};

TEST_F(SuiteThatExits, IsNotReached) {}

class Rows : public testing::TestWithParam<std::string>
{
};

TEST_P(Rows, AreNotTwo)
{
    EXPECT_NE("two", GetParam());
}

INSTANTIATE_TEST_SUITE_P(Numbers, Rows, testing::Values("one", "two", "three"),
                         [](const auto& row) { return row.param; });

} // namespace
