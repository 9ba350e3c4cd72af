#include "simulator/http/LivePage.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>

#include "runtime/SignalsBlocked.h"
#include "simulator/aside/MemoryWatch.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/HistoryAnswers.h"
#include "simulator/http/HistoryWatch.h"
#include "simulator/http/HttpServer.h"
#include "simulator/http/LoopGate.h"
#include "simulator/http/PageAside.h"
#include "simulator/http/PageCommands.h"
#include "simulator/http/PageResources.h"
#include "simulator/http/PageWatch.h"
#include "simulator/http/RequestCheck.h"
#include "simulator/http/ShowDrive.h"
#include "simulator/http/Viewers.h"

namespace {

const char* const kJson = "application/json";
// A body or a list that is longer than this is read or written aside.
constexpr std::size_t kLongBody = CRequestReader::kLongBodyBytes;
constexpr int kLongList = 500;
// Of memory, for the page's own loop.
constexpr std::size_t kSpareBytes = std::size_t{2} * 1024 * 1024;
// Of bodies that are long.
constexpr int kMostAside = 4;

const PostTypes kPostTypes{{"/command", kJson}, {"/show", kJson}, {"/wayline", kJson}};

using ConnectionPtr = std::shared_ptr<CHttpConnection>;

/// Has the peer of a connection get the answer.
CSharedAnswer::Reply To(const ConnectionPtr& connection)
{
    return [connection](const ServedAnswer& answer) { connection->Answer(answer); };
}

ServedAnswer Written(PageAnswer answer)
{
    return JsonAnswer(answer.status, std::move(answer.json));
}

bool IsLong(const Answer& answer)
{
    const auto* list = dynamic_cast<const BListC*>(answer.value.get());
    return answer.bytes || (list != nullptr && list->Size() > kLongList);
}

} // namespace

class CLivePage::CState
{
public:
    CState(asio::io_context& loop, CServiceCore& core, const CTrail& trail, CLogTap& log,
           const LivePageTimes& times, const HttpLimits& limits)
        : m_feed([this] { CallViewers(); }), m_gate(loop, m_loop, times.command),
          m_commands(core, log), m_show(core), m_watch(loop, core, m_feed, m_show),
          m_viewers(m_loop, m_feed,
                    {ViewersOf(limits.connections), times.heartbeat, times.slowViewer,
                     times.placeOfViewer, times.oldViewer}),
          m_resources(m_loop, m_gate, m_aside, core, trail),
          m_history(m_aside, m_resources.Run(), CTrail::kInterval,
                    [this](const CSharedAnswer::Reply& reply, const auto& then) {
                        FetchHistory(reply, then);
                    }),
          m_server(m_loop, PatienceOf(times),
                   {[this](const ServedRequest& request) { return Check(request); },
                    [this](const ConnectionPtr& connection) { Serve(connection); }},
                   limits)
    {
        // The core may outlive the page.
        core.OnGuidance([weak = std::weak_ptr<CHistoryWatch>(m_historyWatch), &core](const auto&) {
            if (const auto watch = weak.lock()) {
                watch->Look(core);
            }
        });
    }

    std::string Listen(std::uint16_t port)
    {
        std::string problem = m_server.Listen(port);
        if (!problem.empty()) {
            return problem;
        }
        m_port = m_server.Port();
        m_viewers.Start();
        const SignalsBlockedC blocked;
        m_aside.Start();
        m_thread = std::thread([this] { Run(); });
        m_watch.Start();
        return {};
    }

    std::uint16_t Port() const { return m_port; }

    CShowDrive& Show() { return m_show; }

    void Stop()
    {
        m_aside.End();
        m_loop.stop();
        if (m_thread.joinable()) {
            m_thread.join();
        }
        m_server.Close();
        m_aside.Join();
        m_gate.Close();
    }

private:
    /// As many wait for a place, and commands are to have at least half.
    static std::size_t ViewersOf(std::size_t mostConnections)
    {
        constexpr std::size_t kFewest = 1;
        return std::clamp(mostConnections / 4, kFewest, kMostViewers);
    }

