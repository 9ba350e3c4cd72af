#include "tests/faults/SystemCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <utility>

#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "tests/support/Stopwatch.h"

namespace {

constexpr time_t kSecondsADay = 86400;

thread_local CSystemCallWatch* t_watch = nullptr;
std::atomic<bool> g_jumps{false};
std::atomic<unsigned> g_readings{0};

/// The system's own function of that name, which the one in this program stands before.
template <typename Function>
Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool Fails(ESystemCall call)
{
    return t_watch != nullptr && t_watch->Fails(call);
}

/// The result of a call that waits.
template <typename Result>
Result Noted(Result result)
{
    if (result < 0 && errno == EINTR && t_watch != nullptr) {
        t_watch->NoteInterruption();
    }
    return result;
}

time_t Jump()
{
    return g_jumps && ++g_readings % 2 == 1 ? kSecondsADay : 0;
}

} // namespace

CSystemCallWatch::CSystemCallWatch()
{
    t_watch = this;
}

CSystemCallWatch::~CSystemCallWatch()
{
    t_watch = nullptr;
}

CSystemCallWatch* CSystemCallWatch::OfThisThread()
{
    return t_watch;
}

void CSystemCallWatch::LetFail(ESystemCall call, int nth, int error)
{
    m_failing = call;
    m_failingAt = Count(call) + nth;
    m_error = error;
}

bool CSystemCallWatch::Fails(ESystemCall call)
{
    const int count = ++m_counts[static_cast<std::size_t>(call)];
    if (call != m_failing || count != m_failingAt) {
        return false;
    }
    m_hasFailed = true;
    errno = m_error;
    return true;
}

int CSystemCallWatch::AttemptsPerAddress() const
{
    int most = 0;
    for (const auto& attempts : m_attempts) {
        most = std::max(most, attempts.second);
    }
    return most;
}

void CSystemCallWatch::BeforeReceiving(int descriptor)
{
    if (m_sent.empty() || !std::exchange(m_awaitsBytes, false)) {
        return;
    }
    const CStopwatch stopwatch;
    pollfd watched = {descriptor, POLLIN, 0};
    const timespec longest = {60, 0};
    while (::ppoll(&watched, 1, &longest, nullptr) < 0 && errno == EINTR) {
    }
    m_millisecondsAwaited = stopwatch.Milliseconds();
}

void CSystemCallWatch::BeginMessage()
{
    m_attempts.clear();
    m_sent.clear();
}

CJumpingWallClock::CJumpingWallClock()
{
    g_jumps = true;
}

CJumpingWallClock::~CJumpingWallClock()
{
    g_jumps = false;
}

// The functions of the system library, as every part of the program finds them.
extern "C" {

__attribute__((visibility("default"))) int socket(int family, int type, int protocol) noexcept
{
    static auto* const system = Next<int(int, int, int)>("socket");
    return Fails(ESystemCall::Socket) ? -1 : system(family, type, protocol);
}

__attribute__((visibility("default"))) int connect(int descriptor, const sockaddr* address,
                                                   socklen_t length)
{
    static auto* const system = Next<int(int, const sockaddr*, socklen_t)>("connect");
    if (t_watch != nullptr) {
        t_watch->NoteAttempt(address->sa_family);
    }
    if (Fails(ESystemCall::Connect)) {
        return -1;
    }
    return system(descriptor, address, length);
}

__attribute__((visibility("default"))) ssize_t send(int descriptor, const void* bytes,
                                                    std::size_t size, int flags)
{
    static auto* const system = Next<ssize_t(int, const void*, std::size_t, int)>("send");
    if (Fails(ESystemCall::Send)) {
        return -1;
    }
    const ssize_t sent = system(descriptor, bytes, size, flags);
    if (t_watch != nullptr && sent > 0) {
        t_watch->NoteSent(static_cast<const char*>(bytes), static_cast<std::size_t>(sent));
    }
    return sent;
}

__attribute__((visibility("default"))) ssize_t recv(int descriptor, void* bytes, std::size_t size,
                                                    int flags)
{
    static auto* const system = Next<ssize_t(int, void*, std::size_t, int)>("recv");
    if (t_watch != nullptr) {
        t_watch->BeforeReceiving(descriptor);
    }
    return Fails(ESystemCall::Recv) ? -1 : Noted(system(descriptor, bytes, size, flags));
}

__attribute__((visibility("default"))) ssize_t
__recv_chk(int descriptor, void* bytes, std::size_t size, std::size_t /*room*/, int flags)
{
    return recv(descriptor, bytes, size, flags);
}

__attribute__((visibility("default"))) int poll(pollfd* entries, nfds_t count, int timeout)
{
    static auto* const system = Next<int(pollfd*, nfds_t, int)>("poll");
    return Fails(ESystemCall::Poll) ? -1 : Noted(system(entries, count, timeout));
}

__attribute__((visibility("default"))) int __poll_chk(pollfd* entries, nfds_t count, int timeout,
                                                      std::size_t /*room*/)
{
    return poll(entries, count, timeout);
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    static auto* const system = Next<int(clockid_t, timespec*)>("clock_gettime");
    const int result = system(clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        time->tv_sec += Jump();
    }
    return result;
}

__attribute__((visibility("default"))) int gettimeofday(timeval* time, void* zone) noexcept
{
    static auto* const system = Next<int(timeval*, void*)>("gettimeofday");
    const int result = system(time, zone);
    if (result == 0) {
        time->tv_sec += Jump();
    }
    return result;
}

__attribute__((visibility("default"))) time_t time(time_t* result) noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}
}
