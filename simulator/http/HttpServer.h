#ifndef KESTROVE_SIMULATOR_HTTP_HTTPSERVER_H
#define KESTROVE_SIMULATOR_HTTP_HTTPSERVER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "runtime/ServerListener.h"
#include "simulator/http/HttpConnection.h"
#include "simulator/http/HttpLimits.h"

/// Serves HTTP on the loopback addresses, by events, on whatever thread runs the loop.
///
/// Connections and what is held for them are bounded, and who comes is served all the same. When
/// the connections run out, or the descriptors of the process, the oldest goes of those that have
/// had their answer, or else of those whose request has not been completed within kYoung, or else
/// of those that have taken nothing of their answer for as long, or else of those whose request is
/// coming, while they are more than half of all, or else of those that are being answered, or else
/// of those that wait for what they GET. Whose POST is complete stays, and so do a stream and what
/// is kept: while nothing else is there, who comes waits in the system's queue, which is in order.
/// When the memory runs out, the one that holds the most goes, but for a stream and a request that
/// is kept (CHttpConnection::Keep()).
///
/// Long bodies, and what comes behind a request, are read in turns: one portion of one connection
/// between two looks at all that has come. So a short request waits for none of them.
///
/// Thread safety: none; Listen() before the loop runs, the rest on the thread that runs it.
class CHttpServer final : public CHttpConnectionOwner
{
public:
    /// For so long a request may be coming before it gives way to others.
    static constexpr std::chrono::milliseconds kYoung{1000};
    /// What is done with requests.
    struct Handlers
    {
        /// Why a request is not served, when it is not.
        std::function<HttpRefusal(const ServedRequest&)> check;
        /// Serves a request; see CHttpConnectionOwner::Serve().
        std::function<void(const std::shared_ptr<CHttpConnection>&)> serve;
    };

    /// @param loop must outlive this object.
    CHttpServer(asio::io_context& loop, const HttpPatience& patience, Handlers handlers,
                const HttpLimits& limits = {});

    /// Starts to listen on 127.0.0.1 and ::1; port 0 takes a free one. A machine that lacks one of
    /// the two addresses is served on the other.
    ///
    /// @return an empty text on success, otherwise the reason.
    std::string Listen(std::uint16_t port);
    /// The port that is listened on; 0 when none is.
    std::uint16_t Port() const;
    /// Ends every connection and listens no more.
    void Close();
    /// Closes the connection that holds most, where they hold much: for a process whose memory runs
    /// short.
    void MakeRoomInMemory();

private:
    using Connections = std::list<std::shared_ptr<CHttpConnection>>;

    std::string ListenOnBoth(std::uint16_t port);
    asio::error_code Open(const asio::ip::address& address, std::uint16_t port);
    void Take(asio::ip::tcp::socket socket);
    ServerListenerC::ERoom MakeRoom();
    bool CloseOldest();
    bool CloseGreediest();
    std::size_t Held() const;
    HttpRefusal Check(const ServedRequest& request) override;
    void Serve(const std::shared_ptr<CHttpConnection>& connection) override;
    void AskForTurn(const std::shared_ptr<CHttpConnection>& connection) override;
    void GiveTurns();
    void Grown(std::size_t more) override;
    void Ended(CHttpConnection& connection) override;

    asio::io_context& m_loop;
    HttpPatience m_patience;
    Handlers m_handlers;
    HttpLimits m_limits;
    PeerSocketC m_peers;
    std::vector<std::shared_ptr<ServerListenerC>> m_listeners;
    Connections m_connections; ///< the oldest first
    Connections m_turns;       ///< those that wait for their turn, in its order
    bool m_givesTurns = false;
    std::size_t m_heldAtMost = 0; ///< it may be less: what has ended or shrunk is not taken off
};

#endif
