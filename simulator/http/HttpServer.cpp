#include "simulator/http/HttpServer.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

#include <asio/error.hpp>
#include <asio/post.hpp>

namespace {

// A port that is free on the one address need not be so on the other.
constexpr int kAttemptsAtAFreePort = 20;

using EStage = CHttpConnection::EStage;

// In this order connections are closed for others.
enum class EWorth
{
    HasItsAnswer, // and is only read empty
    SlowToAsk,
    SlowToTake,
    OneOfManyAsking,
    Answered,
    WaitsForAResource,
    Stays,
};

EWorth WorthOf(const CHttpConnection& connection, std::chrono::steady_clock::time_point now,
               bool areManyAsking)
{
    const bool isSlow = connection.Idle(now) >= CHttpServer::kYoung;
    switch (connection.Stage()) {
    case EStage::Ending:
        return EWorth::HasItsAnswer;
    case EStage::Reading:
        return isSlow ? EWorth::SlowToAsk : areManyAsking ? EWorth::OneOfManyAsking : EWorth::Stays;
    case EStage::Answering:
        return isSlow ? EWorth::SlowToTake : EWorth::Answered;
    case EStage::Waiting:
        return connection.IsKept() || connection.Request().method == "POST"
                   ? EWorth::Stays
                   : EWorth::WaitsForAResource;
    default:
        return EWorth::Stays;
    }
}

bool IsLacking(const asio::error_code& error)
{
    return error == asio::error::address_family_not_supported ||
           error == asio::error_code(EADDRNOTAVAIL, asio::error::get_system_category());
}

std::string ReasonOf(const asio::error_code& error, std::uint16_t port)
{
    const std::string name = "port " + std::to_string(port);
    if (error == asio::error::address_in_use) {
        return name + " is already in use";
    }
    return "cannot listen on " + name + ": " + error.message();
}

} // namespace

CHttpServer::CHttpServer(asio::io_context& loop, const HttpPatience& patience, Handlers handlers,
                         const HttpLimits& limits)
    : m_loop(loop), m_patience(patience), m_handlers(std::move(handlers)), m_limits(limits)
{
}

std::string CHttpServer::Listen(std::uint16_t port)
{
    std::string problem;
    for (int attempt = 0; attempt < (port == 0 ? kAttemptsAtAFreePort : 1); ++attempt) {
        Close();
        problem = ListenOnBoth(port);
        if (problem.empty()) {
            return {};
        }
    }
    Close();
    return problem;
}

std::string CHttpServer::ListenOnBoth(std::uint16_t port)
{
    const asio::error_code errorOfV4 = Open(asio::ip::address_v4::loopback(), port);
    if (errorOfV4 && !IsLacking(errorOfV4)) {
        return ReasonOf(errorOfV4, port);
    }
    const std::uint16_t samePort = m_listeners.empty() ? port : Port();
    const asio::error_code errorOfV6 = Open(asio::ip::address_v6::loopback(), samePort);
    const bool isServed = !errorOfV6 || (IsLacking(errorOfV6) && !m_listeners.empty());
    return isServed ? std::string() : ReasonOf(errorOfV6, samePort);
}

asio::error_code CHttpServer::Open(const asio::ip::address& address, std::uint16_t port)
{
    // Where the descriptors of the process have run out one is given up for each that comes.
    const auto listener = std::make_shared<ServerListenerC>(
        m_loop, [this](asio::ip::tcp::socket socket) { Take(std::move(socket)); },
        [this](const asio::error_code&) { CloseOldest(); }, [this] { return MakeRoom(); });
    const asio::error_code error = listener->Open(address, port);
    if (!error) {
        m_listeners.push_back(listener);
    }
    return error;
}

std::uint16_t CHttpServer::Port() const
{
    return m_listeners.empty() ? std::uint16_t{0} : m_listeners.front()->Port();
}

void CHttpServer::Close()
{
    for (const std::shared_ptr<ServerListenerC>& listener : m_listeners) {
        listener->Close();
    }
    m_listeners.clear();
    while (!m_connections.empty()) {
        m_connections.front()->Close();
    }
}

