#ifndef KESTROVE_TESTS_RUNTIME_RUNNINGSERVICE_H
#define KESTROVE_TESTS_RUNTIME_RUNNINGSERVICE_H

#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "runtime/MPISocketServer.h"

/// A service on a thread of its own that notes everything it receives, a line each, and does what a
/// test has hung on the calls of a name.
class CRunningService : public MPIServiceHandlerC
{
public:
    /// What to do on a call; gets the client and, for a request, its number.
    using Action = std::function<void(MPISocketServerC&, ClientNumber, std::uint64_t)>;

    explicit CRunningService(EListenOn addresses = EListenOn::Both,
                             const MPIServerLimitsC& limits = {});
    ~CRunningService() override;

    /// Hangs an action on a request or a notification, or on "subscribed", "connected" or
    /// "disconnected". A request without one is answered with 1.
    void On(const std::string& name, Action action);
    std::uint16_t Port();
    /// Does something on the service's thread and waits until it is done.
    void OnLoop(const std::function<void(MPISocketServerC&)>& action);
    /// Destroys the server. Only on the service's thread.
    void DestroyServer() { m_server.reset(); }
    unsigned long RejectedMessages();
    std::size_t ClientCount();
    /// How many bytes all connections hold.
    std::size_t Held();
    /// Waits until what is held lies between two bounds, at most ten seconds; the loop takes bytes
    /// in turns.
    bool WaitForHeld(std::size_t least, std::size_t most);

    std::vector<std::string> Notes() const;
    /// Waits until there are so many notes that begin with `text`, at most ten seconds.
    bool WaitForNotes(const std::string& text, std::size_t count = 1) const;
    std::thread& Thread() { return m_thread; }

    void RequestReceived(ClientNumber client, std::uint64_t requestNumber, const std::string& name,
                         const BListC& arguments) override;
    void NotificationReceived(ClientNumber client, const std::string& name,
                              const BListC& arguments) override;
    void Subscribed(ClientNumber client, const std::string& event) override;
    void ClientConnected(ClientNumber client) override;
    void ClientDropped(ClientNumber client, const std::string& reason) override;
    void ConnectionsWait(const std::string& reason) override;
    void ClientDisconnected(ClientNumber client, const std::string& reason) override;
    void HandlerFailed(ClientNumber client, const std::string& name,
                       const std::string& reason) override;

protected:
    /// Ends the thread. A derived service does so before anything of it goes, for until then the
    /// thread calls its operations.
    void Stop();

private:
    void Note(const std::string& text);
    bool Act(const std::string& name, ClientNumber client, std::uint64_t requestNumber);

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<std::string> m_notes;
    std::vector<std::pair<std::string, Action>> m_actions;
    std::unique_ptr<MPISocketServerC> m_server;
    std::thread m_thread;
};

#endif
