#include "report/RunPath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t kSegmentsOfABox = 32;
constexpr std::size_t kBoxesOfAGroup = 32;

RunPlace Between(const RunPlace& from, const RunPlace& to, double share)
{
    const auto mix = [share](double a, double b) { return a + (b - a) * share; };
    return {mix(from.x, to.x), mix(from.y, to.y), mix(from.time, to.time),
            mix(from.error, to.error), mix(from.implementError, to.implementError)};
}

} // namespace

double CRunPath::Box::SquareTo(double x, double y) const
{
    const double dx = std::max({west - x, 0.0, x - east});
    const double dy = std::max({south - y, 0.0, y - north});
    return dx * dx + dy * dy;
}

void CRunPath::Add(const RunPlace& place, double speed)
{
    if (!m_places.empty()) {
        m_metres += std::hypot(place.x - m_places.back().x, place.y - m_places.back().y);
    }
    m_places.push_back(place);
    m_speed += (speed - m_speed) / static_cast<double>(m_places.size());
}

void CRunPath::Finish()
{
    m_boxes.clear();
    for (std::size_t first = 0; first + 1 < m_places.size(); first += kSegmentsOfABox) {
        const std::size_t last = std::min(first + kSegmentsOfABox, m_places.size() - 1);
        Box box{m_places[first].x, m_places[first].x, m_places[first].y, m_places[first].y};
        for (std::size_t i = first; i <= last; ++i) {
            box.west = std::min(box.west, m_places[i].x);
            box.east = std::max(box.east, m_places[i].x);
            box.south = std::min(box.south, m_places[i].y);
            box.north = std::max(box.north, m_places[i].y);
        }
        m_boxes.push_back(box);
    }
    m_groups.clear();
    for (std::size_t i = 0; i < m_boxes.size(); ++i) {
        if (i % kBoxesOfAGroup == 0) {
            m_groups.push_back(m_boxes[i]);
        } else {
            m_groups.back() = Around(m_groups.back(), m_boxes[i]);
        }
    }
}

CRunPath::Box CRunPath::Around(const Box& box, const Box& other)
{
    return {std::min(box.west, other.west), std::max(box.east, other.east),
            std::min(box.south, other.south), std::max(box.north, other.north)};
}

void CRunPath::SearchSegments(std::size_t box, double x, double y, Found& best) const
{
    const std::size_t first = box * kSegmentsOfABox;
    const std::size_t last = std::min(first + kSegmentsOfABox, m_places.size() - 1);
    for (std::size_t i = first; i < last; ++i) {
        const RunPlace& from = m_places[i];
        const double ux = m_places[i + 1].x - from.x;
        const double uy = m_places[i + 1].y - from.y;
        const double square = ux * ux + uy * uy;
        const double along = square > 0.0 ? ((x - from.x) * ux + (y - from.y) * uy) / square : 0.0;
        const double share = std::clamp(along, 0.0, 1.0);
        const double dx = from.x + share * ux - x;
        const double dy = from.y + share * uy - y;
        if (dx * dx + dy * dy < best.square) {
            best = {dx * dx + dy * dy, i, share};
        }
    }
}

void CRunPath::SearchBoxes(std::size_t group, double x, double y, Found& best) const
{
    const std::size_t first = group * kBoxesOfAGroup;
    const std::size_t last = std::min(first + kBoxesOfAGroup, m_boxes.size());
    for (std::size_t box = first; box < last; ++box) {
        if (m_boxes[box].SquareTo(x, y) < best.square) {
            SearchSegments(box, x, y, best);
        }
    }
}

std::optional<RunPlace> CRunPath::Nearest(double x, double y, std::size_t& hint) const
{
    if (m_boxes.empty()) {
        return std::nullopt;
    }
    Found best{std::numeric_limits<double>::infinity(), 0, 0.0};
    SearchSegments(std::min(hint / kSegmentsOfABox, m_boxes.size() - 1), x, y, best);
    for (std::size_t group = 0; group < m_groups.size(); ++group) {
        if (m_groups[group].SquareTo(x, y) < best.square) {
            SearchBoxes(group, x, y, best);
        }
    }
    hint = best.segment;
    const bool isFirstEnd = best.segment == 0 && best.share <= 0.0;
    const bool isLastEnd = best.segment + 2 >= m_places.size() && best.share >= 1.0;
    if (isFirstEnd || isLastEnd) {
        return std::nullopt;
    }
    return Between(m_places[best.segment], m_places[best.segment + 1], best.share);
}
