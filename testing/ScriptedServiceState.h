#ifndef KESTROVE_TESTING_SCRIPTEDSERVICESTATE_H
#define KESTROVE_TESTING_SCRIPTEDSERVICESTATE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "runtime/MPISocketServer.h"
#include "testing/CallScript.h"
#include "testing/ScriptedService.h"

namespace Kestrove::Testing {

/// The service on its thread. What the test writes and reads lies behind the mutex; the server and
/// the held answers belong to the loop's thread alone.
class CScriptedService::CState final : public MPIServiceHandlerC
{
public:
    CState() : m_work(m_loop.get_executor()), m_server(m_loop, *this)
    {
        m_thread = std::thread([this] { m_loop.run(); });
    }

    ~CState() override
    {
        m_loop.stop();
        m_thread.join();
    }

    void Listen(EListen addresses);

    /// Does something on the loop's thread and waits until it is done.
    template <typename Action>
    auto OnLoop(Action action)
    {
        using Task = std::packaged_task<std::invoke_result_t<Action>()>;
        const auto task = std::make_shared<Task>(std::move(action));
        auto result = task->get_future();
        asio::post(m_loop, [task] { (*task)(); });
        return result.get();
    }

    /// Does something with what the mutex guards.
    template <typename Action>
    auto Locked(Action action) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return action();
    }

    template <typename Condition>
    bool WaitFor(Condition condition, int timeoutMilliseconds) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds), condition);
    }

    /// Pushes to the subscribers, and notes when nothing would be called with it. On the loop.
    void Push(const std::string& event, const BListC& payload);
    void ReleaseHeld();
    /// How many have been recorded under a name. Behind the mutex.
    std::size_t CountCalls(const std::string& name) const { return Count(m_callCounts, name); }
    std::size_t CountSubscriptions(const std::string& event) const
    {
        return Count(m_subscriptionCounts, event);
    }
    void ForgetReceived();

    MPISocketServerC& Server() { return m_server; }

    // Behind the mutex, with the counts below.
    CCallScript m_script;
    std::vector<CReceived> m_received;
    std::vector<ClientNumber> m_clients;
    std::size_t m_acceptedCount = 0;
    bool m_closesAtAccept = false;

private:
    /// A request whose answer is still to be given.
    struct CPending
    {
        ClientNumber client = 0;
        std::uint64_t requestNumber = 0;
        CAnswer answer = CAnswer::Silence();
    };

    void RequestReceived(ClientNumber client, std::uint64_t requestNumber, const std::string& name,
                         const BListC& arguments) override;
    void NotificationReceived(ClientNumber client, const std::string& name,
                              const BListC& arguments) override;
    void Subscribed(ClientNumber client, const std::string& event) override;
    void ClientConnected(ClientNumber client) override;
    void ClientDisconnected(ClientNumber client, const std::string& reason) override;

    using Counts = std::map<std::string, std::size_t>;

    static std::size_t Count(const Counts& counts, const std::string& name);
    void Record(CReceived received);
    CAnswer RecordCall(CReceived::EKind kind, ClientNumber client, const std::string& name,
                       const BListC& arguments);
    void GiveLater(const CPending& pending);
    void Give(const CPending& pending);

    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    Counts m_callCounts;
    Counts m_subscriptionCounts;
    std::map<std::string, std::set<ClientNumber>> m_subscribers; // of the loop's thread alone
    std::vector<CPending> m_held;
    MPISocketServerC m_server;
    std::thread m_thread;
};

} // namespace Kestrove::Testing

#endif
