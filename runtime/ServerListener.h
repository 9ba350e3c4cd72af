#ifndef KESTROVE_RUNTIME_SERVERLISTENER_H
#define KESTROVE_RUNTIME_SERVERLISTENER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include <asio/io_context.hpp>
#include <asio/ip/address.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

/// Listens on one address and hands over every connection that comes in.
///
/// Sockets are close-on-exec from their first moment. When the system has no descriptor left its
/// owner may make room for one; without success it pauses and tries again, instead of spinning on a
/// connection that it cannot take.
///
/// Thread safety: none; lives on the thread that runs the loop. Lifetime: shared by its owner and
/// by the operations under way.
class ServerListenerC : public std::enable_shared_from_this<ServerListenerC>
{
public:
    using Taker = std::function<void(asio::ip::tcp::socket)>;
    using Complaint = std::function<void(const asio::error_code&)>;
    /// Whether there is room for the next connection.
    enum class ERoom
    {
        Free,
        Scarce, ///< the next are taken one at a time, with a pause between
        None,   ///< none is taken for now
    };
    using Room = std::function<ERoom()>;

    /// @param taker is called with each connection, until Close().
    /// @param complaint is called each time that a connection cannot be taken, for example for want
    ///        of descriptors. It may close another: the next attempt follows at once.
    /// @param room is asked before each connection; without it there is always some.
    ServerListenerC(asio::io_context& loop, Taker taker, Complaint complaint, Room room = {});

    /// Begins to listen. Port 0 takes a free one.
    ///
    /// @return the error of the operating system; none on success.
    asio::error_code Open(const asio::ip::address& address, std::uint16_t port);
    /// The port that is listened on.
    std::uint16_t Port() const;
    /// Whether a connection waits to be taken.
    bool IsOneWaiting();
    void Close();

private:
    void Wait();
    void Accept();
    bool HasRoom(bool hasTaken) const;
    void Take(int descriptor, bool isV6);
    void Pause(std::chrono::milliseconds time);

    asio::io_context& m_loop;
    asio::ip::tcp::acceptor m_acceptor;
    asio::steady_timer m_pause;
    Taker m_taker;
    Complaint m_complaint;
    Room m_room;
};

#endif
