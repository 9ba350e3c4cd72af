#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/BurstOrder.h"
#include "tools/navctl/feed/BurstPauses.h"
#include "tools/navctl/feed/BurstShape.h"
#include "tools/navctl/feed/FinishedEpochs.h"
#include "tools/navctl/feed/NmeaEpoch.h"
#include "tools/navctl/feed/SkipCount.h"
#include "tools/navctl/feed/TimeOfDay.h"

/// Why a sentence is left out that came with no position.
inline constexpr const char* kOfNoPosition = " of another time than a position";

/// How epochs are put together.
struct NmeaEpochOptions
{
    std::int64_t day = 0; ///< of the first sample, days since 1970-01-01, when no sentence gives it
    std::optional<ENmeaType> burstBeginsWith; ///< known from elsewhere
};

/// Puts the sentences of one time together to a sample. A receiver reports each time in a burst of
/// sentences, some of which have no time; no value goes into the sample of another time than its
/// own. docs/navctl-files.md has the rule and why it holds.
///
/// Every sentence is counted once: in the `sources` of a sample or in what is left out.
class CNmeaEpochs
{
public:
    /// @param samples where samples go as soon as their burst is known to be complete. To their
    ///        times Day().Correction() is to be added when they are used.
    /// @param leftOut counts the sentences that go into none, by reason.
    CNmeaEpochs(const NmeaEpochOptions& options, std::deque<PositionSample>& samples,
                CSkipCount& leftOut)
        : m_burstBeginsWith(options.burstBeginsWith), m_leftOut(leftOut),
          m_finished(options.day, samples, leftOut)
    {
    }

    /// Notes that a line has come, whatever is in it: pauses are what lies between lines. To be
    /// called before Add().
    void Hear(double arrival);
    /// Takes a sentence in.
    void Add(const NmeaPart& part);
    /// Ends the epoch, as nothing more will come.
    void Flush();

    /// When the epoch is over if nothing comes until then, on the clock of the arrivals; empty when
    /// there is nothing to end.
    std::optional<double> EndsAt() const;
    /// When the burst is over if nothing comes until then, on the same clock: every kind with a
    /// time has come that the burst before it had. Empty as long as one is missing.
    std::optional<double> SeemsOverAt() const;
    /// Gives the sample of the epoch, as the stream has paused.
    void EndAtPause();

    /// How many epochs are over.
    std::uint64_t CountOver() const
    {
        return m_epochNumber - (m_epoch && !m_epoch->isSent ? 1 : 0);
    }

    const CNmeaDay& Day() const { return m_finished.Day(); }

private:
    /// A kind that has not come for so many epochs is not waited for.
    static constexpr std::uint64_t kEpochsToWaitFor = 3;
    /// A pause is a fifth of the period at least.
    static constexpr double kLeastPause = 0.2;

    struct Waiting
    {
        NmeaPart part;
        double gap;                 ///< the longest rest before it, seconds
        bool waitsForPause = false; ///< is of the epoch, if a pause comes before the next time
        bool isPlaced = false;      ///< in the epoch already; kept for what it shows of the order
    };
    struct Cut
    {
        std::size_t place;
        bool isByPause;
    };
    enum class EPlace
    {
        Unknown,
        This,
        Next,
        Neither, ///< it fits nowhere
    };
    /// Of which epoch a sentence is, and what it rests on.
    struct Placing
    {
        EPlace place = EPlace::Unknown;
        std::vector<NmeaClaim> claims; ///< none when it is certain
    };

