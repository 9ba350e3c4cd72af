#include "benchmarks/support/Process.h"

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Benchmarks {

void RunOnOneCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &cores);
    if (sched_setaffinity(0, sizeof(cores), &cores) != 0) {
        std::fprintf(stderr, "the processes could not be bound to one core\n");
    }
}

CChild::CChild(const std::function<void()>& work) : m_process(fork())
{
    if (m_process < 0) {
        throw std::runtime_error("cannot start a process");
    }
    if (m_process > 0) {
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        work();
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "service: %s\n", problem.what());
        _exit(1);
    }
    _exit(0);
}

CChild::~CChild()
{
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

} // namespace Benchmarks
