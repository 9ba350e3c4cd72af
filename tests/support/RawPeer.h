#ifndef KESTROVE_TESTS_SUPPORT_RAWPEER_H
#define KESTROVE_TESTS_SUPPORT_RAWPEER_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "tests/support/Loopback.h"

/// A message that a peer has received, read by a MessagePack library that is not under test.
struct CRawMessage
{
    std::string bytes; ///< as they came
    int kind = -1;     ///< 0 request, 1 response, 2 notification
    std::uint64_t number = 0;
    std::string name;
    std::string text; ///< the whole message, for people and comparisons
};

/// One connection as a script sees it. Every operation throws std::runtime_error when the other
/// side has gone or the peer is being ended; the script then ends.
class CRawLink
{
public:
    /// @param descriptor stays the caller's.
    CRawLink(int descriptor, int number) : m_descriptor(descriptor), m_number(number) {}

    /// Counts the connections that the peer has accepted, from 1.
    int Number() const { return m_number; }
    /// Waits for the next whole message.
    CRawMessage Read();
    /// Sends bytes as one packet.
    void Send(const std::string& bytes);
    /// Answers a request: `result` is given as bytes.
    void Reply(const CRawMessage& request, const std::string& result);
    /// Lets time pass, as a slow service does; ends early when the connection ends.
    void Pause(int milliseconds);
    /// Waits until the other side has read all that was sent, so that what is sent next comes to it
    /// by itself. For connections over IPv4.
    void WaitUntilTaken();
    /// Ends the sending half of the connection alone.
    void EndSending();
    /// Waits until the other side has closed the connection; what it sends meanwhile is dropped.
    void WaitForEnd();
    /// Ends the connection with a reset when the script ends, instead of in order.
    void Reset();

private:
    int m_descriptor;
    int m_number;
    std::string m_unread;
};

/// A service that plays a script of bytes on a thread of its own, connection after connection; a
/// connection is closed when the script returns. For tests of what a client makes of any bytes.
///
///     CRawPeer peer([](CRawLink& link) {
///         const CRawMessage request = link.Read();
///         link.Reply(request, Bytes::FromHex("07"));
///         link.WaitForEnd();
///     });
class CRawPeer
{
public:
    using Script = std::function<void(CRawLink&)>;

    /// Listens on one loopback address. Port 0 takes a free one (see Port()).
    explicit CRawPeer(Script script, std::uint16_t port = 5010,
                      ELoopback address = ELoopback::IPv4);
    /// Ends the connection, waits for the script to end, and stops listening.
    ~CRawPeer();
    CRawPeer(const CRawPeer&) = delete;
    CRawPeer& operator=(const CRawPeer&) = delete;

    std::uint16_t Port() const;
    /// How many connections have been accepted.
    int ConnectionCount() const { return m_connectionCount; }
    /// Waits until so many connections have been accepted, at most ten seconds.
    ///
    /// @return how many have been.
    int WaitForConnections(int count);

private:
    void Run();
    void Play(int descriptor);
    void SetConnection(int descriptor);

    Script m_script;
    int m_listener = -1;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_connection = -1; // behind the mutex
    std::atomic<int> m_connectionCount{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

#endif
