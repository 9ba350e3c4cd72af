#include "simulator/http/LivePage.h"

#include <atomic>
#include <cmath>
#include <functional>
#include <map>
#include <thread>
#include <utility>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include "runtime/SignalsBlocked.h"
#include "simulator/guidance/LongWork.h"
#include "simulator/http/EmbeddedFiles.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/HttpServer.h"
#include "simulator/http/LoopGate.h"
#include "simulator/http/PageCommands.h"
#include "simulator/http/PageValues.h"
#include "simulator/http/PageWatch.h"
#include "simulator/http/RequestCheck.h"
#include "simulator/http/Viewers.h"

namespace {

const char* const kJson = "application/json";
// A body or a list that is longer than this is read or written aside.
constexpr std::size_t kLongBody = RequestReaderC::kLongBodyBytes;
constexpr int kLongList = 500;
// Of bodies that are long.
constexpr int kMostAside = 4;

const PostTypes kPostTypes{{"/command", kJson}, {"/wayline", kJson}};

using ConnectionPtr = std::shared_ptr<HttpConnectionC>;

ServedAnswer JsonAnswer(PageAnswer answer)
{
    return {answer.status, kJson, std::make_shared<const std::string>(std::move(answer.json)), {}};
}

std::map<std::string, ServedAnswer> AnswersWithFiles()
{
    std::map<std::string, ServedAnswer> answers;
    for (EmbeddedFile& file : EmbeddedFiles()) {
        const ServedAnswer answer{200,
                                  ContentTypeOf(file.name),
                                  std::make_shared<const std::string>(std::move(file.content)),
                                  {}};
        answers["/" + file.name] = answer;
        if (file.name == "index.html") {
            answers["/"] = answer;
        }
    }
    return answers;
}

bool IsLong(const Answer& answer)
{
    const auto* list = dynamic_cast<const BListC*>(answer.value.get());
    return answer.bytes || (list != nullptr && list->Size() > kLongList);
}

} // namespace

class LivePageC::StateC
{
public:
    StateC(asio::io_context& loop, ServiceCoreC& core, const TrailC& trail, LogTapC& log,
           const LivePageTimes& times)
        : m_core(core), m_trail(trail), m_feed([this] { CallViewers(); }),
          m_gate(loop, m_loop, times.command), m_commands(core, log), m_watch(loop, core, m_feed),
          m_viewers(m_loop, m_feed,
                    {kMostViewers, times.heartbeat, times.slowViewer, times.placeOfViewer,
                     times.oldViewer}),
          m_server(m_loop, PatienceOf(times),
                   {[this](const ServedRequest& request) { return Check(request); },
                    [this](const ConnectionPtr& connection) { Serve(connection); }})
    {
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
        m_aside = std::make_unique<asio::thread_pool>(1);
        m_thread = std::thread([this] { m_loop.run(); });
        m_watch.Start();
        return {};
    }

    std::uint16_t Port() const { return m_port; }

    void Stop()
    {
        m_isEnding = true;
        m_loop.stop();
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (m_aside) {
            m_aside->stop();
            m_aside->join();
        }
        m_server.Close();
        m_gate.Close();
    }

private:
    static HttpPatience PatienceOf(const LivePageTimes& times)
    {
        return {times.firstByte, times.request, times.answer, times.stalledPeer};
    }

    /// However often it is called, the viewers are looked after once.
    void CallViewers()
    {
        if (m_viewersAreCalled.exchange(true)) {
            return;
        }
        asio::post(m_loop, [this] {
            m_viewersAreCalled = false;
            m_viewers.Wake();
        });
    }

    HttpRefusal Check(const ServedRequest& request) const
    {
        return CheckRequest(request, m_port, kPostTypes, kMostBodyBytes);
    }

    void Serve(const ConnectionPtr& connection)
    {
        const ServedRequest& request = connection->Request();
        const auto file = m_files.find(request.path);
        if (request.method == "POST") {
            Carry(connection);
        } else if (file != m_files.end()) {
            connection->Answer(file->second);
        } else if (request.path == "/events") {
            m_viewers.Add(connection);
        } else if (request.path == "/trail") {
            GiveTrail(connection);
        } else if (request.path == "/wayline") {
            GiveWayline(connection);
        } else {
            connection->Answer(RefusalOf(404, "there is no such page"));
        }
    }

    /// Does something at once, or when it takes long on the thread for that.
    ///
    /// @param then is called on the page's thread with what `work` gives.
    template <typename Work, typename Then>
    void Do(bool takesLong, const ConnectionPtr& connection, Work work, Then then)
    {
        if (!takesLong) {
            then(work());
            return;
        }
        if (m_workAside == kMostAside) {
            connection->Answer(RefusalOf(503, "too much is asked at once"));
            return;
        }
        ++m_workAside;
        asio::post(*m_aside, [this, connection, work = std::move(work), then = std::move(then)] {
            using Result = decltype(work());
            std::shared_ptr<Result> result;
            g_workStop = &m_isEnding;
            try {
                result = std::make_shared<Result>(work());
            } catch (const std::exception&) {
                // Want of memory, for one.
            }
            asio::post(m_loop, [this, connection, result, then] {
                --m_workAside;
                if (result) {
                    then(std::move(*result));
                } else {
                    connection->Answer(RefusalOf(500, "the request could not be carried out"));
                }
            });
        });
    }

    /// Has the service do something at once, and goes on when that is done; answers when it is not.
    void Ask(const ConnectionPtr& connection, std::function<void()> work,
             std::function<void()> then)
    {
        AskLong(
            connection,
            [work = std::move(work)](const LoopGateC::Done& done) {
                work();
                done();
            },
            std::move(then), LoopGateC::EOrder::InTurn);
    }

