#include "tests/support/RawPeer.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <msgpack.hpp>

namespace {

[[noreturn]] void ThrowSystemError(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

int ListenOn(ELoopback address, std::uint16_t port)
{
    const CLoopbackAddress own(address, port);
    const int listener = ::socket(own.Family(), SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    if (::bind(listener, own.Data(), own.Size()) != 0 || ::listen(listener, 64) != 0) {
        ::close(listener);
        ThrowSystemError("listening");
    }
    return listener;
}

/// How many bytes the other end of a connection over IPv4 has received and not read yet.
std::size_t UnreadByPeer(int descriptor)
{
    sockaddr_in own = {};
    sockaddr_in peer = {};
    socklen_t ownLength = sizeof(own);
    socklen_t peerLength = sizeof(peer);
    ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &ownLength);
    ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &peerLength);
    std::ifstream table("/proc/self/net/tcp");
    std::string line;
    while (std::getline(table, line)) {
        unsigned int localPort = 0;
        unsigned int remotePort = 0;
        unsigned int unread = 0;
        const int count = std::sscanf(line.c_str(), "%*s %*x:%x %*x:%x %*x %*x:%x", &localPort,
                                      &remotePort, &unread);
        if (count == 3 && localPort == ntohs(peer.sin_port) && remotePort == ntohs(own.sin_port)) {
            return unread;
        }
    }
    throw std::runtime_error("the connection has ended");
}

CRawMessage Parse(const std::string& bytes, std::size_t size)
{
    const msgpack::object_handle handle = msgpack::unpack(bytes.data(), size);
    const msgpack::object& object = handle.get();
    CRawMessage message;
    std::ostringstream text;
    text << object;
    message.text = text.str();
    message.bytes = bytes.substr(0, size);
    const msgpack::object* const fields = object.via.array.ptr;
    message.kind = fields[0].as<int>();
    if (message.kind != 2) {
        message.number = fields[1].as<std::uint64_t>();
    }
    if (message.kind != 1) {
        message.name = fields[message.kind == 2 ? 1 : 2].as<std::string>();
    }
    return message;
}

} // namespace

CRawMessage CRawLink::Read()
{
    while (true) {
        std::size_t size = 0;
        try {
            msgpack::object_handle ignored;
            msgpack::unpack(ignored, m_unread.data(), m_unread.size(), size);
            CRawMessage message = Parse(m_unread, size);
            m_unread.erase(0, size);
            return message;
        } catch (const msgpack::insufficient_bytes&) {
        }
        char portion[65536];
        const ssize_t count = ::recv(m_descriptor, portion, sizeof(portion), 0);
        if (count <= 0) {
            throw std::runtime_error("the connection has ended");
        }
        m_unread.append(portion, static_cast<std::size_t>(count));
    }
}

void CRawLink::Send(const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(m_descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0) {
            throw std::runtime_error("the connection has ended");
        }
        sent += static_cast<std::size_t>(count);
    }
}

void CRawLink::Reply(const CRawMessage& request, const std::string& result)
{
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    packer.pack_array(4).pack(1).pack(request.number).pack_nil();
    Send(std::string(buffer.data(), buffer.size()) + result);
}

void CRawLink::Pause(int milliseconds)
{
    pollfd watched = {m_descriptor, POLLRDHUP, 0};
    if (::poll(&watched, 1, milliseconds) > 0) {
        throw std::runtime_error("the connection has ended");
    }
}

void CRawLink::WaitUntilTaken()
{
    int unacknowledged = 1;
    while (::ioctl(m_descriptor, SIOCOUTQ, &unacknowledged) == 0 &&
           (unacknowledged > 0 || UnreadByPeer(m_descriptor) > 0)) {
        Pause(1);
    }
}

void CRawLink::EndSending()
{
    ::shutdown(m_descriptor, SHUT_WR);
}

void CRawLink::WaitForEnd()
{
    char dropped[65536];
    while (::recv(m_descriptor, dropped, sizeof(dropped), 0) > 0) {
    }
}

void CRawLink::Reset()
{
    const linger atOnce = {1, 0};
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

CRawPeer::CRawPeer(Script script, std::uint16_t port, ELoopback address)
    : m_script(std::move(script)), m_listener(ListenOn(address, port)), m_thread([this] { Run(); })
{
}

CRawPeer::~CRawPeer()
{
    m_isEnding = true;
    ::shutdown(m_listener, SHUT_RDWR);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_connection >= 0) {
            ::shutdown(m_connection, SHUT_RDWR);
        }
    }
    m_thread.join();
    ::close(m_listener);
}

std::uint16_t CRawPeer::Port() const
{
    // The port stands at the same place in an address of either kind.
    sockaddr_in6 address = {};
    socklen_t length = sizeof(address);
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin6_port);
}

void CRawPeer::Run()
{
    while (!m_isEnding) {
        const int descriptor = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            return;
        }
        const int yes = 1;
        ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
        SetConnection(descriptor);
        if (!m_isEnding) {
            Play(descriptor);
        }
        SetConnection(-1);
        ::close(descriptor);
    }
}

void CRawPeer::SetConnection(int descriptor)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connection = descriptor;
    m_connectionCount += descriptor >= 0 ? 1 : 0;
    m_changed.notify_all();
}

int CRawPeer::WaitForConnections(int count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::seconds(60), [&] { return m_connectionCount >= count; });
    return m_connectionCount;
}

void CRawPeer::Play(int descriptor)
{
    CRawLink link(descriptor, m_connectionCount);
    try {
        m_script(link);
    } catch (const std::runtime_error&) {
        // The other side has gone, or the test is over.
    }
}
