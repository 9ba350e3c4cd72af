#ifndef KESTROVE_TESTS_RUNTIME_CONNECTIONCALLS_H
#define KESTROVE_TESTS_RUNTIME_CONNECTIONCALLS_H

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/MPISocketConnection.h"
#include "tests/support/RawPeer.h"

using Clock = std::chrono::steady_clock;

inline const char* const kHost = "127.0.0.1";

/// Answers every request with 7 until the other side leaves.
inline void AnswerSeven(CRawLink& link)
{
    while (true) {
        const CRawMessage message = link.Read();
        if (message.kind == 0) {
            link.Reply(message, "\x07");
        }
    }
}

/// The integer reply to a call without arguments; -1 when there is none.
inline int Call(MPISocketConnectionC& connection, const std::string& name)
{
    const std::unique_ptr<BElementC> reply(connection.CallMethod(name, nullptr));
    const auto* const atom = dynamic_cast<const BAtomC*>(reply.get());
    return atom == nullptr ? -1 : atom->IntValue();
}

inline int MillisecondsSince(Clock::time_point start)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

/// A listener whose queue is full, so that a further connection gets no answer at all.
class CSwallowingPort
{
public:
    CSwallowingPort() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        ::listen(m_listener, 0);
        socklen_t length = sizeof(address);
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
        for (int& filler : m_fillers) {
            filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            ::connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof(address));
        }
    }
    ~CSwallowingPort()
    {
        ::close(m_listener);
        std::for_each(std::begin(m_fillers), std::end(m_fillers), ::close);
    }
    CSwallowingPort(const CSwallowingPort&) = delete;
    CSwallowingPort& operator=(const CSwallowingPort&) = delete;
    std::uint16_t Port() const { return m_port; }

private:
    int m_listener;
    std::uint16_t m_port = 0;
    int m_fillers[4] = {};
};

#endif
