// Counts what a request takes of the system and of the memory: the system calls that the client
// makes, where the operating system sees them, and the blocks of memory that it asks for.
//
// usage: link-cost-benchmark [--quick] RESULTS

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "api/NavigationAPI.h"
#include "benchmarks/support/Allocations.h"
#include "benchmarks/support/Process.h"
#include "benchmarks/support/Results.h"
#include "benchmarks/support/Service.h"
#include "benchmarks/support/Tcp.h"

namespace {

using Benchmarks::CResults;
using Benchmarks::CTcp;
using Benchmarks::Target;

constexpr int kCalls = 1000;

/// A system call that nothing else makes marks where counting begins and ends.
void Mark()
{
    ::syscall(SYS_getpgid, 0);
}

/// What the traced process does: requests between two marks, when the link has settled.
[[noreturn]] void CallBetweenMarks()
{
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    CNavigationAPI navigation;
    // A call that the machine holds up, so that less than its time-out is left, waits with one
    // system call more; without a time-out none does.
    navigation.SetTimeout(-1);
    navigation.EngageSteering();
    std::raise(SIGSTOP);
    Mark();
    for (int call = 0; call < kCalls; ++call) {
        navigation.EngageSteering();
    }
    Mark();
    ::_exit(0);
}

/// Lets the process go on until its end, and gives how many system calls it made between its marks.
int CountBetweenMarks(pid_t process)
{
    int calls = 0;
    int marks = 0;
    int status = 0;
    bool isEntry = true;
    ::waitpid(process, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    while (::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr) == 0 &&
           ::waitpid(process, &status, 0) == process && WIFSTOPPED(status)) {
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
            continue;
        }
        if (isEntry) {
            __ptrace_syscall_info info = {};
            ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof(info), &info);
            const bool isMark = info.entry.nr == SYS_getpgid;
            marks += isMark ? 1 : 0;
            calls += !isMark && marks == 1 ? 1 : 0;
        }
        isEntry = !isEntry;
    }
    return calls;
}

double SystemCallsARequest()
{
    const pid_t process = ::fork();
    if (process == 0) {
        CallBetweenMarks();
    }
    const int calls = CountBetweenMarks(process);
    if (calls == 0) {
        throw std::runtime_error("the system allows no tracing");
    }
    return static_cast<double>(calls) / kCalls;
}

/// Blocks that `call` asks for, on average.
template <typename TCall>
double AllocationsA(TCall call)
{
    call();
    const Benchmarks::CAllocations allocations;
    for (int i = 0; i < kCalls; ++i) {
        call();
    }
    return static_cast<double>(allocations.Count()) / kCalls;
}

void Measure(CResults& results)
{
    const CTcp listener = CTcp::Listen(Benchmarks::kServicePort);
    const auto serve = [&listener] { Benchmarks::AnswerRequests(listener); };
    const Benchmarks::CChild services[] = {Benchmarks::CChild(serve), Benchmarks::CChild(serve)};
    results.Add({"system calls of the client, a request", "calls", {Target::ESense::AtMost, 3.0}},
                {SystemCallsARequest()});
    CNavigationAPI navigation;
    // The argument list is two blocks, itself and its elements; the reply is one.
    results.Add({"allocations of a request: argument list (2) and reply (1)",
                 "blocks",
                 {Target::ESense::AtMost, 3.0}},
                {AllocationsA([&navigation] { navigation.EngageSteering(); })});
}

} // namespace

int main(int argc, char** argv)
{
    return Benchmarks::Run(argc, argv, Measure);
}
