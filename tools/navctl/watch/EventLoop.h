#ifndef KESTROVE_TOOLS_NAVCTL_WATCH_EVENTLOOP_H
#define KESTROVE_TOOLS_NAVCTL_WATCH_EVENTLOOP_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "api/NavigationAPI.h"

/// Waits for events and has them delivered, across reconnections, until it is to end.
///
/// While it lives, SIGINT and SIGTERM end the loop and not the program. One thread.
class CEventLoop
{
public:
    /// Why Run() has returned.
    enum class EEnd
    {
        Done,        ///< `isDone` said so
        TimeIsUp,    ///< the time is over
        Interrupted, ///< the user or the system wants the program to end
        BadMessage,  ///< what listens does not speak the protocol; LastError() has the reason
        NoService,   ///< `isService` said so
    };

    /// What is reported while the loop runs; each may be empty.
    struct Listener
    {
        std::function<bool()> isDone;    ///< asked after every delivery
        std::function<void()> delivered; ///< events may have been delivered
        /// The link has come up, or is down and why.
        std::function<void(bool isUp, const std::string& reason)> linkChanged;
        /// Asked whenever the link has come up, with the time that is left.
        std::function<bool(double secondsLeft)> isService{};
    };

    /// @param navigation must outlive this object.
    /// @param output a descriptor whose loss wakes the loop up, so that `isDone` can look.
    CEventLoop(CNavigationAPI& navigation, int output);
    ~CEventLoop();
    CEventLoop(const CEventLoop&) = delete;
    CEventLoop& operator=(const CEventLoop&) = delete;

    /// Delivers events until something ends it.
    ///
    /// @param limit the longest time; none for no limit.
    EEnd Run(const Listener& listener, std::optional<std::chrono::duration<double>> limit);
    /// Whether the link has been up at any time in Run().
    bool HasBeenUp() const { return m_hasBeenUp; }

private:
    bool TellLink(const Listener& listener);
    double SecondsLeft() const;
    bool IsInterrupted(int milliseconds);

    CNavigationAPI& m_navigation;
    int m_output;
    int m_signals = -1;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
    std::optional<bool> m_wasUp;
    bool m_hasBeenUp = false;
};

#endif
