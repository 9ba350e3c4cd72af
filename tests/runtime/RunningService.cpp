#include "tests/runtime/RunningService.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

CRunningService::CRunningService(EListenOn addresses, const MPIServerLimitsC& limits)
    : m_work(m_loop.get_executor()),
      m_server(std::make_unique<MPISocketServerC>(m_loop, *this, limits))
{
    const std::string problem = m_server->Listen(0, addresses);
    if (!problem.empty()) {
        throw std::runtime_error(problem);
    }
    m_thread = std::thread([this] { m_loop.run(); });
}

CRunningService::~CRunningService()
{
    Stop();
}

void CRunningService::Stop()
{
    m_loop.stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CRunningService::On(const std::string& name, Action action)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_actions.emplace_back(name, std::move(action));
}

std::uint16_t CRunningService::Port()
{
    std::uint16_t port = 0;
    OnLoop([&](MPISocketServerC& server) { port = server.Port(); });
    return port;
}

void CRunningService::OnLoop(const std::function<void(MPISocketServerC&)>& action)
{
    std::promise<void> done;
    asio::post(m_loop, [&] {
        action(*m_server);
        done.set_value();
    });
    done.get_future().wait();
}

unsigned long CRunningService::RejectedMessages()
{
    unsigned long count = 0;
    OnLoop([&](MPISocketServerC& server) { count = server.RejectedMessages(); });
    return count;
}

std::size_t CRunningService::ClientCount()
{
    std::size_t count = 0;
    OnLoop([&](MPISocketServerC& server) { count = server.ClientCount(); });
    return count;
}

std::size_t CRunningService::Held()
{
    std::size_t held = 0;
    OnLoop([&](MPISocketServerC& server) { held = server.HeldBytes(); });
    return held;
}

bool CRunningService::WaitForHeld(std::size_t least, std::size_t most)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < deadline) {
        const std::size_t held = Held();
        if (held >= least && held <= most) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> CRunningService::Notes() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_notes;
}

bool CRunningService::WaitForNotes(const std::string& text, std::size_t count) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(60), [&] {
        const auto begins = [&](const std::string& note) { return note.rfind(text, 0) == 0; };
        return static_cast<std::size_t>(std::count_if(m_notes.begin(), m_notes.end(), begins)) >=
               count;
    });
}

void CRunningService::Note(const std::string& text)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_notes.push_back(text);
    }
    m_changed.notify_all();
}

bool CRunningService::Act(const std::string& name, ClientNumber client, std::uint64_t requestNumber)
{
    Action action;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [actionName, present] : m_actions) {
            action = actionName == name ? present : action;
        }
    }
    if (action) {
        action(*m_server, client, requestNumber);
    }
    return action != nullptr;
}

void CRunningService::RequestReceived(ClientNumber client, std::uint64_t requestNumber,
                                      const std::string& name, const BListC& arguments)
{
    Note("request " + name + " of " + std::to_string(arguments.Size()));
    if (!Act(name, client, requestNumber)) {
        const BAtomC one(1);
        m_server->Reply(client, requestNumber, &one);
    }
}

void CRunningService::NotificationReceived(ClientNumber client, const std::string& name,
                                           const BListC& arguments)
{
    Note("notification " + name + " of " + std::to_string(arguments.Size()));
    Act(name, client, 0);
}

void CRunningService::Subscribed(ClientNumber client, const std::string& event)
{
    Note("subscribed " + event);
    Act("subscribed", client, 0);
}

void CRunningService::ClientConnected(ClientNumber client)
{
    Note("connected " + std::to_string(client));
    Act("connected", client, 0);
}

void CRunningService::ClientDropped(ClientNumber client, const std::string& reason)
{
    Note("dropped " + std::to_string(client) + ' ' + reason);
}

void CRunningService::ConnectionsWait(const std::string& reason)
{
    Note("connections wait: " + reason);
}

void CRunningService::ClientDisconnected(ClientNumber client, const std::string& reason)
{
    Note("disconnected " + std::to_string(client) + ' ' + reason);
    Act("disconnected", client, 0);
}

void CRunningService::HandlerFailed(ClientNumber client, const std::string& name,
                                    const std::string& reason)
{
    Note("failed " + std::to_string(client) + ' ' + name + ' ' + reason);
}
