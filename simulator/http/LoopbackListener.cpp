#include "simulator/http/LoopbackListener.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kBacklog = 64;
// A port that is free on the one address need not be so on the other.
constexpr int kAttemptsAtAFreePort = 20;
// How long to leave connections waiting when there is no descriptor for them.
constexpr int kPauseMilliseconds = 100;

union Address {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

socklen_t LengthOf(int family)
{
    return family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
}

Address Loopback(int family, std::uint16_t port)
{
    Address address;
    std::memset(&address, 0, sizeof address);
    if (family == AF_INET) {
        address.v4.sin_family = AF_INET;
        address.v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.v4.sin_port = htons(port);
    } else {
        address.v6.sin6_family = AF_INET6;
        address.v6.sin6_addr = in6addr_loopback;
        address.v6.sin6_port = htons(port);
    }
    return address;
}

std::uint16_t PortOf(int socket)
{
    Address address;
    socklen_t length = sizeof address;
    if (::getsockname(socket, &address.any, &length) != 0)
        return 0;
    return ntohs(address.any.sa_family == AF_INET ? address.v4.sin_port : address.v6.sin6_port);
}

bool IsLacking(int error)
{
    return error == EAFNOSUPPORT || error == EADDRNOTAVAIL;
}

std::string ReasonOf(int error, std::uint16_t port)
{
    const std::string name = "port " + std::to_string(port);
    if (error == EADDRINUSE)
        return name + " is already in use";
    return "cannot listen on " + name + ": " + std::strerror(error);
}

} // namespace

LoopbackListenerC::LoopbackListenerC() : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

LoopbackListenerC::~LoopbackListenerC()
{
    Close();
    ::close(m_wake);
}

std::string LoopbackListenerC::Listen(std::uint16_t port)
{
    int error = 0;
    for (int attempt = 0; attempt < (port == 0 ? kAttemptsAtAFreePort : 1); ++attempt) {
        Close();
        const int errorOfV4 = Open(AF_INET, port);
        m_port = m_sockets.empty() ? port : PortOf(m_sockets.front());
        const int errorOfV6 = errorOfV4 == 0 || IsLacking(errorOfV4) ? Open(AF_INET6, m_port) : 0;
        if (m_port == 0 && !m_sockets.empty())
            m_port = PortOf(m_sockets.front());
        error = errorOfV4 != 0 && !IsLacking(errorOfV4) ? errorOfV4 : errorOfV6;
        if (IsLacking(error) && !m_sockets.empty())
            error = 0;
        if (error == 0)
            return {};
    }
    Close();
    return ReasonOf(error, port);
}

int LoopbackListenerC::Open(int family, std::uint16_t port)
{
    const int socket = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return errno;
    // A restarted program must not wait for the connections of its predecessor to fade out. The
    // HTTP library would share the port with others too, which then would take each other's.
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const Address address = Loopback(family, port);
    if (::bind(socket, &address.any, LengthOf(family)) != 0 || ::listen(socket, kBacklog) != 0) {
        const int error = errno;
        ::close(socket);
        return error;
    }
    m_sockets.push_back(socket);
    return 0;
}

void LoopbackListenerC::Close()
{
    for (const int socket : m_sockets)
        ::close(socket);
    m_sockets.clear();
    m_port = 0;
}

int LoopbackListenerC::AcceptFrom(int socket)
{
    const int connection = ::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    const bool noneThere = errno == EAGAIN || errno == EWOULDBLOCK;
    if (connection < 0 && !noneThere && errno != ECONNABORTED && errno != EINTR) {
        pollfd wake{m_wake, POLLIN, 0};
        ::poll(&wake, 1, kPauseMilliseconds);
    }
    return connection;
}

int LoopbackListenerC::Accept()
{
    std::array<pollfd, 3> polled{};
    polled[0] = {m_wake, POLLIN, 0};
    nfds_t count = 1;
    for (const int socket : m_sockets)
        polled[count++] = {socket, POLLIN, 0};
    while (!m_stopped) {
        if (::poll(polled.data(), count, -1) < 0 && errno != EINTR)
            return -1;
        for (nfds_t index = 1; index < count && !m_stopped; ++index) {
            if (polled[index].revents == 0)
                continue;
            const int connection = AcceptFrom(polled[index].fd);
            if (connection >= 0)
                return connection;
        }
    }
    return -1;
}

void LoopbackListenerC::Stop()
{
    m_stopped = true;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one);
}
