#include "tests/support/SwallowingPort.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

#include <unistd.h>

CSwallowingPort::CSwallowingPort(std::uint16_t port, ELoopback address)
{
    const CLoopbackAddress wanted(address, port);
    m_listener = ::socket(wanted.Family(), SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    if (::bind(m_listener, wanted.Data(), wanted.Size()) != 0 || ::listen(m_listener, 0) != 0) {
        throw std::system_error(errno, std::generic_category(), "listening");
    }
    sockaddr_in6 own = {}; // the port stands at the same place in an address of either kind
    socklen_t length = sizeof(own);
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&own), &length);
    m_port = ntohs(own.sin6_port);
    const CLoopbackAddress target(address, m_port);
    for (int& filler : m_fillers) {
        filler = ::socket(target.Family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        ::connect(filler, target.Data(), target.Size());
    }
}

CSwallowingPort::~CSwallowingPort()
{
    ::close(m_listener);
    std::for_each(std::begin(m_fillers), std::end(m_fillers), ::close);
}
