#ifndef KESTROVE_TESTS_SUPPORT_RAWCLIENT_H
#define KESTROVE_TESTS_SUPPORT_RAWCLIENT_H

#include <cstdint>
#include <string>

#include "tests/support/RawPeer.h"

/// A client that sends and receives bytes as a test writes them, over a plain blocking socket.
class CRawClient
{
public:
    /// Connects.
    ///
    /// @throw std::system_error when that fails.
    explicit CRawClient(std::uint16_t port, const std::string& address = "127.0.0.1");
    /// Takes a socket that is connected, and owns it.
    explicit CRawClient(int descriptor);
    ~CRawClient();
    CRawClient(const CRawClient&) = delete;
    CRawClient& operator=(const CRawClient&) = delete;

    void Send(const std::string& bytes) { m_link.Send(bytes); }
    /// Waits for the next whole message; throws when the service closes first.
    CRawMessage Read() { return m_link.Read(); }
    /// Ends the sending half of the connection alone.
    void EndSending() { m_link.EndSending(); }
    /// Whether anything can be read, or the connection has ended, within the time.
    bool HasInput(int timeoutMilliseconds) const;
    /// Waits for the connection to end; what is sent meanwhile is dropped.
    ///
    /// @return 0 for an end in order, otherwise the system's error, such as ECONNRESET.
    int WaitForEnd();
    int Descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
    CRawLink m_link;
};

/// Waits for the answer to a request "settle" that comes last, so that all before it has been
/// served.
void Settle(CRawClient& client);

#endif
