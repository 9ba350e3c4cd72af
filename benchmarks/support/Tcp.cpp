#include "benchmarks/support/Tcp.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Benchmarks {

namespace {

constexpr int kBacklog = 8;

[[noreturn]] void Fail(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

sockaddr_in AddressOf(unsigned short port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

CTcp::CTcp(int descriptor) : m_descriptor(descriptor)
{
    if (descriptor < 0) {
        Fail("no socket");
    }
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

CTcp::CTcp(CTcp&& other) noexcept : m_descriptor(other.m_descriptor)
{
    other.m_descriptor = -1;
}

CTcp::~CTcp()
{
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

CTcp CTcp::Listen(unsigned short port)
{
    CTcp listener(socket(AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    setsockopt(listener.m_descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const sockaddr_in address = AddressOf(port);
    if (bind(listener.m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
            0 ||
        listen(listener.m_descriptor, kBacklog) != 0) {
        Fail("cannot listen");
    }
    return listener;
}

CTcp CTcp::Connect(unsigned short port)
{
    CTcp connection(socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in address = AddressOf(port);
    if (connect(connection.m_descriptor, reinterpret_cast<const sockaddr*>(&address),
                sizeof(address)) != 0) {
        Fail("cannot connect");
    }
    return connection;
}

CTcp CTcp::Accept() const
{
    return CTcp(accept(m_descriptor, nullptr, nullptr));
}

void CTcp::Write(const std::string& bytes) const
{
    std::size_t gone = 0;
    while (gone < bytes.size()) {
        const ssize_t count =
            send(m_descriptor, bytes.data() + gone, bytes.size() - gone, MSG_NOSIGNAL);
        if (count < 0) {
            Fail("cannot send");
        }
        gone += static_cast<std::size_t>(count);
    }
}

std::size_t CTcp::Read(char* space, std::size_t room) const
{
    const ssize_t count = recv(m_descriptor, space, room, 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void CTcp::Look() const
{
    char space[256];
    recv(m_descriptor, space, sizeof(space), MSG_DONTWAIT);
}

bool CTcp::ReadWhole(char* space, std::size_t size) const
{
    std::size_t gone = 0;
    while (gone < size) {
        const std::size_t count = Read(space + gone, size - gone);
        if (count == 0) {
            return false;
        }
        gone += count;
    }
    return true;
}

} // namespace Benchmarks
