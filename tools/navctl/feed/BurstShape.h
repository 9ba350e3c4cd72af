#ifndef KESTROVE_TOOLS_NAVCTL_FEED_BURSTSHAPE_H
#define KESTROVE_TOOLS_NAVCTL_FEED_BURSTSHAPE_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "tools/navctl/feed/BurstOrder.h"

/// Two sentences with a time between which one without a time stands.
struct Neighbours
{
    NmeaKind before = 0; ///< comes before it
    NmeaKind behind = 0; ///< comes behind it
};

/// What bursts looked like of late: in which order the sentences with a time come, and between
/// which of them those without one. A burst that looks otherwise may consist of two pieces of the
/// stream.
///
/// Nothing is placed by it. What is unlike before counts from then on, so an order that has changed
/// looks unlike once.
class CBurstShape
{
public:
    /// Takes in that a kind with a time has come behind another one of its time.
    ///
    /// @return whether it was the other way round before.
    bool ShowTimed(NmeaKind before, NmeaKind behind);

    /// Takes in that a kind without a time stood between two times of which none is missing.
    void ShowBetweenTimes(NmeaKind untimed, const Neighbours& neighbours);

    /// Takes in that a kind without a time stood within a burst.
    ///
    /// @param comesOften it comes more often than the times, and so may come between them as well.
    /// @param isAnywhere it may come at several places of a burst.
    /// @return whether it stood before where it cannot be between these two.
    bool ShowWithin(NmeaKind untimed, const Neighbours& neighbours, bool comesOften,
                    bool isAnywhere);

    /// Takes in how many of a kind stood between two sentences of a burst.
    ///
    /// @return whether they are more than before.
    bool ShowCount(NmeaKind untimed, std::ptrdiff_t count);

private:
    struct Seen
    {
        std::optional<Neighbours> betweenTimes;
        std::optional<Neighbours> within;
        std::ptrdiff_t most = 0; ///< that stood between two
    };

    bool IsInFront(NmeaKind before, NmeaKind behind) const;
    Seen& SeenOf(NmeaKind untimed);

    std::set<std::pair<NmeaKind, NmeaKind>> m_timed; ///< the first of each before the second
    std::map<NmeaKind, Seen> m_untimed;
};

#endif