    static HttpPatience PatienceOf(const LivePageTimes& times)
    {
        return {times.firstByte, times.request, times.answer, times.stalledPeer};
    }

    /// Where there is no memory for what came, that comes to nothing, and the rest is served.
    void Run()
    {
        CMemoryWatch(m_loop, kSpareBytes, [this] { m_server.MakeRoomInMemory(); }).Run();
    }

    /// However often it is called, the viewers are looked after once.
    void CallViewers()
    {
        if (m_viewersAreCalled.exchange(true)) {
            return;
        }
        try {
            asio::post(m_loop, [this] {
                m_viewersAreCalled = false;
                m_viewers.Wake();
            });
        } catch (const std::bad_alloc&) {
            m_viewersAreCalled = false; // they are looked after from time to time in any case
        }
    }

    HttpRefusal Check(const ServedRequest& request) const
    {
        return CheckRequest(request, m_port, kPostTypes, kMostBodyBytes);
    }

    void Serve(const ConnectionPtr& connection)
    {
        const ServedRequest& request = connection->Request();
        if (request.method == "POST" && request.path == "/show") {
            CarryShow(connection);
        } else if (request.method == "POST") {
            Carry(connection);
        } else if (request.path == "/events") {
            m_viewers.Add(connection);
        } else if (m_resources.Give(connection) || m_history.Give(connection)) {
            return;
        } else if (kPostTypes.count(request.path) != 0) {
            ServedAnswer refusal = RefusalOf(405, "only POST is served there");
            refusal.headers = {{"Allow", "POST"}};
            connection->Answer(refusal);
        } else {
            connection->Answer(RefusalOf(404, "there is no such page"));
        }
    }

    void FetchHistory(const CSharedAnswer::Reply& reply,
                      const std::function<void(CHistoryAnswers::NowPtr)>& then)
    {
        const auto now = std::make_shared<HistoryNow>();
        m_gate.Run(
            [now, watch = m_historyWatch](const CLoopGate::Done& done) {
                now->view = watch->History().View();
                done();
            },
            WhenDone(reply, [now, then] { then(now); }));
    }

    /// Does something at once, or when it takes long on the thread for that; so many at once as may
    /// be.
    ///
    /// @param asker has posted it; nothing is done that takes long when that has gone.
    /// @param then is called on the page's thread with what `work` gives.
    template <typename Work, typename Then>
    void Do(bool takesLong, const ConnectionPtr& asker, Work work, Then then)
    {
        if (!takesLong) {
            then(work());
            return;
        }
        const CSharedAnswer::Reply reply = To(asker);
        m_aside.ForgetUnwanted();
        if (m_workAside == kMostAside) {
            reply(RefusalOf(503, "too much is asked at once"));
            return;
        }
        ++m_workAside;
        m_aside.Do(
            std::move(work),
            [this, reply, then = std::move(then)](const auto& result) {
                --m_workAside;
                if (result) {
                    DoOrRefuse(reply, [&] { then(std::move(*result)); });
                } else {
                    reply(RefusalOf(500, kFailed));
                }
            },
            asker);
    }

    /// Begins the drive to look at, or ends it.
    void CarryShow(const ConnectionPtr& connection)
    {
        const bool begins = connection->TakeBody().TakeText() == R"({"run":true})";
        const auto refusal = std::make_shared<std::string>();
        m_gate.Run(
            [this, begins, refusal](const CLoopGate::Done& done) {
                if (begins) {
                    *refusal = m_show.Begin();
                } else {
                    m_show.End("It was ended.");
                }
                done();
            },
            WhenDone(To(connection), [connection, refusal] {
                connection->Answer(refusal->empty()
                                       ? JsonAnswer(200, R"({"result":1,"reasons":[]})")
                                       : RefusalOf(409, *refusal));
            }));
    }

