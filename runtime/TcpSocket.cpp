#include "runtime/TcpSocket.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

namespace {

using Endpoint = asio::ip::tcp::endpoint;

/// The addresses of a host, in the order in which they are tried; empty when it has none.
std::vector<Endpoint> AddressesOf(const std::string& host, unsigned short port)
{
    if (host == "localhost") {
        // Never looked up: the link must not depend on a name service.
        return {Endpoint(asio::ip::address_v6::loopback(), port),
                Endpoint(asio::ip::address_v4::loopback(), port)};
    }
    asio::error_code error;
    const auto address = asio::ip::make_address(host, error);
    if (!error) {
        return {Endpoint(address, port)};
    }
    asio::io_context context;
    std::vector<Endpoint> endpoints;
    for (const auto& entry : asio::ip::tcp::resolver(context).resolve(host, "", error)) {
        endpoints.emplace_back(entry.endpoint().address(), port);
    }
    return endpoints;
}

ELinkError CodeOf(int error)
{
    switch (error) {
    case ETIMEDOUT:
        return ELinkError::TimedOut;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
    case EACCES:
    case EPERM:
        return ELinkError::System;
    default:
        return ELinkError::Refused;
    }
}

/// Waits for events on a descriptor; an interrupted wait is taken up again.
///
/// @return false when the deadline has passed, with errno ETIMEDOUT, or when the system refuses to
///         wait, with its error.
bool WaitFor(int descriptor, short events, const DeadlineC& deadline)
{
    pollfd entry{descriptor, events, 0};
    while (true) {
        const int ready = ::poll(&entry, 1, deadline.Remaining());
        if (ready > 0) {
            return true;
        }
        if (ready == 0 && deadline.Passed()) {
            errno = ETIMEDOUT;
            return false;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

/// 0 when the descriptor has been connected in time, otherwise the system's error number.
int ConnectWithin(int descriptor, const Endpoint& endpoint, const DeadlineC& deadline)
{
    if (::connect(descriptor, endpoint.data(), static_cast<socklen_t>(endpoint.size())) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS && errno != EINTR) {
        return errno;
    }
    if (!WaitFor(descriptor, POLLOUT, deadline)) {
        return errno;
    }
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

/// A client whose own port the system picks may, while nobody listens, be connected to itself.
bool IsConnectedToItself(int descriptor)
{
    sockaddr_storage own{};
    sockaddr_storage peer{};
    socklen_t ownLength = sizeof own;
    socklen_t peerLength = sizeof peer;
    return ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &ownLength) == 0 &&
           ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0 &&
           ownLength == peerLength && std::memcmp(&own, &peer, ownLength) == 0;
}

/// The descriptor of a connection to one address, or -1 and the system's error number.
int OpenOne(const Endpoint& endpoint, const DeadlineC& deadline, int& error)
{
    const int descriptor = ::socket(endpoint.protocol().family(),
                                    SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP);
    if (descriptor < 0) {
        error = errno;
        return -1;
    }
    error = ConnectWithin(descriptor, endpoint, deadline);
    if (error == 0 && IsConnectedToItself(descriptor)) {
        error = ECONNREFUSED;
    }
    if (error != 0) {
        ::close(descriptor);
        return -1;
    }
    // From here on receiving may wait; sending never does (see Send).
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return descriptor;
}

ETransfer Outcome(ssize_t result, std::size_t& count)
{
    count = result > 0 ? static_cast<std::size_t>(result) : 0;
    if (result > 0) {
        return ETransfer::Done;
    }
    const bool notNow = result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    return notNow ? ETransfer::NotNow : ETransfer::Closed;
}

} // namespace

LinkErrorC TcpSocketC::Open(const std::string& host, unsigned short port, const DeadlineC& deadline)
{
    Close();
    const std::string name = host + " port " + std::to_string(port) + ": ";
    const std::vector<Endpoint> endpoints = AddressesOf(host, port);
    LinkErrorC failure{ELinkError::Refused, name + "no such host"};
    for (std::size_t index = 0; index < endpoints.size(); ++index) {
        // The time left is shared, so that an address that swallows connections leaves some of it
        // to the next.
        const int left = deadline.Remaining();
        const int share = left < 0 ? -1 : left / static_cast<int>(endpoints.size() - index);
        int error = 0;
        const int descriptor = OpenOne(endpoints[index], DeadlineC::After(share), error);
        if (descriptor >= 0) {
            Adopt(descriptor);
            return {};
        }
        if (index == 0 || CodeOf(error) != ELinkError::Refused) {
            failure = {CodeOf(error), name + std::strerror(error)};
        }
    }
    return failure;
}

bool TcpSocketC::TakeOver(int descriptor)
{
    Close();
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    int type = 0;
    socklen_t typeLength = sizeof type;
    const bool isConnected =
        ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
        ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &typeLength) == 0 &&
        type == SOCK_STREAM;
    if (!isConnected) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
        return false;
    }
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    Adopt(descriptor);
    return true;
}

void TcpSocketC::Adopt(int descriptor)
{
    m_descriptor = descriptor;
    m_process = ProcessMark();
    m_receiveTimeout = -1;
    // A request is one small message that must leave at once. Fails harmlessly on other streams.
    const int on = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval none{};
    ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);

    Endpoint peer;
    socklen_t length = static_cast<socklen_t>(peer.capacity());
    ::getpeername(descriptor, peer.data(), &length);
    const bool isInternet = peer.data()->sa_family == AF_INET || peer.data()->sa_family == AF_INET6;
    m_peerHost = isInternet ? peer.address().to_string() : std::string();
    m_peerPort = isInternet ? peer.port() : static_cast<unsigned short>(0);
}

void TcpSocketC::Close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

ETransfer TcpSocketC::Send(const char* data, std::size_t size, std::size_t& sent)
{
    return Outcome(::send(m_descriptor, data, size, MSG_NOSIGNAL | MSG_DONTWAIT), sent);
}

ETransfer TcpSocketC::ReceiveNow(char* data, std::size_t size, std::size_t& received)
{
    return Outcome(::recv(m_descriptor, data, size, MSG_DONTWAIT), received);
}

ETransfer TcpSocketC::ReceiveWaiting(char* data, std::size_t size, std::size_t& received)
{
    return Outcome(::recv(m_descriptor, data, size, 0), received);
}

void TcpSocketC::SetReceiveTimeout(int milliseconds)
{
    if (milliseconds == m_receiveTimeout) {
        return;
    }
    timeval limit{};
    if (milliseconds > 0) {
        limit.tv_sec = milliseconds / 1000;
        limit.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    }
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    m_receiveTimeout = milliseconds;
}

bool TcpSocketC::Wait(bool alsoForRoom, const DeadlineC& deadline) const
{
    const short events = alsoForRoom ? POLLIN | POLLOUT : POLLIN;
    return WaitFor(m_descriptor, events, deadline);
}
