#include "simulator/guidance/CurveShape.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "simulator/guidance/CurveOffset.h"
#include "simulator/guidance/CurvePoints.h"

namespace {

/// Segments that follow each other are looked at together, so many as lie within a small part of
/// the whole: of points that lie scattered, each by itself.
constexpr std::size_t kGroupSize = 32;
constexpr double kGroupShare = 64.0;
/// Curvature is the turn over this distance to both sides, which evens out the steps that
/// Catmull-Rom curves make at their points.
constexpr double kCurvatureReach = 1.0;
/// How far ProjectNear() looks to both sides of the hint, metres.
constexpr double kNearReach = 2.5;
/// How many segments beyond that it follows a place that has moved on farther: 4 km at least.
constexpr std::size_t kFarthestWalk = 16384;
/// The same of a search that begins there and goes on over the whole line.
constexpr std::size_t kFarthestStart = 256;
/// A parallel shorter than that part of the bend it belongs to is taken to fold over.
constexpr double kLeastStretch = 0.3;
/// How far the corners of a parallel are rounded to both sides, points.
constexpr int kCornerReach = 16;

} // namespace

CCurveShape::CCurveShape(const std::vector<Point>& dense, EEnds ends) : m_ends(ends)
{
    m_vertices.reserve(dense.size());
    double station = 0.0;
    for (std::size_t i = 0; i < dense.size(); ++i) {
        station += i == 0 ? 0.0 : Distance(dense[i - 1], dense[i]);
        m_vertices.push_back({dense[i], 0.0, 0.0, station});
    }
    SetHeadings();
    SetCurvatures();
    MakeGroups();
}

void CCurveShape::SetHeadings()
{
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const Point& before = m_vertices[i == 0 ? 0 : i - 1].position;
        const Point& after = m_vertices[std::min(i + 1, m_vertices.size() - 1)].position;
        m_vertices[i].heading =
            NormaliseHeading(std::atan2(after.x - before.x, after.y - before.y));
    }
}

void CCurveShape::SetCurvatures()
{
    const double spacing = Length() / static_cast<double>(m_vertices.size() - 1);
    const auto reach =
        std::max<std::size_t>(1, static_cast<std::size_t>(kCurvatureReach / spacing));
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const Vertex& before = m_vertices[i < reach ? 0 : i - reach];
        const Vertex& after = m_vertices[std::min(i + reach, m_vertices.size() - 1)];
        m_vertices[i].curvature =
            NormaliseTurn(after.heading - before.heading) / (after.station - before.station);
    }
}

void CCurveShape::MakeGroups()
{
    Box whole = Box::Around(m_vertices.front().position);
    for (const Vertex& vertex : m_vertices) {
        whole.Take(Box::Around(vertex.position));
    }
    const double largest = Distance(whole.least, whole.most) / kGroupShare;
    std::vector<Box> boxes;
    for (std::size_t first = 0; first + 1 < m_vertices.size();) {
        Box box = Box::Around(m_vertices[first].position);
        box.Take(Box::Around(m_vertices[first + 1].position));
        std::size_t last = first + 1;
        while (last + 1 < m_vertices.size() && last - first < kGroupSize &&
               Distance(box.least, box.most) <= largest) {
            ++last;
            box.Take(Box::Around(m_vertices[last].position));
        }
        m_groups.push_back({first, last});
        boxes.push_back(box);
        first = last;
    }
    m_tree = CBoxTree(boxes);
}

CCurveShape::OnSegment CCurveShape::NearestOn(std::size_t segment, const Point& place) const
{
    const Point& from = m_vertices[segment].position;
    const Point& to = m_vertices[segment + 1].position;
    const double alongX = to.x - from.x;
    const double alongY = to.y - from.y;
    const double share = std::clamp(((place.x - from.x) * alongX + (place.y - from.y) * alongY) /
                                        (alongX * alongX + alongY * alongY),
                                    0.0, 1.0);
    const double offX = place.x - from.x - share * alongX;
    const double offY = place.y - from.y - share * alongY;
    return {share, offX * offX + offY * offY};
}

LinePoint CCurveShape::Between(std::size_t segment, double share) const
{
    const Vertex& from = m_vertices[segment];
    const Vertex& to = m_vertices[segment + 1];
    const double turn = NormaliseTurn(to.heading - from.heading);
    return {{from.position.x + (to.position.x - from.position.x) * share,
             from.position.y + (to.position.y - from.position.y) * share},
            NormaliseHeading(from.heading + turn * share),
            from.curvature + (to.curvature - from.curvature) * share};
}

