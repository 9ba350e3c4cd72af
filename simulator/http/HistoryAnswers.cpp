#include "simulator/http/HistoryAnswers.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/http/AnswerHead.h"
#include "simulator/http/Gzip.h"
#include "simulator/http/PageFiles.h"
#include "simulator/http/PageResources.h"
#include "simulator/http/PageValues.h"
#include "simulator/world/Faults.h"

using nlohmann::json;

namespace {

const char* const kPath = "/history";
const char* const kPiecePath = "/history/";
// It grows as often, at the speed of time.
constexpr std::chrono::milliseconds kFresh(100);

std::string IndexJson(const HistoryNow& now, const std::string& run, double interval)
{
    const HistoryView& view = now.view;
    json faults = json::array();
    for (const FaultKind& kind : FaultKinds()) {
        faults.push_back(kind.name);
    }
    auto sorted = view.marks;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& one, const auto& other) { return one->time < other->time; });
    json marks = json::array();
    for (const auto& mark : sorted) {
        marks.push_back({{"time", mark->time}, {"kind", NameOf(mark->kind)}, {"text", mark->text}});
    }
    return JsonText({{"run", run},
                     {"interval", interval},
                     {"bytes", HistorySample::kBytes},
                     {"samples", CHistory::kPieceSamples},
                     {"first", view.first},
                     {"pieces", view.pieces.size()},
                     {"open", view.open.size() / HistorySample::kBytes},
                     {"faults", std::move(faults)},
                     {"marks", std::move(marks)},
                     {"recording", json::parse(now.recording, nullptr, false)}});
}

void MarkAsCompressed(ServedAnswer& answer)
{
    answer.headers.emplace_back("Content-Encoding", "gzip");
}

/// The number of a piece; nothing for what is none.
std::optional<std::uint64_t> NumberFrom(const std::string& text)
{
    constexpr std::size_t kMostDigits = 15;
    const bool isNumber = !text.empty() && text.size() <= kMostDigits &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::optional<std::uint64_t>(std::stoull(text)) : std::nullopt;
}

} // namespace

CHistoryAnswers::CHistoryAnswers(CPageAside& aside, std::string run, double interval, Fetch fetch)
    : m_aside(aside), m_run(std::move(run)), m_interval(interval), m_fetch(std::move(fetch)),
      m_index{CSharedAnswer([this](const Reply& reply) { GiveIndex(false, reply); }, kFresh),
              CSharedAnswer([this](const Reply& reply) { GiveIndex(true, reply); }, kFresh)}
{
}

bool CHistoryAnswers::Give(const std::shared_ptr<CHttpConnection>& connection)
{
    const std::string& path = connection->Request().path;
    const std::string pieces = kPiecePath;
    if (path == kPath) {
        m_index[TakesGzip(connection->Request()) ? 1 : 0].Give(connection);
    } else if (path.compare(0, pieces.size(), pieces) == 0) {
        GivePiece(connection, path.substr(pieces.size()));
    } else {
        return false;
    }
    return true;
}

void CHistoryAnswers::GiveIndex(bool isCompressed, const Reply& reply)
{
    m_fetch(reply, [this, isCompressed, reply](const NowPtr& now) {
        Keep(now);
        const auto write = [now, isCompressed, run = m_run, interval = m_interval] {
            std::string text = IndexJson(*now, run, interval);
            return isCompressed ? Gzipped(text) : text;
        };
        m_aside.Do(write, [isCompressed, reply](const std::shared_ptr<std::string>& text) {
            if (!text) {
                reply(RefusalOf(500, kFailed));
                return;
            }
            DoOrRefuse(reply, [&] {
                ServedAnswer answer = JsonAnswer(200, std::move(*text));
                if (isCompressed) {
                    MarkAsCompressed(answer);
                }
                reply(answer);
            });
        });
    });
}

void CHistoryAnswers::Keep(const NowPtr& now)
{
    m_now = now;
    const std::uint64_t first = now->view.first;
    const std::uint64_t open = first + now->view.pieces.size();
    m_compressed.erase(m_compressed.begin(), m_compressed.lower_bound(first));
    // What was open has become more, or full.
    m_compressed.erase(m_compressed.lower_bound(std::min(open, m_open)), m_compressed.end());
    m_open = open;
}

void CHistoryAnswers::GivePiece(const std::shared_ptr<CHttpConnection>& connection,
                                const std::string& text)
{
    const std::optional<std::uint64_t> number = NumberFrom(text);
    const HistoryView::Piece piece = number ? PieceOf(m_now->view, *number) : nullptr;
    if (!piece) {
        connection->Answer(RefusalOf(404, "there is no such piece of the history, or no more"));
        return;
    }
    ServedAnswer answer{200, "application/octet-stream", piece, {}};
    if (TakesGzip(connection->Request())) {
        answer.body = Compressed(*number, piece);
        MarkAsCompressed(answer);
    }
    connection->Answer(answer);
}

ServedAnswer::Body CHistoryAnswers::Compressed(std::uint64_t number,
                                               const HistoryView::Piece& piece)
{
    ServedAnswer::Body& kept = m_compressed[number];
    if (!kept) {
        kept = std::make_shared<const std::string>(Gzipped(*piece));
    }
    return kept;
}
