#include "tests/simulator/http/HttpPeer.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/Loopback.h"

HttpPeer::HttpPeer(std::uint16_t port, int receiveBuffer, bool overV6)
{
    const CLoopbackAddress address(overV6 ? ELoopback::IPv6 : ELoopback::IPv4, port);
    m_socket = ::socket(address.Family(), SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0) {
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    if (::connect(m_socket, address.Data(), address.Size()) != 0) {
        ::close(m_socket);
        throw std::runtime_error("cannot connect");
    }
}

HttpPeer::~HttpPeer()
{
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

void HttpPeer::Send(const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        // The other end may answer and close before it has read all.
        if (count <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(count);
    }
}

void HttpPeer::EndSending()
{
    ::shutdown(m_socket, SHUT_WR);
}

void HttpPeer::Reset()
{
    const linger atOnce{1, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    ::close(std::exchange(m_socket, -1));
}

bool HttpPeer::ReadSome(std::chrono::steady_clock::time_point until)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        until - std::chrono::steady_clock::now());
    pollfd polled{m_socket, POLLIN, 0};
    if (left.count() <= 0 || ::poll(&polled, 1, static_cast<int>(left.count())) <= 0) {
        return false;
    }
    char bytes[65536];
    const ssize_t count = ::recv(m_socket, bytes, sizeof bytes, 0);
    m_closed = count <= 0;
    if (!m_closed) {
        m_read.append(bytes, static_cast<std::size_t>(count));
    }
    return !m_closed;
}

bool HttpPeer::ReadUntil(const std::string& text)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (m_read.find(text) == std::string::npos) {
        if (!ReadSome(until)) {
            return false;
        }
    }
    return true;
}

bool HttpPeer::ReadToEnd(std::chrono::milliseconds atMost)
{
    const auto until = std::chrono::steady_clock::now() + atMost;
    while (ReadSome(until)) {
    }
    return m_closed;
}

std::string BytesOf(const HttpRequest& request, std::uint16_t port)
{
    const std::string host =
        request.host.empty() ? "localhost:" + std::to_string(port) : request.host;
    std::string bytes = request.method + " " + request.path + " HTTP/1.1\r\nHost: " + host + "\r\n";
    for (const std::string& header : request.headers) {
        bytes += header + "\r\n";
    }
    if (!request.body.empty()) {
        bytes += "Content-Length: " + std::to_string(request.body.size()) + "\r\n";
    }
    return bytes + "\r\n" + request.body;
}

HttpAnswer Ask(std::uint16_t port, const HttpRequest& request)
{
    HttpPeer peer(port);
    peer.Send(BytesOf(request, port));
    peer.ReadToEnd();
    const std::string& read = peer.Read();
    const std::size_t end = read.find("\r\n\r\n");
    if (end == std::string::npos) {
        return {};
    }
    return {std::atoi(read.substr(read.find(' ') + 1, 3).c_str()), read.substr(0, end + 2),
            read.substr(end + 4)};
}

HttpAnswer Post(std::uint16_t port, const std::string& path, const std::string& type,
                const std::string& body)
{
    return Ask(port, {"POST", path, "", {"Content-Type: " + type}, body});
}

HttpAnswer PostWayline(std::uint16_t port, const std::string& text)
{
    return Post(port, "/wayline", "application/json", nlohmann::json({{"text", text}}).dump());
}

std::string Command(std::uint16_t port, const std::string& command)
{
    return Post(port, "/command", "application/json", command).body;
}

EventStream::EventStream(std::uint16_t port, int receiveBuffer) : m_peer(port, receiveBuffer)
{
    m_peer.Send(BytesOf({"GET", "/events", "", {"Accept: text/event-stream"}, ""}, port));
}

std::string EventStream::Next(const std::string& event)
{
    return NextWith(event, "");
}

std::string EventStream::NextWith(const std::string& event, const std::string& text)
{
    const std::string start = "event: " + event + "\ndata: ";
    for (;;) {
        if (!m_peer.ReadUntil(start)) {
            return {};
        }
        const std::size_t begin = m_peer.Read().find(start) + start.size();
        std::string rest = m_peer.Read().substr(begin);
        m_peer.Forget();
        // What is left of the data, and all after it.
        while (rest.find("\n\n") == std::string::npos) {
            if (!m_peer.ReadUntil("\n")) {
                return {};
            }
            rest += m_peer.Read();
            m_peer.Forget();
        }
        const std::size_t end = rest.find("\n\n");
        m_peer.PutBack(rest.substr(end + 2));
        rest.resize(end);
        if (rest.find(text) != std::string::npos) {
            return rest;
        }
    }
}
