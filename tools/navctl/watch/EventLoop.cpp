#include "tools/navctl/watch/EventLoop.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <limits>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

/// How long to wait at most: without a link, until the library makes its next attempt.
constexpr int kLongestWaitMilliseconds = 1000;
constexpr int kWaitWithoutLinkMilliseconds = 100;

sigset_t EndingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

int MillisecondsUntil(const std::optional<Clock::time_point>& deadline, int most)
{
    if (!deadline) {
        return most;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::clamp<long>(left.count(), 0, most));
}

std::optional<Clock::time_point>
DeadlineOf(const std::optional<std::chrono::duration<double>>& limit)
{
    if (!limit) {
        return std::nullopt;
    }
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(*limit);
}

} // namespace

CEventLoop::CEventLoop(CNavigationAPI& navigation, int output)
    : m_navigation(navigation), m_output(output)
{
    const sigset_t signals = EndingSignals();
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    m_signals = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

CEventLoop::~CEventLoop()
{
    // A signal that has come is used up, so that it does not end the program afterwards.
    signalfd_siginfo signal{};
    while (m_signals >= 0 && ::read(m_signals, &signal, sizeof signal) > 0) {
    }
    const sigset_t signals = EndingSignals();
    ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    if (m_signals >= 0) {
        ::close(m_signals);
    }
}

CEventLoop::EEnd CEventLoop::Run(const Listener& listener,
                                 std::optional<std::chrono::duration<double>> limit)
{
    m_deadline = DeadlineOf(limit);
    while (true) {
        // Looked at before the delivery, which reopens a lost link and so forgets why it was lost.
        if (!m_navigation.IsLinkUp() && m_navigation.LastError().code == ELinkError::BadMessage) {
            return EEnd::BadMessage;
        }
        if (!TellLink(listener)) {
            return EEnd::NoService;
        }
        m_navigation.CheckCallbacks();
        if (!TellLink(listener)) {
            return EEnd::NoService;
        }
        if (listener.delivered) {
            listener.delivered();
        }
        if (listener.isDone && listener.isDone()) {
            return EEnd::Done;
        }
        const int wait =
            m_navigation.Descriptor() < 0 ? kWaitWithoutLinkMilliseconds : kLongestWaitMilliseconds;
        if (m_deadline && Clock::now() >= *m_deadline) {
            return EEnd::TimeIsUp;
        }
        if (IsInterrupted(MillisecondsUntil(m_deadline, wait))) {
            return EEnd::Interrupted;
        }
    }
}

/// @return false when the link has come up, to something that is not a navigation service.
bool CEventLoop::TellLink(const Listener& listener)
{
    bool isUp = m_navigation.Descriptor() >= 0;
    m_hasBeenUp = m_hasBeenUp || isUp;
    if (m_wasUp == isUp) {
        return true;
    }
    if (isUp && listener.isService && !listener.isService(SecondsLeft())) {
        return false;
    }
    // The question may have lost the link again.
    isUp = m_navigation.Descriptor() >= 0;
    if (m_wasUp == isUp) {
        return true;
    }
    m_wasUp = isUp;
    if (listener.linkChanged) {
        listener.linkChanged(isUp, m_navigation.LastError().text);
    }
    return true;
}

double CEventLoop::SecondsLeft() const
{
    if (!m_deadline) {
        return std::numeric_limits<double>::infinity();
    }
    return std::max(0.0, std::chrono::duration<double>(*m_deadline - Clock::now()).count());
}

bool CEventLoop::IsInterrupted(int milliseconds)
{
    // A negative descriptor is passed over.
    std::array<pollfd, 3> entries{pollfd{m_signals, POLLIN, 0},
                                  pollfd{m_navigation.Descriptor(), POLLIN, 0},
                                  pollfd{m_output, 0, 0}};
    ::poll(entries.data(), entries.size(), milliseconds);
    return (entries[0].revents & POLLIN) != 0;
}
