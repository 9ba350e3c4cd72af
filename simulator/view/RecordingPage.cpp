#include "simulator/view/RecordingPage.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "recording/RecordingClock.h"
#include "simulator/http/EventFeed.h"
#include "simulator/http/HistoryAnswers.h"
#include "simulator/http/HttpServer.h"
#include "simulator/http/PageAside.h"
#include "simulator/http/PageFiles.h"
#include "simulator/http/PageResources.h"
#include "simulator/http/PageValues.h"
#include "simulator/http/RequestCheck.h"
#include "simulator/http/Viewers.h"
#include "simulator/view/DriveReader.h"

using nlohmann::json;

namespace {

using ConnectionPtr = std::shared_ptr<CHttpConnection>;

const char* const kNothingDrives = "this is a recording: nothing is driven here";
const char* const kPartPath = "/recording/";
const PostTypes kPostTypes{{"/command", "application/json"}, {"/wayline", "application/json"}};
constexpr std::size_t kMostBodyBytes = 65536;
constexpr std::size_t kMostViewers = 16;
constexpr std::size_t kHeld = std::size_t{192} * 1024 * 1024; // parts of a recording among it

std::string NameOf(const std::string& path)
{
    return path.substr(path.find_last_of('/') + 1);
}

/// What a name in a header may have.
std::string Plain(std::string name)
{
    for (char& letter : name) {
        const bool isPlain = (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
                             (letter >= 'a' && letter <= 'z') || letter == '-' || letter == '_';
        letter = isPlain ? letter : '_';
    }
    return name;
}

/// The part that a path asks for, as in "/recording/1500-20000": milliseconds since the start.
std::optional<std::pair<double, double>> SpanFrom(const std::string& text)
{
    constexpr std::size_t mostDigits = 12;
    constexpr double milliseconds = 1000.0;
    const std::size_t dash = text.find('-');
    const auto isNumber = [](const std::string& word) {
        return !word.empty() && word.size() <= mostDigits &&
               word.find_first_not_of("0123456789") == std::string::npos;
    };
    if (dash == std::string::npos || !isNumber(text.substr(0, dash)) ||
        !isNumber(text.substr(dash + 1))) {
        return std::nullopt;
    }
    const double from = std::stod(text.substr(0, dash)) / milliseconds;
    const double to = std::stod(text.substr(dash + 1)) / milliseconds;
    return from < to ? std::optional(std::pair(from, to)) : std::nullopt;
}

} // namespace

class CRecordingPage::CState
{
public:
    CState(asio::io_context& loop, std::string path, std::function<void(const std::string&)> log)
        : m_path(std::move(path)), m_log(std::move(log)), m_aside(loop),
          m_viewers(loop, m_feed, ViewerRules()),
          m_history(m_aside, m_run, 0.0,
                    [this](const CSharedAnswer::Reply&, const auto& then) { then(Now()); }),
          m_server(loop, {},
                   {[this](const ServedRequest& request) {
                        return CheckRequest(request, m_server.Port(), kPostTypes, kMostBodyBytes);
                    },
                    [this](const ConnectionPtr& connection) { Serve(connection); }},
                   Limits())
    {
    }

    std::string Listen(std::uint16_t port)
    {
        std::string problem = m_server.Listen(port);
        if (!problem.empty()) {
            return problem;
        }
        m_viewers.Start();
        m_aside.Start();
        m_aside.Do([path = m_path, progress = m_progress] { return ReadDrive(path, *progress); },
                   [this](const std::shared_ptr<RecordedDrive>& drive) { Take(drive); });
        return {};
    }

    std::uint16_t Port() const { return m_server.Port(); }

    void Stop()
    {
        m_aside.End();
        m_server.Close();
        m_aside.Join();
    }

private:
    static HttpLimits Limits()
    {
        HttpLimits limits;
        limits.held = kHeld;
        return limits;
    }

    static CViewers::Rules ViewerRules()
    {
        using std::chrono::milliseconds;
        return {kMostViewers, milliseconds(500), milliseconds(5000), milliseconds(500),
                milliseconds(1000)};
    }

