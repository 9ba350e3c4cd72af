#include "simulator/http/Trail.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

namespace {

constexpr std::size_t kPointsOfAPiece = 600; // a minute

} // namespace

EventSink CTrail::Sink()
{
    return [this](const std::string& event, const BListC& payload) {
        if (event == "cb_relative_position") {
            Add({payload.GetDouble(0), payload.GetDouble(1)});
        }
    };
}

void CTrail::Add(const Point& position)
{
    const std::string text = PointJson(position).dump() + ",";
    m_newest += text;
    m_lengths.push_back(static_cast<std::uint8_t>(text.size())); // two numbers have fewer than 60
    if (++m_pointsOfNewest == kPointsOfAPiece) {
        m_pieces.push_back(std::make_shared<const std::string>(std::exchange(m_newest, {})));
        m_pointsOfNewest = 0;
    }
    if (m_lengths.size() > kMostPoints) {
        m_skipped += m_lengths.front();
        m_lengths.pop_front();
        if (m_skipped == m_pieces.front()->size()) {
            m_pieces.pop_front();
            m_skipped = 0;
        }
    }
}

TrailText CTrail::Text() const
{
    return {{m_pieces.begin(), m_pieces.end()}, m_skipped, m_newest};
}

std::string TrailJson(const TrailText& positions, double end, const std::string& run)
{
    std::size_t size = positions.newest.size();
    for (const auto& piece : positions.pieces) {
        size += piece->size();
    }
    constexpr std::size_t kFrame = 200;
    std::string text;
    text.reserve(size + kFrame);
    text += R"({"end":)" + nlohmann::json(end).dump() + R"(,"interval":)" +
            nlohmann::json(CTrail::kInterval).dump() + R"(,"points":[)";
    std::size_t skipped = positions.skipped;
    for (const auto& piece : positions.pieces) {
        text.append(*piece, std::exchange(skipped, 0), std::string::npos);
    }
    text += positions.newest;
    if (text.back() == ',') { // behind the last one
        text.pop_back();
    }
    text += R"(],"run":)" + nlohmann::json(run).dump() + "}";
    return text;
}
