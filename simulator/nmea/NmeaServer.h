#ifndef KESTROVE_SIMULATOR_NMEA_NMEASERVER_H
#define KESTROVE_SIMULATOR_NMEA_NMEASERVER_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/address.hpp>

#include "runtime/ServerListener.h"

/// Sends all that it is given to every reader that has connected, on the loopback addresses alone.
/// What a reader sends is read and thrown away.
///
/// Nobody is waited for: what a reader does not take at once waits, up to kMostWaiting bytes, and
/// then the reader is dropped. Further readers than kMostReaders wait in the system's queue.
/// Thread safety: none; Listen() before the loop runs, the rest on the thread that runs it.
class CNmeaServer
{
public:
    static constexpr std::size_t kMostReaders = 8;
    static constexpr std::size_t kMostWaiting = 256 * 1024;

    /// @param loop must outlive this object.
    explicit CNmeaServer(asio::io_context& loop);
    ~CNmeaServer();
    CNmeaServer(const CNmeaServer&) = delete;
    CNmeaServer& operator=(const CNmeaServer&) = delete;

    /// Starts to listen on 127.0.0.1 and ::1; port 0 takes a free one. A machine that lacks one of
    /// the two addresses is served on the other.
    ///
    /// @return an empty text on success, otherwise the reason.
    std::string Listen(std::uint16_t port);
    /// The port that is listened on; 0 when none is.
    std::uint16_t Port() const;
    /// Sends a text to all readers, as far as they take it.
    void Send(const std::string& text);
    /// How many readers there are.
    std::size_t Readers() const { return m_readers.size(); }

private:
    class CReader;

    asio::error_code Open(const asio::ip::address& address, std::uint16_t port);
    void Take(asio::ip::tcp::socket socket);

    asio::io_context& m_loop;
    std::vector<std::shared_ptr<ServerListenerC>> m_listeners;
    std::list<std::shared_ptr<CReader>> m_readers;
};

#endif
