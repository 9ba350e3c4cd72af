#include "simulator/http/HttpStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr std::chrono::milliseconds kDraining(500);
constexpr std::size_t kMostDrained = 8 * 1024 * 1024;

} // namespace

HttpStreamC::HttpStreamC(socket_t socket, const HttpPatience& patience, std::size_t mostBytes)
    : m_socket(socket), m_patience(patience), m_bytesLeft(mostBytes),
      m_readUntil(Clock::now() + patience.request)
{
}

bool HttpStreamC::WaitForRequest()
{
    if (!Fill(Clock::now() + m_patience.firstByte))
        return false;
    m_readUntil = Clock::now() + m_patience.request;
    return true;
}

void HttpStreamC::Drain()
{
    ::shutdown(m_socket, SHUT_WR);
    m_bytesLeft = kMostDrained;
    const Clock::time_point until = Clock::now() + kDraining;
    do {
        m_taken = m_filled;
    } while (Fill(until));
}

bool HttpStreamC::Wait(short events, Clock::time_point until) const
{
    pollfd polled{m_socket, events, 0};
    int ready = 0;
    do {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        ready = ::poll(&polled, 1, static_cast<int>(std::max<long>(0, left)));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool HttpStreamC::Fill(Clock::time_point until)
{
    const std::size_t wanted = std::min(m_buffer.size(), m_bytesLeft);
    if (wanted == 0 || !Wait(POLLIN, until))
        return false;
    const ssize_t count = ::recv(m_socket, m_buffer.data(), wanted, MSG_DONTWAIT);
    if (count <= 0)
        return false;
    m_taken = 0;
    m_filled = static_cast<std::size_t>(count);
    m_bytesLeft -= m_filled;
    return true;
}

bool HttpStreamC::PeerHasClosed() const
{
    pollfd polled{m_socket, POLLRDHUP, 0};
    return ::poll(&polled, 1, 0) > 0;
}

bool HttpStreamC::is_readable() const
{
    return m_taken < m_filled || Wait(POLLIN, m_readUntil);
}

bool HttpStreamC::is_writable() const
{
    if (m_expectOpenPeer && PeerHasClosed())
        return false;
    return Wait(POLLOUT, WriteUntil());
}

HttpStreamC::Clock::time_point HttpStreamC::WriteUntil() const
{
    const Clock::time_point until = Clock::now() + m_patience.write;
    return m_answerUntil ? std::min(until, *m_answerUntil) : until;
}

ssize_t HttpStreamC::read(char* bytes, size_t size)
{
    if (m_taken == m_filled && !Fill(m_readUntil))
        return -1;
    const std::size_t count = std::min(size, m_filled - m_taken);
    std::memcpy(bytes, m_buffer.data() + m_taken, count);
    m_taken += count;
    return static_cast<ssize_t>(count);
}

ssize_t HttpStreamC::write(const char* bytes, size_t size)
{
    if (!m_expectOpenPeer && !m_answerUntil)
        m_answerUntil = Clock::now() + m_patience.answer;
    if ((m_answerUntil && Clock::now() > *m_answerUntil) || !is_writable())
        return -1;
    return ::send(m_socket, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
}

void HttpStreamC::get_remote_ip_and_port(std::string& ip, int& port) const
{
    // Both ends are this machine.
    ip.clear();
    port = 0;
}

void HttpStreamC::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}
