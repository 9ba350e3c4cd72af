#include "tools/navctl/recording/ReplayLink.h"

#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostUnsent = std::size_t{64} * 1024 * 1024;
constexpr int kBacklog = 16;

struct Address
{
    sockaddr_storage storage{};
    socklen_t length = 0;
};

Address LoopbackAddress(bool overIPv6)
{
    Address address;
    if (overIPv6) {
        auto* const place = reinterpret_cast<sockaddr_in6*>(&address.storage);
        place->sin6_family = AF_INET6;
        place->sin6_port = htons(kServicePort);
        place->sin6_addr = in6addr_loopback;
        address.length = sizeof *place;
    } else {
        auto* const place = reinterpret_cast<sockaddr_in*>(&address.storage);
        place->sin_family = AF_INET;
        place->sin_port = htons(kServicePort);
        place->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.length = sizeof *place;
    }
    return address;
}

int CloseWith(int descriptor, int error)
{
    ::close(descriptor);
    errno = error;
    return -1;
}

} // namespace

CReplayLink::CReplayLink(int descriptor) : m_descriptor(descriptor)
{
    const int on = 1;
    ::setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::fcntl(m_descriptor, F_SETFL, ::fcntl(m_descriptor, F_GETFL) | O_NONBLOCK);
}

CReplayLink::~CReplayLink()
{
    ::close(m_descriptor);
}

bool CReplayLink::Receive()
{
    std::array<char, 65536> bytes;
    const ssize_t count = ::recv(m_descriptor, bytes.data(), bytes.size(), 0);
    if (count > 0) {
        m_cutter.Add({bytes.data(), static_cast<std::size_t>(count)});
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

bool CReplayLink::Send(std::string_view bytes)
{
    if (m_unsent.size() > kMostUnsent) {
        return false;
    }
    m_unsent.append(bytes);
    return Flush();
}

bool CReplayLink::Flush()
{
    while (!m_unsent.empty()) {
        const ssize_t gone =
            ::send(m_descriptor, m_unsent.data(), m_unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (gone < 0 && errno != EINTR) {
            return errno == EAGAIN;
        }
        m_unsent.erase(0, gone > 0 ? static_cast<std::size_t>(gone) : 0);
    }
    return true;
}

int ListenOnLoopback(bool overIPv6)
{
    const Address address = LoopbackAddress(overIPv6);
    const int descriptor =
        ::socket(overIPv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return -1;
    }
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (overIPv6) {
        ::setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    }
    const auto* const place = reinterpret_cast<const sockaddr*>(&address.storage);
    if (::bind(descriptor, place, address.length) != 0 || ::listen(descriptor, kBacklog) != 0) {
        return CloseWith(descriptor, errno);
    }
    return descriptor;
}

int ConnectToService()
{
    int error = 0;
    for (const bool overIPv6 : {true, false}) {
        const Address address = LoopbackAddress(overIPv6);
        const int descriptor =
            ::socket(overIPv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (descriptor < 0) {
            error = errno;
            continue;
        }
        const auto* const place = reinterpret_cast<const sockaddr*>(&address.storage);
        if (::connect(descriptor, place, address.length) == 0) {
            return descriptor;
        }
        error = errno;
        CloseWith(descriptor, error);
    }
    errno = error;
    return -1;
}
