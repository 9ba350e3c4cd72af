#ifndef KESTROVE_SIMULATOR_HTTP_LIVEPAGE_H
#define KESTROVE_SIMULATOR_HTTP_LIVEPAGE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

#include "simulator/http/HttpLimits.h"
#include "simulator/http/LogTap.h"
#include "simulator/http/Trail.h"
#include "simulator/service/ServiceCore.h"

/// How long the live page waits for what.
struct LivePageTimes
{
    std::chrono::milliseconds heartbeat{500};     ///< of silence, before a viewer is sent a comment
    std::chrono::milliseconds slowViewer{5000};   ///< without taking anything, before it gives way
    std::chrono::milliseconds placeOfViewer{500}; ///< waited for, before an old one gives way
    std::chrono::milliseconds oldViewer{1000};    ///< of viewing, before it gives way
    std::chrono::milliseconds stalledPeer{120000}; ///< for a viewer to take anything
    std::chrono::milliseconds firstByte{2000};     ///< of a request
    std::chrono::milliseconds request{10000};      ///< for the whole of it
    std::chrono::milliseconds answer{20000};       ///< for the peer to take the whole of it
    std::chrono::milliseconds command{5000};       ///< until the service has its turn for it
};

/// The live page: an HTTP server on the loopback addresses that serves the page, shows its viewers
/// what happens, and takes their commands. docs/live-page.md has all that goes over the wire.
///
/// Connections are served by events, on one thread of their own; another reads and writes what is
/// long, a third draws lines. The service core stays with the thread that runs the loop: what the
/// viewers are sent is written there once and shared, and commands are handed over to it. So a
/// viewer, however slow, holds up nothing.
///
/// Thread safety: none; used from the thread that runs the loop.
class CLivePage
{
public:
    /// How many viewers may be there at once.
    static constexpr std::size_t kMostViewers = 16;
    /// The longest body of a request.
    static constexpr std::size_t kMostBodyBytes = 4 * 1024 * 1024;

    /// @param loop, core, trail, log must outlive this object; the log must be the one that the
    /// core
    ///        writes to, the trail get the core's events.
    /// @param limits where connections are fewer than 64, viewers have a quarter.
    CLivePage(asio::io_context& loop, CServiceCore& core, const CTrail& trail, CLogTap& log,
              const LivePageTimes& times = {}, const HttpLimits& limits = {});
    /// Stops.
    ~CLivePage();
    CLivePage(const CLivePage&) = delete;
    CLivePage& operator=(const CLivePage&) = delete;

    /// Starts to listen and to serve. Port 0 takes a free one (see Port()).
    ///
    /// @return an empty text on success, otherwise the reason, for example that the port is taken.
    std::string Listen(std::uint16_t port);
    /// The port that is listened on.
    std::uint16_t Port() const;
    /// Offers a drive to look at while nothing is set; see CShowDrive::Offer().
    void OfferShow(std::function<bool()> hasHadClients);
    /// Ends that drive before what somebody else does. To be called where a client connects.
    void EndShow();
    /// Ends all connections and threads, whoever is there. Returns when none is left.
    void Stop();

private:
    class CState;
    std::unique_ptr<CState> m_state;
};

#endif
