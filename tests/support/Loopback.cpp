#include "tests/support/Loopback.h"

CLoopbackAddress::CLoopbackAddress(ELoopback kind, std::uint16_t port)
    : m_isV6(kind == ELoopback::IPv6)
{
    m_v4.sin_family = AF_INET;
    m_v4.sin_port = htons(port);
    m_v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_v6.sin6_family = AF_INET6;
    m_v6.sin6_port = htons(port);
    m_v6.sin6_addr = in6addr_loopback;
}

const sockaddr* CLoopbackAddress::Data() const
{
    return m_isV6 ? reinterpret_cast<const sockaddr*>(&m_v6)
                  : reinterpret_cast<const sockaddr*>(&m_v4);
}
