#include "tests/faults/Process.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

std::atomic<int> g_interruptions{0};
timer_t g_timer{};

} // namespace

int CountDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries))) - 1; // its own
}

CCapturedOutput::CCapturedOutput()
    : m_file(::memfd_create("output", MFD_CLOEXEC)), m_output(::dup(STDOUT_FILENO)),
      m_errors(::dup(STDERR_FILENO))
{
    std::fflush(stdout);
    ::dup2(m_file, STDOUT_FILENO);
    ::dup2(m_file, STDERR_FILENO);
}

CCapturedOutput::~CCapturedOutput()
{
    std::fflush(stdout);
    ::dup2(m_output, STDOUT_FILENO);
    ::dup2(m_errors, STDERR_FILENO);
    ::close(m_output);
    ::close(m_errors);
    ::close(m_file);
}

std::string CCapturedOutput::Text() const
{
    std::fflush(stdout);
    const off_t size = ::lseek(m_file, 0, SEEK_END);
    std::string text(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
    const ssize_t count = ::pread(m_file, text.data(), text.size(), 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
}

CManyDescriptors::CManyDescriptors()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    do {
        m_descriptors.push_back(::dup(STDIN_FILENO));
        if (m_descriptors.back() < 0) {
            throw std::system_error(errno, std::generic_category(), "opening many descriptors");
        }
    } while (m_descriptors.back() < 1100);
}

CManyDescriptors::~CManyDescriptors()
{
    std::for_each(m_descriptors.begin(), m_descriptors.end(), ::close);
}

CInterruptions::CInterruptions()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { ++g_interruptions; }; // without SA_RESTART
    ::sigaction(SIGUSR1, &action, nullptr);
    g_interruptions = 0;
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGUSR1;
    event._sigev_un._tid = static_cast<pid_t>(::syscall(SYS_gettid));
    ::timer_create(CLOCK_MONOTONIC, &event, &g_timer);
    const itimerspec pace = {{0, 1'000'000}, {0, 1'000'000}};
    ::timer_settime(g_timer, 0, &pace, nullptr);
}

CInterruptions::~CInterruptions()
{
    ::timer_delete(g_timer);
}

int CInterruptions::Count()
{
    return g_interruptions;
}