Projection CCurveShape::PastEnd(const Vertex& end, double beyond, const Point& place) const
{
    const LinePoint foot{Moved(end.position, end.heading, beyond, 0.0), end.heading, 0.0};
    const double crossTrack = RightwardOf(end.position, end.heading, place);
    const double distance =
        m_ends == EEnds::Straight ? std::abs(crossTrack) : Distance(end.position, place);
    return {end.station + beyond, foot, crossTrack, distance};
}

Projection CCurveShape::ProjectOnto(std::size_t segment, const Point& place) const
{
    const OnSegment nearest = NearestOn(segment, place);
    const Vertex& first = m_vertices.front();
    const Vertex& last = m_vertices.back();
    const double before = AheadOf(first.position, first.heading, place);
    if (segment == 0 && nearest.share <= 0.0 && before < 0.0) {
        return PastEnd(first, before, place);
    }
    const double after = AheadOf(last.position, last.heading, place);
    if (segment + 2 == m_vertices.size() && nearest.share >= 1.0 && after > 0.0) {
        return PastEnd(last, after, place);
    }
    const LinePoint foot = Between(segment, nearest.share);
    const double distance = std::sqrt(nearest.squaredDistance);
    const double right = RightwardOf(foot.position, foot.heading, place);
    const double length = m_vertices[segment + 1].station - m_vertices[segment].station;
    return {m_vertices[segment].station + nearest.share * length, foot,
            std::copysign(distance, right), distance};
}

Projection CCurveShape::Project(const Point& place) const
{
    std::size_t looks = std::numeric_limits<std::size_t>::max();
    const Nearest first{0, NearestOn(0, place).squaredDistance};
    return WithExtensions(NearestOfAll(place, first, looks).segment, place);
}

Projection CCurveShape::ProjectFrom(const Point& place, double station, std::size_t& looks) const
{
    const Nearest near = NearestNear(place, station, kFarthestStart);
    return WithExtensions(NearestOfAll(place, near, looks).segment, place);
}

CCurveShape::Nearest CCurveShape::NearestOfAll(const Point& place, Nearest found,
                                               std::size_t& looks) const
{
    double limit = found.squaredDistance;
    m_tree.Search(place, limit, looks, [&](std::size_t group) {
        const Group& run = m_groups[group];
        CountLooks(looks, run.last - run.first);
        for (std::size_t segment = run.first; segment < run.last; ++segment) {
            const double distance = NearestOn(segment, place).squaredDistance;
            // Of two that are equally near, the first one along the line.
            if (distance < limit || (distance == limit && segment < found.segment)) {
                found = {segment, distance};
                limit = distance;
            }
        }
    });
    return found;
}

Projection CCurveShape::WithExtensions(std::size_t segment, const Point& place) const
{
    Projection projection = ProjectOnto(segment, place);
    if (m_ends == EEnds::Stop) {
        return projection;
    }
    // An extension may pass nearer than the curve itself.
    for (const Vertex* end : {&m_vertices.front(), &m_vertices.back()}) {
        const double ahead = AheadOf(end->position, end->heading, place);
        const bool past = end == &m_vertices.front() ? ahead < 0.0 : ahead > 0.0;
        const Projection extension = PastEnd(*end, ahead, place);
        if (past && extension.distance < projection.distance) {
            projection = extension;
        }
    }
    return projection;
}

std::size_t CCurveShape::SegmentAt(double station) const
{
    const auto after =
        std::upper_bound(m_vertices.begin() + 1, m_vertices.end() - 1, station,
                         [](double value, const Vertex& vertex) { return value < vertex.station; });
    return static_cast<std::size_t>(after - m_vertices.begin()) - 1;
}

Projection CCurveShape::ProjectNear(const Point& place, double station) const
{
    return ProjectOnto(NearestNear(place, station, kFarthestWalk).segment, place);
}

