#ifndef KESTROVE_TOOLS_NAVCTL_FEED_BURSTORDER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_BURSTORDER_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

/// What distinguishes the sentences of a burst: talker and type, and of GSA the system.
using NmeaKind = std::uint32_t;

/// Where a sentence without a time stands in relation to one that has a time.
struct BurstPlace
{
    NmeaKind untimed = 0;
    NmeaKind timed = 0;
    bool isBehind = false; ///< it comes behind the other, in one burst; otherwise before it
};

/// Where in the burst of a receiver its sentences without a time stand: behind or before each kind
/// that has one.
///
/// A place counts as known once it was shown three times without having been shown otherwise, and
/// as long as it goes on to be shown as often as it was. One that contradicts starts the count
/// again, so an order that has changed is learned anew. What only pauses have shown counts while
/// the pauses are trusted.
class CBurstOrder
{
public:
    /// A place that is known.
    struct Place
    {
        bool isBehind = false;
        bool isByPauseAlone = false; ///< only pauses of the stream have shown it
        /// Within so many epochs it should be shown again.
        std::uint64_t epochsUntilShown = 0;
    };

    /// Notes that an epoch has ended.
    void EndEpoch() { ++m_epoch; }

    /// Takes in where a sentence without a time stood.
    ///
    /// @param isByPause a pause has shown it, and not sentences of one time around it.
    void Show(const BurstPlace& place, bool isByPause);

    /// Where a sentence stands; nothing when it is not known.
    std::optional<Place> PlaceOf(NmeaKind untimed, NmeaKind timed) const;

    /// Whether a place of a sentence is known, or was until it has not been shown for long.
    bool WasKnown(NmeaKind untimed) const;

    /// Whether a sentence stood behind the other when this was shown last, however often and long
    /// ago; nothing when it never was.
    std::optional<bool> LastPlaceOf(NmeaKind untimed, NmeaKind timed) const;

    /// Whether a place of a sentence is known, and none of late is in doubt.
    bool IsSettled(NmeaKind untimed) const;

    /// Notes that a kind without a time came more often than times did.
    void ShowTwice(NmeaKind untimed);

    /// Whether a kind comes more often than the times, or did of late: when one of it is lost, what
    /// remains between two times looks as if it came once.
    bool ComesOften(NmeaKind untimed) const;

    /// Forgets where a kind without a time stands.
    void Forget(NmeaKind untimed);

    /// Forgets what only pauses have shown.
    void ForgetPauses();

    /// Whether what only pauses have shown counts as known.
    void TrustPauses(bool trusts) { m_trustsPauses = trusts; }

    /// Forgets where all kinds stand.
    void ForgetPlaces() { m_entries.clear(); }

    /// Forgets everything.
    void Clear()
    {
        m_entries.clear();
        m_twice.clear();
    }

private:
    struct Entry
    {
        NmeaKind untimed;
        NmeaKind timed;
        Place place;
        int timesShown;
        std::uint64_t lastShown;
    };

    struct Twice
    {
        NmeaKind untimed;
        std::uint64_t last;                  ///< epoch in which it came too often
        std::optional<std::uint64_t> before; ///< the one before that
    };

    bool IsShownOften(const Entry& entry) const;

    std::vector<Entry> m_entries;
    std::vector<Twice> m_twice;
    bool m_trustsPauses = false;
    std::uint64_t m_epoch = 0;
};

/// The distance between the times of a stream, learned from steps that repeat.
class CEpochPeriod
{
public:
    /// Takes in the step from one time to the next, milliseconds.
    ///
    /// @param mayMissTime what came in between was as if a time had been lost there.
    /// @return whether the period is another one now.
    bool Learn(std::int64_t step, bool mayMissTime);

    /// Whether a step leads to the very next time, so that none is missing in between. False while
    /// the period is not known.
    bool IsOneStep(std::int64_t step) const
    {
        return m_period > 0 && !m_isDoubtful && IsNear(step, m_period);
    }

    /// How many periods a step is, at least one; one while the period is not known.
    std::int64_t CountIn(std::int64_t step) const
    {
        return m_period > 0 ? std::max<std::int64_t>(1, (step + m_period / 2) / m_period) : 1;
    }

    /// Seconds; 0 while it is not known.
    double Seconds() const { return static_cast<double>(m_period) / 1000.0; }

private:
    static bool IsNear(std::int64_t step, std::int64_t period);

    std::int64_t m_period = 0;
    std::int64_t m_shortest = 0; ///< that was ever seen; times that are lost make no shorter ones
    std::int64_t m_candidate = 0;
    int m_timesSeen = 0;
    bool m_mayMissTime = false; ///< in one of these
    bool m_isDoubtful = false; ///< a shorter step has come, and so the period may be that of losses
};

#endif