    void AddTimed(const NmeaPart& part);
    void AddUntimed(const NmeaPart& part);
    void AddAttitude(const NmeaPart& part);
    void Join(const NmeaPart& part);
    bool ComesTooLate(NmeaKind kind);
    void LeaveOutWhatStoodElsewhere(NmeaKind next, std::vector<bool>& isCertain);
    void TakeMixture();
    void ShowWhatIsBetweenTimes(NmeaKind next);
    void AddLeading(const std::vector<PendingPart>& leading, bool isByPause);
    void PlaceEnclosed(NmeaKind next);
    bool IsEnclosed(const NmeaPart& part, NmeaKind next) const;
    void Open(const NmeaPart& part);
    void EndEpoch(std::int64_t step, bool mayMissTime);
    void TakeAhead();
    void TakeFirstDay(const NmeaPart& next);
    void AddAttitudeNow(const NmeaPart& part);
    void AddStandingStill(const NmeaPart& part);
    void PlaceInEpoch(const NmeaPart& part);
    std::vector<PendingPart> TakeLeading(const NmeaPart& next, bool isOneStep,
                                         const std::optional<Cut>& cut);
    Placing PlaceBetween(std::size_t i, const NmeaPart& next, const std::optional<Cut>& cut);
    void LeaveOutWaiting();
    void Show(NmeaKind untimed, NmeaKind timed, bool isBehind, bool isByPause);
    void ShowBehind(NmeaKind untimed, bool isByPause);
    void Forget(NmeaKind kind);
    void ForgetOrder();
    bool IsSingle(NmeaKind kind) const;
    std::ptrdiff_t CountWaiting(NmeaKind kind) const;
    bool CameTwice() const;
    bool TakeRepetition();
    void NoteWhatComesOften(std::int64_t step, NmeaKind next);
    std::optional<Cut> FindCut(const NmeaPart& next, bool isOneStep);
    bool FitsNeither(NmeaKind kind, NmeaKind next) const;
    bool WasElsewhere(NmeaKind kind, NmeaKind next, EPlace place) const;
    std::optional<Cut> ToldCut(const NmeaPart& next) const;
    std::optional<Cut> PauseBefore(const NmeaPart& next, bool isBeginTold);
    std::optional<Cut> LongestRest(bool& isWithinOneTime) const;
    bool Contradicts(const Cut& pause, const NmeaPart& next, bool forgets);
    bool IsCertain(const Cut& cut) const { return !cut.isByPause || m_pauses.AreCertain(); }
    Placing PlaceByOrder(NmeaKind kind, NmeaKind next, bool& isByPause) const;
    bool StandsBehind(NmeaKind kind) const;
    bool BeginsTheNext(NmeaKind kind) const;
    void EndEarly();
    bool IsWhole(bool countsWaiting) const;
    bool WaitsForPause(NmeaKind kind) const;
    void Note(const NmeaPart& part);
    bool IsPaced(const NmeaPart& part) const;
    void LeaveOut(const NmeaPart& part, const char* why);
    void Send();

    struct RecentKind
    {
        NmeaKind kind;
        ENmeaType type;
        std::uint64_t epoch;
    };

    std::optional<ENmeaType> m_burstBeginsWith;
    CSkipCount& m_leftOut;
    CFinishedEpochs m_finished;
    CBurstOrder m_order;
    CBurstPauses m_pauses;
    CBurstShape m_shape;
    CEpochPeriod m_period;
    std::optional<NmeaEpoch> m_epoch;
    std::vector<Waiting> m_waiting;  ///< what came behind the last sentence with a time
    std::optional<NmeaPart> m_ahead; ///< an attitude whose epoch has not come
    std::size_t m_placeOfAhead = 0;  ///< how many were waiting when it came
    std::vector<RecentKind> m_recent;
    std::uint64_t m_epochNumber = 0;
    CLatestTime m_latest{kSameTimeMilliseconds};
    CLatestTime m_latestAttitude{0};
    bool m_isBroken = false;   ///< a sentence that should have a time had none
    bool m_missesTime = false; ///< a sentence that may have a time had none
    bool m_comesAgain = false; ///< an attitude of a time that is over has come since the last time
    bool m_endsEarly = true;
    std::optional<double> m_lastHeard;
    double m_gap = 0.0;        ///< the longest rest since the last sentence that counts
    double m_longestGap = 0.0; ///< within the bursts of late
};

#endif
