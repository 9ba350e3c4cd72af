#include "tests/support/RawClient.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/Bytes.h"

namespace {

int ConnectTo(std::uint16_t port, const std::string& address)
{
    sockaddr_in v4 = {};
    sockaddr_in6 v6 = {};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    const bool isV6 = ::inet_pton(AF_INET6, address.c_str(), &v6.sin6_addr) == 1;
    ::inet_pton(AF_INET, address.c_str(), &v4.sin_addr);
    const int descriptor = ::socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int result = isV6 ? ::connect(descriptor, reinterpret_cast<sockaddr*>(&v6), sizeof(v6))
                            : ::connect(descriptor, reinterpret_cast<sockaddr*>(&v4), sizeof(v4));
    if (result != 0) {
        const int error = errno;
        ::close(descriptor);
        throw std::system_error(error, std::generic_category(), "connecting to " + address);
    }
    // What is sent goes at once, however many small pieces it is.
    const int isOn = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof isOn);
    return descriptor;
}

} // namespace

CRawClient::CRawClient(std::uint16_t port, const std::string& address)
    : CRawClient(ConnectTo(port, address))
{
}

CRawClient::CRawClient(int descriptor) : m_descriptor(descriptor), m_link(descriptor, 1) {}

CRawClient::~CRawClient()
{
    ::close(m_descriptor);
}

bool CRawClient::HasInput(int timeoutMilliseconds) const
{
    pollfd watched = {m_descriptor, POLLIN, 0};
    return ::poll(&watched, 1, timeoutMilliseconds) > 0;
}

int CRawClient::WaitForEnd()
{
    char dropped[65536];
    ssize_t count = 1;
    while (count > 0) {
        count = ::recv(m_descriptor, dropped, sizeof(dropped), 0);
    }
    return count == 0 ? 0 : errno;
}

void Settle(CRawClient& client)
{
    constexpr std::uint64_t kNumber = 99;
    client.Send(Bytes::Request(kNumber, "settle", "\x90"));
    while (client.Read().number != kNumber) {
    }
}
