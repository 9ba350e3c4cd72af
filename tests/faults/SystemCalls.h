#ifndef KESTROVE_TESTS_FAULTS_SYSTEMCALLS_H
#define KESTROVE_TESTS_FAULTS_SYSTEMCALLS_H

#include <array>
#include <map>
#include <string>

/// The system calls of the link.
enum class ESystemCall
{
    Socket,
    Connect,
    Send,
    Recv,
    Poll,
};

/// Watches the system calls that the calling thread makes, the library's included, and lets one of
/// them fail. The other threads, such as that of a service, are left alone. One a thread.
class CSystemCallWatch
{
public:
    CSystemCallWatch();
    ~CSystemCallWatch();
    CSystemCallWatch(const CSystemCallWatch&) = delete;
    CSystemCallWatch& operator=(const CSystemCallWatch&) = delete;

    /// From now on the `nth` call of a kind, counted from 1, is not made but fails with `error`.
    void LetFail(ESystemCall call, int nth, int error);
    /// Whether the call that was to fail has been reached.
    bool HasFailed() const { return m_hasFailed; }
    /// The first call that receives after something was sent waits until there is something to
    /// receive, for up to a minute.
    void AwaitTheFirstBytes() { m_awaitsBytes = true; }
    /// How long it has waited.
    int MillisecondsAwaited() const { return m_millisecondsAwaited; }

    int Count(ESystemCall call) const { return m_counts[static_cast<std::size_t>(call)]; }
    /// The largest number of connections that were attempted to addresses of one kind.
    int AttemptsPerAddress() const;
    /// What was handed to the system for sending, without what it did not take.
    const std::string& Sent() const { return m_sent; }
    /// How many calls that wait were ended by a signal.
    int Interruptions() const { return m_interruptions; }
    /// Begins anew with what was attempted and sent; the calls are counted on.
    void BeginMessage();

    // For the system calls themselves.
    static CSystemCallWatch* OfThisThread();
    /// Counts a call. True when it is to fail; errno is set then.
    bool Fails(ESystemCall call);
    void NoteAttempt(int family) { ++m_attempts[family]; }
    /// Waits for what is to be received, if the next call is to.
    void BeforeReceiving(int descriptor);
    void NoteInterruption() { ++m_interruptions; }
    void NoteSent(const char* bytes, std::size_t count) { m_sent.append(bytes, count); }

private:
    std::array<int, 5> m_counts = {};
    std::map<int, int> m_attempts;
    std::string m_sent;
    int m_interruptions = 0;
    ESystemCall m_failing = ESystemCall::Socket;
    int m_failingAt = 0;
    int m_error = 0;
    bool m_hasFailed = false;
    bool m_awaitsBytes = false;
    int m_millisecondsAwaited = 0;
};

/// Moves the wall clock of the process a day on and back again, reading by reading, while it lives.
/// The monotonic clock is left alone, as a clock that is set leaves it.
class CJumpingWallClock
{
public:
    CJumpingWallClock();
    ~CJumpingWallClock();
    CJumpingWallClock(const CJumpingWallClock&) = delete;
    CJumpingWallClock& operator=(const CJumpingWallClock&) = delete;
};

#endif