    /// Likewise what may go on for long.
    void AskLong(const ConnectionPtr& connection, LoopGateC::Work work, std::function<void()> then,
                 LoopGateC::EOrder order)
    {
        using EOutcome = LoopGateC::EOutcome;
        m_gate.Run(
            std::move(work),
            [connection, then = std::move(then)](EOutcome outcome) {
                if (outcome == EOutcome::Done) {
                    then();
                } else if (outcome == EOutcome::Failed) {
                    connection->Answer(RefusalOf(500, "the request could not be carried out"));
                } else {
                    connection->Answer(RefusalOf(503, "the service does not answer"));
                }
            },
            order);
    }

    void Carry(const ConnectionPtr& connection)
    {
        const std::uint64_t arrival = ++m_lastArrival;
        std::shared_ptr<void> turn;
        if (connection->Request().body.Size() > kLongBody) {
            if (m_longCommands.use_count() > kMostAside) {
                connection->Answer(RefusalOf(503, "too much is asked at once"));
                return;
            }
            turn = m_longCommands;
        }
        const auto body = std::make_shared<RequestBodyC>(connection->TakeBody());
        const bool isWayline = connection->Request().path == "/wayline";
        Do(
            body->Size() > kLongBody, connection,
            [this, body, isWayline] {
                const std::string text = body->TakeText();
                return std::make_shared<PageCommand>(isWayline ? PageCommandsC::ReadWayline(text)
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
            connection->Answer(JsonAnswer(command->refusal));
            return;
        }
        const auto outcome = std::make_shared<PageOutcome>();
        const bool isUrgent = command->operation == PageCommandsC::kDisengage;
        if (isUrgent) {
            connection->Keep();
        }
        // What the service queues must not keep the connection, which is the page's.
        const auto isWanted = [weak = std::weak_ptr<HttpConnectionC>(connection)] {
            const ConnectionPtr asking = weak.lock();
            return asking && !asking->HasGone();
        };
        AskLong(
            connection,
            [this, command, outcome, isWanted](LoopGateC::Done done) {
                if (isWanted()) {
                    m_commands.CarryOut(*command, outcome, isWanted, std::move(done));
                } else {
                    done();
                }
            },
            [this, connection, command, outcome] {
                Do(
                    IsLong(outcome->answer), connection,
                    [command, outcome] { return PageCommandsC::Write(*command, *outcome); },
                    [connection](PageAnswer answer) {
                        connection->Answer(JsonAnswer(std::move(answer)));
                    });
            },
            isUrgent ? LoopGateC::EOrder::AtOnce : LoopGateC::EOrder::InTurn);
    }

    void GiveTrail(const ConnectionPtr& connection)
    {
        const auto points = std::make_shared<std::vector<Point>>();
        const auto end = std::make_shared<double>(0.0);
        Ask(
            connection,
            [this, points, end] {
                *points = m_trail.Points();
                const double intervals = m_core.World().Time() / TrailC::kInterval;
                *end = std::floor(intervals + 1e-6) * TrailC::kInterval;
            },
            [this, connection, points, end] {
                Do(
                    points->size() > static_cast<std::size_t>(kLongList), connection,
                    [points, end] {
                        return PageAnswer{200, TrailJson(*points, *end)};
                    },
                    [connection](PageAnswer answer) {
                        connection->Answer(JsonAnswer(std::move(answer)));
                    });
            });
    }

    void GiveWayline(const ConnectionPtr& connection)
    {
        const auto wayline = std::make_shared<WaylineKeeperC::SharedWayline>();
        Ask(
            connection, [this, wayline] { *wayline = m_core.Waylines().SharedCurrent(); },
            [this, connection, wayline] {
                Do(
                    true, connection,
                    [wayline] {
                        return PageAnswer{
                            200, TextJson(*wayline ? (*wayline)->ToString() : std::string())};
                    },
                    [connection](PageAnswer answer) {
                        connection->Answer(JsonAnswer(std::move(answer)));
                    });
            });
    }

    asio::io_context m_loop{1}; ///< of the page's own thread
    asio::executor_work_guard<asio::io_context::executor_type> m_work{m_loop.get_executor()};
    ServiceCoreC& m_core;
    const TrailC& m_trail;
    const std::map<std::string, ServedAnswer> m_files = AnswersWithFiles();
    std::atomic<bool> m_viewersAreCalled{false};
    EventFeedC m_feed;
    LoopGateC m_gate;
    PageCommandsC m_commands;
    PageWatchC m_watch;
    ViewersC m_viewers;
    HttpServerC m_server;
    std::uint16_t m_port = 0;
    int m_workAside = 0;
    std::uint64_t m_lastArrival = 0;
    std::shared_ptr<void> m_longCommands = std::make_shared<int>(0); ///< each keeps a reference
    std::atomic<bool> m_isEnding{false};
    std::unique_ptr<asio::thread_pool> m_aside;
    std::thread m_thread;
};

LivePageC::LivePageC(asio::io_context& loop, ServiceCoreC& core, const TrailC& trail, LogTapC& log,
                     const LivePageTimes& times)
    : m_state(std::make_unique<StateC>(loop, core, trail, log, times))
{
}

LivePageC::~LivePageC()
{
    Stop();
}

std::string LivePageC::Listen(std::uint16_t port)
{
    return m_state->Listen(port);
}

std::uint16_t LivePageC::Port() const
{
    return m_state->Port();
}

void LivePageC::Stop()
{
    m_state->Stop();
}
