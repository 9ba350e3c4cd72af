#include "tests/support/SocketPair.h"

#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

CSocketPair::CSocketPair()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    ::listen(listener, 1);
    socklen_t length = sizeof(address);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    m_descriptors[0] = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::connect(m_descriptors[0], reinterpret_cast<sockaddr*>(&address), sizeof(address));
    m_descriptors[1] = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    ::close(listener);
}

CSocketPair::~CSocketPair()
{
    for (const int descriptor : m_descriptors) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

int CSocketPair::Release(int index)
{
    return std::exchange(m_descriptors[index], -1);
}
