#ifndef KESTROVE_RUNTIME_PEERSOCKET_H
#define KESTROVE_RUNTIME_PEERSOCKET_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include <asio/ip/tcp.hpp>

/// Asks the system about the other end of a connection. That end is on this machine, so that the
/// system knows. An answer takes some microseconds and no privilege.
///
/// Thread safety: none.
class PeerSocketC
{
public:
    struct StateC
    {
        std::size_t unread; ///< how many bytes have come there and have not been read
        bool isOpen;        ///< whether a process still has it, even if that sends nothing more
    };

    /// Opens what is asked; without it, nothing is answered.
    PeerSocketC();
    ~PeerSocketC();
    PeerSocketC(const PeerSocketC&) = delete;
    PeerSocketC& operator=(const PeerSocketC&) = delete;

    /// Who has reset the connection, or is forgotten by the system, does not have it open.
    ///
    /// @return nothing where this end is closed, or the system does not answer.
    std::optional<StateC> Of(const asio::ip::tcp::socket& connection);

private:
    std::optional<StateC> Answer() const;

    const int m_socket;
    std::uint32_t m_asked = 0; // how many questions
};

#endif
