#ifndef KESTROVE_SIMULATOR_HTTP_UNREADBYTES_H
#define KESTROVE_SIMULATOR_HTTP_UNREADBYTES_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include <asio/ip/tcp.hpp>

#include "simulator/Descriptor.h"

/// Asks the system how much has come to the other end of a connection and has not been read there.
/// That end is on this machine, so that the system knows. An answer takes some microseconds and no
/// privilege.
///
/// Thread safety: none.
class CUnreadBytes
{
public:
    /// Opens what is asked; without it, nothing is answered.
    CUnreadBytes();

    /// @return how many bytes wait for the peer to read them; nothing where the system does not
    ///         answer.
    std::optional<std::size_t> Of(const asio::ip::tcp::socket& connection);

private:
    std::optional<std::size_t> Answer() const;

    CDescriptor m_socket;
    std::uint32_t m_asked = 0; ///< how many questions
};

#endif