    void Take(const std::shared_ptr<RecordedDrive>& drive)
    {
        m_drive = drive ? *drive : RecordedDrive{{}, 0, "it could not be read"};
        m_isRead = true;
        if (!m_drive.problem.empty() && m_log) {
            m_log(m_path + ": " + m_drive.problem);
        }
    }

    CHistoryAnswers::NowPtr Now() const
    {
        const auto now = std::make_shared<HistoryNow>();
        const auto size = static_cast<double>(m_progress->size);
        const auto read = static_cast<double>(m_progress->position);
        now->view = m_drive.view;
        now->recording = JsonText(
            {{"name", NameOf(m_path)},
             {"read", m_isRead     ? 1.0
                      : size > 0.0 ? read / size * 0.99
                                   : 0.0},
             {"problem", m_drive.problem},
             {"start", m_drive.start == 0 ? std::string() : RecordingTimeText(m_drive.start)}});
        return now;
    }

    void Serve(const ConnectionPtr& connection)
    {
        const ServedRequest& request = connection->Request();
        const std::string part = kPartPath;
        if (request.method == "POST") {
            connection->Answer(RefusalOf(409, kNothingDrives));
        } else if (request.path == "/events") {
            m_viewers.Add(connection);
        } else if (const auto file = m_files.AnswerTo(request)) {
            connection->Answer(*file);
        } else if (m_history.Give(connection)) {
            return;
        } else if (request.path == "/trail") {
            connection->Answer(JsonAnswer(
                200,
                JsonText(
                    {{"end", 0.0}, {"interval", 0.1}, {"points", json::array()}, {"run", m_run}})));
        } else if (request.path == "/wayline") {
            connection->Answer(JsonAnswer(200, TextJson({})));
        } else if (request.path.compare(0, part.size(), part) == 0) {
            GivePart(connection, request.path.substr(part.size()));
        } else {
            connection->Answer(RefusalOf(404, "there is no such page"));
        }
    }

    void GivePart(const ConnectionPtr& connection, const std::string& text)
    {
        const auto span = SpanFrom(text);
        if (!span) {
            connection->Answer(RefusalOf(404, "there is no such part of the recording"));
            return;
        }
        m_aside.ForgetUnwanted();
        const auto problem = std::make_shared<std::string>("the recording could not be read");
        m_aside.Do(
            [path = m_path, span, problem] {
                problem->clear();
                return PartOfRecording(path, span->first, span->second, *problem);
            },
            [this, connection, problem](const std::shared_ptr<std::string>& part) {
                Answer(connection, part, *problem);
            },
            connection);
    }

    void Answer(const ConnectionPtr& connection, const std::shared_ptr<std::string>& part,
                const std::string& problem) const
    {
        if (!part || !problem.empty()) {
            connection->Answer(RefusalOf(409, problem));
            return;
        }
        const std::string name = NameOf(m_path);
        ServedAnswer answer{200, "application/octet-stream", part, {}};
        answer.headers.emplace_back("Content-Disposition",
                                    "attachment; filename=\"" +
                                        Plain(name.substr(0, name.rfind('.'))) + "-part.mcap\"");
        connection->Answer(answer);
    }

    const std::string m_path;
    const std::function<void(const std::string&)> m_log; ///< may be empty
    const std::string m_run =
        std::to_string(std::chrono::system_clock::now().time_since_epoch().count());
    const std::shared_ptr<ReadingProgress> m_progress = std::make_shared<ReadingProgress>();
    RecordedDrive m_drive;
    bool m_isRead = false;
    CEventFeed m_feed;
    CPageAside m_aside;
    CViewers m_viewers;
    const CPageFiles m_files;
    CHistoryAnswers m_history;
    CHttpServer m_server;
};

CRecordingPage::CRecordingPage(asio::io_context& loop, std::string path,
                               std::function<void(const std::string&)> log)
    : m_state(std::make_unique<CState>(loop, std::move(path), std::move(log)))
{
}

CRecordingPage::~CRecordingPage()
{
    Stop();
}

std::string CRecordingPage::Listen(std::uint16_t port)
{
    return m_state->Listen(port);
}

std::uint16_t CRecordingPage::Port() const
{
    return m_state->Port();
}

void CRecordingPage::Stop()
{
    m_state->Stop();
}
