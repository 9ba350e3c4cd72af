#include "tools/navctl/feed/BurstShape.h"

#include <algorithm>

namespace {

/// A stream of many talkers has some dozens; noise must not make more of them.
constexpr std::size_t kMostShapes = 512;

} // namespace

bool CBurstShape::ShowTimed(NmeaKind before, NmeaKind behind)
{
    if (before == behind) {
        return false;
    }
    const bool isOther = m_timed.erase({behind, before}) > 0;
    if (m_timed.size() >= kMostShapes) {
        m_timed.clear();
    }
    m_timed.emplace(before, behind);
    return isOther;
}

void CBurstShape::ShowBetweenTimes(NmeaKind untimed, const Neighbours& neighbours)
{
    std::optional<Neighbours>& known = SeenOf(untimed).betweenTimes;
    // Where a neighbour was lost, the ones that remain leave it more room than it has.
    if (!known || !IsInFront(neighbours.before, known->before)) {
        known = Neighbours{neighbours.before, known ? known->behind : neighbours.behind};
    }
    if (!IsInFront(known->behind, neighbours.behind)) {
        known->behind = neighbours.behind;
    }
}

bool CBurstShape::ShowWithin(NmeaKind untimed, const Neighbours& neighbours, bool comesOften,
                             bool isAnywhere)
{
    Seen& seen = SeenOf(untimed);
    const bool isElsewhereWithin = seen.within && !isAnywhere &&
                                   (IsInFront(neighbours.behind, seen.within->before) ||
                                    IsInFront(seen.within->behind, neighbours.before));
    const bool isBetweenTimes = seen.betweenTimes && !(comesOften && seen.within) &&
                                IsInFront(neighbours.behind, seen.betweenTimes->before) &&
                                IsInFront(seen.betweenTimes->behind, neighbours.before);
    seen.betweenTimes.reset();
    seen.within = neighbours;
    return isElsewhereWithin || isBetweenTimes;
}

bool CBurstShape::ShowCount(NmeaKind untimed, std::ptrdiff_t count)
{
    Seen& seen = SeenOf(untimed);
    const bool isMore = seen.most > 0 && count > seen.most;
    seen.most = std::max(seen.most, count);
    return isMore;
}

/// Whether one is the other, or stood before it when this was shown last.
bool CBurstShape::IsInFront(NmeaKind before, NmeaKind behind) const
{
    return before == behind || m_timed.count({before, behind}) > 0;
}

CBurstShape::Seen& CBurstShape::SeenOf(NmeaKind untimed)
{
    if (m_untimed.size() >= kMostShapes) {
        m_untimed.clear();
    }
    return m_untimed[untimed];
}
