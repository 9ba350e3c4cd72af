#include <csignal>
#include <cstdint>
#include <string>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/faults/Calls.h"

namespace {

constexpr int kCallsEach = 100;
constexpr int kNotAllowed = 77;

/// A system call that nothing else makes marks where counting begins and ends.
void Mark()
{
    ::syscall(SYS_getpgid, 0);
}

/// What the traced child does: calls between two marks, when the link has settled.
[[noreturn]] void CallBetweenMarks(const CCall& call)
{
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        ::_exit(kNotAllowed);
    }
    CNavigationAPI navigation;
    // A call that the machine holds up, so that less than its time-out is left, waits with one
    // system call more; without a time-out none does.
    navigation.SetTimeout(-1);
    for (int count = 0; count < kCallsEach; ++count) {
        call.make(navigation);
    }
    std::raise(SIGSTOP);
    Mark();
    for (int count = 0; count < kCallsEach; ++count) {
        call.make(navigation);
    }
    Mark();
    ::_exit(navigation.LastError().code == ELinkError::None ? 0 : 1);
}

/// Whether a system call is one of ours: not a mark, nor the address sanitizer's own housekeeping.
bool IsCounted(std::uint64_t number)
{
#if defined(__SANITIZE_ADDRESS__)
    if (number == SYS_mmap || number == SYS_munmap || number == SYS_madvise) {
        return false;
    }
#endif
    return number != SYS_getpgid;
}

/// Lets the child go on until its end.
///
/// @return how many system calls it made between its marks.
int CountBetweenMarks(pid_t child, int& status)
{
    int entries = 0;
    int marks = 0;
    bool isEntry = true;
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    while (::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 &&
           ::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
            continue;
        }
        if (isEntry) {
            __ptrace_syscall_info info = {};
            ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(info), &info);
            marks += info.entry.nr == SYS_getpgid ? 1 : 0;
            entries += marks == 1 && IsCounted(info.entry.nr) ? 1 : 0;
        }
        isEntry = !isEntry;
    }
    return entries;
}

} // namespace

// Counted where the operating system sees them, so that nothing is left out: a request is a look at
// the link, a send and a receive; a notification is a look and a send.
TEST(SystemCallCount, OfARequestIsThreeAndOfANotificationTwo)
{
    CRawPeer service(Serve);
    for (const CCall& call : kCalls) {
        const pid_t child = ::fork();
        if (child == 0) {
            CallBetweenMarks(call);
        }
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        if (WIFEXITED(status) && WEXITSTATUS(status) == kNotAllowed) {
            GTEST_SKIP() << "the system allows no tracing";
        }
        const int count = CountBetweenMarks(child, status);
        EXPECT_EQ(0, status) << call.serviceName;
        EXPECT_EQ(kCallsEach * (call.isRequest ? 3 : 2), count) << call.serviceName;
    }
}