    void Carry(const ConnectionPtr& connection)
    {
        const std::uint64_t arrival = ++m_lastArrival;
        std::shared_ptr<void> turn;
        if (connection->Request().body.Size() > kLongBody) {
            m_aside.ForgetUnwanted();
            if (m_longCommands.use_count() > kMostAside) {
                connection->Answer(RefusalOf(503, "too much is asked at once"));
                return;
            }
            turn = m_longCommands;
        }
        const auto body = std::make_shared<CRequestBody>(connection->TakeBody());
        const bool isWayline = connection->Request().path == "/wayline";
        Do(
            body->Size() > kLongBody, connection,
            [this, body, isWayline] {
                const std::string text = body->TakeText();
                return std::make_shared<PageCommand>(isWayline ? CPageCommands::ReadWayline(text)
                                                               : m_commands.ReadCommand(text));
            },
            [this, connection, arrival, turn](const std::shared_ptr<PageCommand>& command) {
                command->arrival = arrival;
                command->turn = turn;
                CarryOut(connection, command);
            });
    }

    /// Who has given up waiting for a command must not see it happen later.
    void CarryOut(const ConnectionPtr& connection, const std::shared_ptr<PageCommand>& command)
    {
        if (command->IsRefused()) {
            connection->Answer(Written(command->refusal));
            return;
        }
        const auto outcome = std::make_shared<PageOutcome>();
        const bool isUrgent = command->operation == CPageCommands::kDisengage;
        if (isUrgent) {
            connection->Keep();
        }
        // What the service queues must not keep the connection, which is the page's.
        const auto isWanted = [weak = std::weak_ptr<CHttpConnection>(connection)] {
            const ConnectionPtr asking = weak.lock();
            return asking && !asking->HasGone();
        };
        m_gate.Run(
            [this, command, outcome, isWanted](CLoopGate::Done done) {
                if (isWanted()) {
                    m_show.End("Somebody has taken the machine over on the page.");
                    m_commands.CarryOut(*command, outcome, isWanted, std::move(done));
                } else {
                    done();
                }
            },
            WhenDone(To(connection),
                     [this, connection, command, outcome] {
                         Do(
                             IsLong(outcome->answer), connection,
                             [command, outcome] {
                                 return CPageCommands::Write(*command, *outcome);
                             },
                             [connection](PageAnswer answer) {
                                 connection->Answer(Written(std::move(answer)));
                             });
                     }),
            isUrgent ? CLoopGate::EOrder::AtOnce : CLoopGate::EOrder::InTurn);
    }

    asio::io_context m_loop{1}; ///< of the page's own thread
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_loop.get_executor()};
    std::atomic<bool> m_viewersAreCalled{false};
    CEventFeed m_feed;
    CLoopGate m_gate;
    CPageCommands m_commands;
    CShowDrive m_show;
    CPageWatch m_watch;
    CViewers m_viewers;
    CPageAside m_aside{m_loop};
    CPageResources m_resources;
    const std::shared_ptr<CHistoryWatch> m_historyWatch = std::make_shared<CHistoryWatch>();
    CHistoryAnswers m_history;
    CHttpServer m_server;
    std::uint16_t m_port = 0;
    int m_workAside = 0;
    std::uint64_t m_lastArrival = 0;
    std::shared_ptr<void> m_longCommands = std::make_shared<int>(0); ///< each keeps a reference
    std::thread m_thread;
};

CLivePage::CLivePage(asio::io_context& loop, CServiceCore& core, const CTrail& trail, CLogTap& log,
                     const LivePageTimes& times, const HttpLimits& limits)
    : m_state(std::make_unique<CState>(loop, core, trail, log, times, limits))
{
}

CLivePage::~CLivePage()
{
    Stop();
}

std::string CLivePage::Listen(std::uint16_t port)
{
    return m_state->Listen(port);
}

std::uint16_t CLivePage::Port() const
{
    return m_state->Port();
}

void CLivePage::OfferShow(std::function<bool()> hasHadClients)
{
    m_state->Show().Offer(std::move(hasHadClients));
}

void CLivePage::EndShow()
{
    m_state->Show().End("An application has connected: the machine is its now.");
}

void CLivePage::Stop()
{
    m_state->Stop();
}
