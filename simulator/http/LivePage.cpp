#include "simulator/http/LivePage.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "simulator/http/EmbeddedFiles.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/HttpServer.h"
#include "simulator/http/LoopGate.h"
#include "simulator/http/PageCommands.h"
#include "simulator/http/PageValues.h"
#include "simulator/http/PageWatch.h"
#include "simulator/http/RequestCheck.h"

namespace {

const char* const kStream = "/events";
const char* const kJson = "application/json";
// Beside the viewers, who have a thread each.
constexpr std::size_t kThreadsForRequests = 8;

const PostTypes kPostTypes{{"/command", kJson}, {"/wayline", kJson}};

httplib::Headers HeadersOfAll()
{
    return {{"Cache-Control", "no-store"},
            {"Content-Security-Policy",
             "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
            {"Cross-Origin-Resource-Policy", "same-origin"},
            {"X-Content-Type-Options", "nosniff"}};
}

void Give(httplib::Response& response, const PageAnswer& answer)
{
    response.status = answer.status;
    response.set_content(answer.json, kJson);
}

void Refuse(httplib::Response& response, int status, const std::string& reason)
{
    Give(response, {status, ErrorJson(reason)});
}

/// The names under which a file of the page is asked for, as the library's patterns.
std::vector<std::string> PatternsOf(const std::string& name)
{
    std::string pattern = "/";
    for (const char character : name)
        pattern += character == '.' ? std::string("\\.") : std::string(1, character);
    if (name == "index.html")
        return {"/", pattern};
    return {pattern};
}

} // namespace

class LivePageC::StateC
{
public:
    StateC(asio::io_context& loop, ServiceCoreC& core, const TrailC& trail, LogTapC& log,
           const LivePageTimes& times)
        : m_core(core), m_trail(trail), m_times(times), m_feed(kMostViewers),
          m_gate(loop, times.command), m_commands(core, log, m_gate), m_watch(loop, core, m_feed),
          m_server(kMostViewers + kThreadsForRequests, kMostBodyBytes,
                   {times.firstByte, times.request, times.stalledPeer}, kStream)
    {
    }

    std::string Listen(std::uint16_t port)
    {
        std::string problem = m_server.Listen(port);
        if (!problem.empty())
            return problem;
        AddChecks();
        AddPage();
        AddOperations();
        m_server.Start();
        m_watch.Start();
        return {};
    }

    std::uint16_t Port() const { return m_server.Port(); }

    void Stop()
    {
        m_feed.Close();
        m_gate.Close();
        m_server.Stop();
    }

private:
    /// One viewer, for as long as its stream goes on.
    struct Viewer
    {
        EventFeedC::Seen seen{};
        std::chrono::steady_clock::time_point lastSent = std::chrono::steady_clock::now();
        bool greeted = false;
    };

    void AddChecks()
    {
        httplib::Server& handlers = m_server.Handlers();
        handlers.set_default_headers(HeadersOfAll());
        handlers.set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response) {
                const HttpRefusal refusal =
                    CheckRequest(request, m_server.Port(), kPostTypes, kMostBodyBytes);
                if (refusal.status == 0)
                    return httplib::Server::HandlerResponse::Unhandled;
                if (refusal.status == 405)
                    response.set_header("Allow", "GET, POST");
                Refuse(response, refusal.status, refusal.reason);
                return httplib::Server::HandlerResponse::Handled;
            });
        // What the library itself refuses has no reason yet.
        handlers.set_error_handler([](const httplib::Request&, httplib::Response& response) {
            if (response.body.empty()) {
                Refuse(response, response.status,
                       response.status == 404 ? "there is no such page" : "not a request");
            }
        });
        handlers.set_exception_handler(
            [](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
                Refuse(response, 500, "the request could not be carried out");
            });
    }

    void AddPage()
    {
        for (const EmbeddedFile& file : EmbeddedFiles()) {
            for (const std::string& pattern : PatternsOf(file.name)) {
                m_server.Handlers().Get(
                    pattern, [file](const httplib::Request&, httplib::Response& response) {
                        response.set_content(file.content, ContentTypeOf(file.name));
                    });
            }
        }
    }

    void AddOperations()
    {
        httplib::Server& handlers = m_server.Handlers();
        handlers.Get(kStream, [this](const httplib::Request&, httplib::Response& response) {
            OpenStream(response);
        });
        handlers.Get("/trail", [this](const httplib::Request&, httplib::Response& response) {
            GiveTrail(response);
        });
        handlers.Post(
            "/command", [this](const httplib::Request& request, httplib::Response& response) {
                Give(response, m_commands.Command(request.body, HttpServerC::WhetherPeerHasGone()));
            });
        handlers.Post("/wayline", [this](const httplib::Request& request,
                                         httplib::Response& response) {
            Give(response, m_commands.SetWayline(request.body, HttpServerC::WhetherPeerHasGone()));
        });
    }

    void OpenStream(httplib::Response& response)
    {
        // A page that is loaded anew may come before its predecessor is known to have gone.
        if (!m_feed.Enter(2 * m_times.closedPeer)) {
            response.set_header("Retry-After", "5");
            Refuse(response, 503, std::to_string(kMostViewers) + " viewers are there already");
            return;
        }
        // Leaves with the last copy of the answer's stream, however that ends.
        const std::shared_ptr<Viewer> viewer(new Viewer, [this](Viewer* gone) {
            delete gone;
            m_feed.Leave();
        });
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, viewer](std::size_t, httplib::DataSink& sink) { return Tell(*viewer, sink); });
    }

    /// Sends a viewer what is new, or waits a moment for it.
    ///
    /// @return false when the stream ends.
    bool Tell(Viewer& viewer, httplib::DataSink& sink)
    {
        using std::chrono::steady_clock;
        std::string text = viewer.greeted ? "" : "retry: 1000\n\n";
        viewer.greeted = true;
        if (text.empty()) {
            for (const EventFeedC::Message& message : m_feed.Take(viewer.seen, m_times.closedPeer))
                text += *message;
        }
        if (m_feed.Closed() || !sink.is_writable())
            return false;
        if (text.empty() && steady_clock::now() - viewer.lastSent >= m_times.heartbeat)
            text = ": heartbeat\n\n";
        if (text.empty())
            return true;
        viewer.lastSent = steady_clock::now();
        return sink.write(text.data(), text.size());
    }

    void GiveTrail(httplib::Response& response)
    {
        std::vector<Point> points;
        double end = 0.0;
        const bool done = m_gate.Run([&] {
            points = m_trail.Points();
            const double intervals = m_core.World().Time() / TrailC::kInterval;
            end = std::floor(intervals + 1e-6) * TrailC::kInterval;
        });
        if (done) {
            response.set_content(TrailJson(points, end), kJson);
        } else {
            Refuse(response, 503, "the service does not answer");
        }
    }

    ServiceCoreC& m_core;
    const TrailC& m_trail;
    LivePageTimes m_times;
    EventFeedC m_feed;
    LoopGateC m_gate;
    PageCommandsC m_commands;
    PageWatchC m_watch;
    HttpServerC m_server;
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
