#include "tools/fieldfiles/DateLine.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "tools/fieldfiles/FieldGeodesy.h"

namespace {

using Places = std::vector<FieldPlace>;
using Rings = std::vector<Places>;

bool IsOnDateLine(const FieldPlace& place)
{
    constexpr double kTenthOfAMillimetre = 1e-9;
    return 180.0 - std::abs(place.longitude) <= kTenthOfAMillimetre;
}

/// Whether a place on the 180th meridian lies on the straight between its neighbours on a map, so
/// that it may have been put there to cut the line.
bool IsCut(const FieldPlace& before, const FieldPlace& place, const FieldPlace& after)
{
    const double eastBefore = std::remainder(place.longitude - before.longitude, 360.0);
    const double eastAfter = std::remainder(after.longitude - place.longitude, 360.0);
    const double east = eastBefore + eastAfter;
    if (east == 0.0) {
        return false;
    }
    constexpr double kMillimetre = 1e-8;
    const double expected =
        before.latitude + (after.latitude - before.latitude) * (eastBefore / east);
    return std::abs(place.latitude - expected) <= kMillimetre;
}

} // namespace

std::vector<Places> Joined(std::vector<std::vector<Places>> parts)
{
    std::vector<Places> lines;
    for (std::vector<Places>& part : parts) {
        if (part.empty()) {
            continue;
        }
        Places& places = part.front();
        const bool goesOn = !lines.empty() && !lines.back().empty() && places.size() > 1 &&
                            IsOnDateLine(places.front()) &&
                            IsSamePlace(lines.back().back(), places.front());
        if (!goesOn) {
            lines.push_back(std::move(places));
            continue;
        }
        Places& line = lines.back();
        if (line.size() > 1 && IsCut(line[line.size() - 2], line.back(), places[1])) {
            line.pop_back();
        }
        line.insert(line.end(), places.begin() + 1, places.end());
    }
    return lines;
}

namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

/// The rings of areas that run with the area on their left, as edges: each from its place to that
/// of the edge behind it. An edge along the cut has a counterpart in another ring, which runs
/// against it.
class CCutRings
{
public:
    void Add(const Places& ring)
    {
        const std::size_t first = m_places.size();
        for (std::size_t i = 0; i < ring.size(); ++i) {
            m_places.push_back(ring[i]);
            m_next.push_back(first + (i + 1) % ring.size());
        }
    }

    /// Finds the counterparts. Returns whether there are any.
    bool Pair()
    {
        std::map<std::pair<std::int64_t, std::int64_t>, std::size_t> single;
        m_counterparts.assign(m_places.size(), kNone);
        bool isAny = false;
        for (std::size_t edge = 0; edge < m_places.size(); ++edge) {
            const FieldPlace& from = m_places[edge];
            const FieldPlace& to = m_places[m_next[edge]];
            if (!IsOnDateLine(from) || !IsOnDateLine(to)) {
                continue;
            }
            const auto other = single.find({North(to), North(from)});
            if (other == single.end()) {
                single[{North(from), North(to)}] = edge;
                continue;
            }
            m_counterparts[edge] = other->second;
            m_counterparts[other->second] = edge;
            single.erase(other);
            isAny = true;
        }
        return isAny;
    }

    /// The rings without the edges along the cut; nothing when that leaves no rings.
    std::optional<Rings> Joined() const
    {
        Rings rings;
        std::vector<bool> isDone(m_places.size());
        for (std::size_t first = 0; first < m_places.size(); ++first) {
            if (isDone[first] || m_counterparts[first] != kNone) {
                continue;
            }
            std::vector<std::size_t> edges;
            for (std::size_t edge = first; edge != kNone && !isDone[edge]; edge = Behind(edge)) {
                isDone[edge] = true;
                edges.push_back(edge);
            }
            rings.push_back(PlacesOf(edges));
            if (Behind(edges.back()) != first || rings.back().size() < 3) {
                return std::nullopt;
            }
        }
        return rings;
    }

private:
    /// Tenths of a millimetre, about.
    static std::int64_t North(const FieldPlace& place)
    {
        return std::llround(place.latitude * 1e9);
    }

    /// The edge behind another one: at a cut, that of the other side. None when all edges there are
    /// along cuts.
    std::size_t Behind(std::size_t edge) const
    {
        std::size_t next = m_next[edge];
        for (std::size_t i = 0; i < kMostAtOnePlace; ++i) {
            if (m_counterparts[next] == kNone) {
                return next;
            }
            next = m_next[m_counterparts[next]];
        }
        return kNone;
    }

    /// The places where edges begin, but for those that a cut has put there.
    Places PlacesOf(const std::vector<std::size_t>& edges) const
    {
        Places places;
        for (std::size_t i = 0; i < edges.size(); ++i) {
            const std::size_t before = edges[(i + edges.size() - 1) % edges.size()];
            const std::size_t behind = edges[(i + 1) % edges.size()];
            const FieldPlace& place = m_places[edges[i]];
            const bool isOfCut =
                m_next[before] != edges[i] && IsCut(m_places[before], place, m_places[behind]);
            if (!isOfCut) {
                places.push_back(place);
            }
        }
        return places;
    }

    static constexpr std::size_t kMostAtOnePlace = 8;

    Places m_places;
    std::vector<std::size_t> m_next;
    std::vector<std::size_t> m_counterparts;
};

/// A ring with the area on its left.
Places Turned(Places ring, bool isHole)
{
    if (IsCounterClockwise(ring) == isHole) {
        std::reverse(ring.begin(), ring.end());
    }
    return ring;
}

/// The areas of rings that run with the area on their left: a hole belongs to the exterior ring
/// around it.
std::vector<Rings> AreasOf(Rings rings)
{
    std::vector<Rings> areas;
    Rings holes;
    for (Places& ring : rings) {
        if (IsCounterClockwise(ring)) {
            areas.push_back({std::move(ring)});
        } else {
            holes.push_back(std::move(ring));
        }
    }
    for (Places& hole : holes) {
        const auto around = std::find_if(areas.begin(), areas.end(), [&](const Rings& area) {
            return IsWithin(hole.front(), area.front());
        });
        if (around == areas.end()) {
            return {};
        }
        around->push_back(std::move(hole));
    }
    return areas;
}

} // namespace

std::vector<Rings> JoinedAreas(std::vector<Rings> areas)
{
    const auto isAtDateLine = [](const Rings& rings) {
        return std::any_of(rings.begin(), rings.end(), [](const Places& ring) {
            return std::any_of(ring.begin(), ring.end(), IsOnDateLine);
        });
    };
    if (std::count_if(areas.begin(), areas.end(), isAtDateLine) < 2) {
        return areas;
    }
    CCutRings cut;
    for (const Rings& rings : areas) {
        for (const Places& ring : rings) {
            cut.Add(Turned(ring, &ring != &rings.front()));
        }
    }
    if (!cut.Pair()) {
        return areas;
    }
    std::optional<Rings> rings = cut.Joined();
    std::vector<Rings> joined = rings ? AreasOf(std::move(*rings)) : std::vector<Rings>();
    return joined.empty() ? areas : joined;
}