CCurveShape::Nearest CCurveShape::NearestNear(const Point& place, double station,
                                              std::size_t farthest) const
{
    const std::size_t first = SegmentAt(station - kNearReach);
    const std::size_t last = SegmentAt(station + kNearReach);
    Nearest best{first, NearestOn(first, place).squaredDistance};
    const auto look = [&](std::size_t segment) {
        const double distance = NearestOn(segment, place).squaredDistance;
        const bool nearer = distance < best.squaredDistance;
        if (nearer) {
            best = {segment, distance};
        }
        return nearer;
    };
    for (std::size_t segment = first + 1; segment <= last; ++segment) {
        look(segment);
    }
    // Nearest at the border of the window: the place has moved on further than that.
    if (best.segment == first) {
        while (best.segment > 0 && first - best.segment < farthest && look(best.segment - 1)) {
        }
    }
    if (best.segment == last) {
        while (best.segment + 2 < m_vertices.size() && best.segment - last < farthest &&
               look(best.segment + 1)) {
        }
    }
    return best;
}

LinePoint CCurveShape::At(double station) const
{
    const Vertex& end = station < 0.0 ? m_vertices.front() : m_vertices.back();
    if (station < 0.0 || station > end.station) {
        return {Moved(end.position, end.heading, station - end.station, 0.0), end.heading, 0.0};
    }
    const std::size_t segment = SegmentAt(station);
    const double from = m_vertices[segment].station;
    return Between(segment, (station - from) / (m_vertices[segment + 1].station - from));
}

Stretch CCurveShape::Clip(const Stretch& stretch) const
{
    if (m_ends == EEnds::Straight) {
        return stretch;
    }
    return {std::clamp(stretch.from, 0.0, Length()), std::clamp(stretch.to, 0.0, Length())};
}

double CCurveShape::Length() const
{
    return m_vertices.back().station;
}

LineShapePtr CCurveShape::Parallel(double offset) const
{
    std::vector<Point> curve;
    std::vector<Point> parallel;
    curve.reserve(m_vertices.size());
    parallel.reserve(m_vertices.size());
    bool folds = false;
    for (const Vertex& vertex : m_vertices) {
        curve.push_back(vertex.position);
        parallel.push_back(Moved(vertex.position, vertex.heading, 0.0, offset));
        folds = folds || 1.0 - vertex.curvature * offset < kLeastStretch;
    }
    std::vector<std::size_t> kept(parallel.size());
    std::iota(kept.begin(), kept.end(), 0);
    if (folds) {
        kept = KeptClear(parallel, curve, std::abs(offset));
    }
    std::vector<Point> clear;
    clear.reserve(kept.size());
    for (const std::size_t place : kept) {
        clear.push_back(parallel[place]);
    }
    if (PolylineLength(clear) < kLeastCurveLength) {
        return nullptr;
    }
    std::vector<Point> even = EvenlySpaced(clear);
    if (clear.size() < parallel.size()) {
        even = EvenlySpaced(SmoothedByMeans(SmoothedByMeans(even, kCornerReach), kCornerReach));
    }
    const auto shape = std::make_shared<CCurveShape>(even, m_ends);
    shape->SetBeside(*this, kept, clear);
    return shape;
}

void CCurveShape::SetBeside(const CCurveShape& base, const std::vector<std::size_t>& kept,
                            const std::vector<Point>& clear)
{
    // Rounded corners make the way shorter, by little.
    const double share = Length() / PolylineLength(clear);
    m_beside.reserve(kept.size());
    double walked = 0.0;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        walked += i == 0 ? 0.0 : Distance(clear[i - 1], clear[i]);
        m_beside.push_back({base.m_vertices[kept[i]].station, walked * share});
    }
}

double CCurveShape::StationFromBase(double station) const
{
    return Translated(m_beside, &Beside::base, &Beside::here, station);
}

double CCurveShape::StationOnBase(double station) const
{
    return Translated(m_beside, &Beside::here, &Beside::base, station);
}

double CCurveShape::Translated(const std::vector<Beside>& table, double Beside::*from,
                               double Beside::*to, double station)
{
    if (table.empty()) {
        return station;
    }
    // Past an end a parallel goes on as its base does.
    if (station <= table.front().*from) {
        return table.front().*to + station - table.front().*from;
    }
    if (station >= table.back().*from) {
        return table.back().*to + station - table.back().*from;
    }
    const auto after = std::upper_bound(
        table.begin(), table.end(), station,
        [from](double value, const Beside& beside) { return value < beside.*from; });
    const Beside& left = *(after - 1);
    const double share = (station - left.*from) / ((*after).*from - left.*from);
    return left.*to + share * ((*after).*to - left.*to);
}
