#ifndef KESTROVE_TESTS_SUPPORT_SWALLOWINGPORT_H
#define KESTROVE_TESTS_SUPPORT_SWALLOWINGPORT_H

#include <cstdint>

#include "tests/support/Loopback.h"

/// A listener whose queue is full, so that a further connection gets no answer at all.
class CSwallowingPort
{
public:
    /// Port 0 takes a free one (see Port()).
    explicit CSwallowingPort(std::uint16_t port = 0, ELoopback address = ELoopback::IPv4);
    ~CSwallowingPort();
    CSwallowingPort(const CSwallowingPort&) = delete;
    CSwallowingPort& operator=(const CSwallowingPort&) = delete;

    std::uint16_t Port() const { return m_port; }

private:
    int m_listener;
    std::uint16_t m_port;
    int m_fillers[4] = {};
};

#endif
