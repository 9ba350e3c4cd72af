#ifndef KESTROVE_TESTS_SUPPORT_LOOPBACK_H
#define KESTROVE_TESTS_SUPPORT_LOOPBACK_H

#include <cstdint>

#include <netinet/in.h>
#include <sys/socket.h>

/// The loopback address of either kind.
enum class ELoopback
{
    IPv4, ///< 127.0.0.1
    IPv6, ///< ::1
};

/// A loopback address with a port, as the system's calls take it.
class CLoopbackAddress
{
public:
    CLoopbackAddress(ELoopback kind, std::uint16_t port);

    int Family() const { return m_isV6 ? AF_INET6 : AF_INET; }
    const sockaddr* Data() const;
    socklen_t Size() const { return m_isV6 ? sizeof(m_v6) : sizeof(m_v4); }

private:
    bool m_isV6;
    sockaddr_in m_v4 = {};
    sockaddr_in6 m_v6 = {};
};

#endif
