#include "runtime/ServerListener.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/error.hpp>
#include <asio/ip/v6_only.hpp>

namespace {

// How long to leave connections waiting when there is no descriptor for them.
constexpr std::chrono::milliseconds kListenerPause(100);
constexpr std::chrono::milliseconds kRoomPause(2);

// So many connections are taken in a row, and for so long, before the other work of the loop has
// its turn.
constexpr int kAttemptsPerTurn = 16;
constexpr std::chrono::milliseconds kLongestTurn(1);

} // namespace

ServerListenerC::ServerListenerC(asio::io_context& loop, Taker taker, Complaint complaint,
                                 Room room)
    : m_loop(loop), m_acceptor(loop), m_pause(loop), m_taker(std::move(taker)),
      m_complaint(std::move(complaint)), m_room(std::move(room))
{
}

asio::error_code ServerListenerC::Open(const asio::ip::address& address, std::uint16_t port)
{
    const asio::ip::tcp::endpoint endpoint(address, port);
    const int descriptor =
        ::socket(endpoint.protocol().family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return asio::error_code(errno, asio::error::get_system_category());
    }
    asio::error_code error;
    m_acceptor.assign(endpoint.protocol(), descriptor, error);
    // A restarted service must not wait for the connections of its predecessor to fade out.
    m_acceptor.set_option(asio::socket_base::reuse_address(true), error);
    if (address.is_v6()) {
        m_acceptor.set_option(asio::ip::v6_only(true), error);
    }
    m_acceptor.non_blocking(true, error);
    m_acceptor.bind(endpoint, error);
    if (!error) {
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        asio::error_code ignored;
        m_acceptor.close(ignored);
        return error;
    }
    Wait();
    return error;
}

std::uint16_t ServerListenerC::Port() const
{
    asio::error_code error;
    const asio::ip::tcp::endpoint endpoint = m_acceptor.local_endpoint(error);
    return error ? std::uint16_t{0} : endpoint.port();
}

void ServerListenerC::Close()
{
    asio::error_code ignored;
    m_acceptor.close(ignored);
    m_pause.cancel();
}

void ServerListenerC::Wait()
{
    m_acceptor.async_wait(asio::socket_base::wait_read,
                          [self = shared_from_this()](const asio::error_code& error) {
                              if (!error && self->m_acceptor.is_open()) {
                                  self->Accept();
                              }
                          });
}

void ServerListenerC::Accept()
{
    const auto end = std::chrono::steady_clock::now() + kLongestTurn;
    bool hasComplained = false; // of the connection that is next
    bool hasTaken = false;
    for (int attempt = 0; attempt < kAttemptsPerTurn && m_acceptor.is_open(); ++attempt) {
        if (!hasComplained && std::chrono::steady_clock::now() > end) {
            break;
        }
        if (!HasRoom(hasTaken)) {
            Pause(kRoomPause);
            return;
        }
        sockaddr_storage peer = {};
        socklen_t length = sizeof(peer);
        const int descriptor = ::accept4(m_acceptor.native_handle(),
                                         reinterpret_cast<sockaddr*>(&peer), &length, SOCK_CLOEXEC);
        if (descriptor < 0) {
            const int error = errno;
            const bool noneLeft = error == EAGAIN || error == EWOULDBLOCK;
            const bool thatOneIsGone = error == ECONNABORTED || error == EINTR;
            if (noneLeft || thatOneIsGone || !IsOneWaiting()) {
                break;
            }
            if (hasComplained) {
                Pause(kListenerPause);
                return;
            }
            hasComplained = true;
            m_complaint(asio::error_code(error, asio::error::get_system_category()));
            continue;
        }
        hasComplained = false;
        hasTaken = true;
        Take(descriptor, peer.ss_family == AF_INET6);
    }
    if (m_acceptor.is_open()) {
        Wait();
    }
}

/// Where room is scarce it is one at a time; but nobody is kept waiting until those are done that
/// are there.
bool ServerListenerC::HasRoom(bool hasTaken) const
{
    const ERoom room = m_room ? m_room() : ERoom::Free;
    return room == ERoom::Free || (room == ERoom::Scarce && !hasTaken);
}

/// The system says that it has no descriptor before it looks whether there is a connection.
bool ServerListenerC::IsOneWaiting()
{
    pollfd listener = {m_acceptor.native_handle(), POLLIN, 0};
    return ::poll(&listener, 1, 0) > 0;
}

void ServerListenerC::Take(int descriptor, bool isV6)
{
    asio::ip::tcp::socket socket(m_loop);
    asio::error_code error;
    socket.assign(isV6 ? asio::ip::tcp::v6() : asio::ip::tcp::v4(), descriptor, error);
    if (error) {
        ::close(descriptor);
        return;
    }
    try {
        m_taker(std::move(socket));
    } catch (const std::bad_alloc&) {
        // There is no memory for it: it ends with the socket, and the next may have some.
    }
}

void ServerListenerC::Pause(std::chrono::milliseconds time)
{
    m_pause.expires_after(time);
    m_pause.async_wait([self = shared_from_this()](const asio::error_code& ended) {
        if (!ended && self->m_acceptor.is_open()) {
            self->Accept();
        }
    });
}