void CHttpServer::Take(asio::ip::tcp::socket socket)
{
    const auto connection =
        std::make_shared<CHttpConnection>(std::move(socket), m_patience, m_peers, *this);
    m_connections.push_back(connection);
    connection->Start();
}

/// Before a connection is taken. It is the system that keeps those for which there is no room.
ServerListenerC::ERoom CHttpServer::MakeRoom()
{
    const bool hasRoom = m_connections.size() < m_limits.connections || CloseOldest();
    return hasRoom ? ServerListenerC::ERoom::Free : ServerListenerC::ERoom::None;
}

bool CHttpServer::CloseOldest()
{
    const auto asking =
        std::count_if(m_connections.begin(), m_connections.end(),
                      [](const auto& one) { return one->Stage() == EStage::Reading; });
    // Where descriptors have run out there are fewer than there may be.
    const bool areMany = static_cast<std::size_t>(asking) > m_connections.size() / 2;
    const auto now = std::chrono::steady_clock::now();
    std::shared_ptr<CHttpConnection> closed;
    EWorth least = EWorth::Stays;
    for (const std::shared_ptr<CHttpConnection>& one : m_connections) {
        const EWorth worth = WorthOf(*one, now, areMany);
        // What has come of it may be all of its request.
        const bool mayBeWhole = worth == EWorth::OneOfManyAsking && one->HasUnreadRequest();
        if (worth < least && !mayBeWhole) {
            least = worth;
            closed = one;
        }
    }
    if (closed) {
        closed->Close();
    }
    return closed != nullptr;
}

bool CHttpServer::CloseGreediest()
{
    std::shared_ptr<CHttpConnection> greediest;
    for (const std::shared_ptr<CHttpConnection>& one : m_connections) {
        const bool isKept = one->Stage() == EStage::Waiting && one->IsKept();
        const bool mayBeClosed = one->Stage() != EStage::Streaming && !isKept;
        if (mayBeClosed && (!greediest || one->Held() > greediest->Held())) {
            greediest = one;
        }
    }
    if (greediest) {
        greediest->Close();
    }
    return greediest != nullptr;
}

void CHttpServer::MakeRoomInMemory()
{
    constexpr std::size_t kMuch = 256 * 1024;
    if (Held() > kMuch) {
        CloseGreediest();
    }
}

std::size_t CHttpServer::Held() const
{
    std::size_t held = 0;
    for (const std::shared_ptr<CHttpConnection>& connection : m_connections) {
        held += connection->Held();
    }
    return held;
}

HttpRefusal CHttpServer::Check(const ServedRequest& request)
{
    return m_handlers.check(request);
}

void CHttpServer::Serve(const std::shared_ptr<CHttpConnection>& connection)
{
    try {
        m_handlers.serve(connection);
    } catch (const std::exception&) {
        // Want of memory, for one: it costs this connection and nothing else.
        connection->Answer(RefusalOf(500, "the request could not be carried out"));
    }
}

void CHttpServer::AskForTurn(const std::shared_ptr<CHttpConnection>& connection)
{
    m_turns.push_back(connection);
    if (!m_givesTurns) {
        GiveTurns();
    }
}

/// One after the next look at what has come, and so on until nobody waits.
void CHttpServer::GiveTurns()
{
    m_givesTurns = !m_turns.empty();
    if (!m_givesTurns) {
        return;
    }
    asio::post(m_loop, [this] {
        if (!m_turns.empty()) {
            const std::shared_ptr<CHttpConnection> next = m_turns.front();
            m_turns.pop_front();
            next->GiveTurn();
        }
        GiveTurns();
    });
}

/// All are asked only when they may hold too much together, not for each portion.
void CHttpServer::Grown(std::size_t more)
{
    m_heldAtMost += more;
    while (m_heldAtMost > m_limits.held) {
        m_heldAtMost = Held();
        if (m_heldAtMost <= m_limits.held || !CloseGreediest()) {
            return;
        }
    }
}

void CHttpServer::Ended(CHttpConnection& connection)
{
    const auto isIt = [&connection](const auto& one) { return one.get() == &connection; };
    for (Connections* list : {&m_turns, &m_connections}) {
        // Most that end are among the oldest.
        const auto found = std::find_if(list->begin(), list->end(), isIt);
        if (found != list->end()) {
            list->erase(found);
        }
    }
}
