#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAEPOCHS_H

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/BurstOrder.h"
#include "tools/navctl/feed/NmeaDay.h"
#include "tools/navctl/feed/NmeaFields.h"
#include "tools/navctl/feed/PositionSample.h"
#include "tools/navctl/feed/SkipCount.h"

/// A sentence as it goes into an epoch.
struct NmeaPart
{
    NmeaKind kind = 0;
    ENmeaType type = ENmeaType::Other;
    NmeaReport report;
    std::uint64_t line = 0; ///< of the file
    /// When it came, seconds of a clock that does not jump; empty in a file, where nothing is told
    /// by when something comes.
    std::optional<double> arrival;
};

/// The kind of a sentence of a type that is read.
NmeaKind KindOf(const NmeaSentence& sentence, ENmeaType type, const NmeaReport& report);

/// The sample of the sentences of one time, but for its time.
///
/// @return nothing when none of them tells a position.
std::optional<PositionSample> SampleOf(const std::vector<NmeaPart>& parts);

/// Whether SampleOf() would give one.
bool HasPosition(const std::vector<NmeaPart>& parts);

/// How epochs are put together.
struct NmeaEpochOptions
{
    std::int64_t day = 0; ///< of the first sample, days since 1970-01-01, when no sentence tells it
    std::optional<ENmeaType> burstBeginsWith; ///< known from elsewhere
};

/// Puts the sentences of one time together to a sample. A receiver tells of each time in a burst of
/// sentences, some of which have no time; no value goes into the sample of another time than its
/// own. docs/navctl-files.md tells the rule and why it holds.
///
/// Every sentence is counted once: in the `sources` of a sample or in what is left out.
class CNmeaEpochs
{
public:
    /// @param samples where samples go as soon as their burst is known to be complete. To their
    /// times
    ///        Day().Correction() is to be added when they are used.
    /// @param leftOut counts the sentences that go into none, by reason.
    CNmeaEpochs(const NmeaEpochOptions& options, std::deque<PositionSample>& samples,
                CSkipCount& leftOut)
        : m_burstBeginsWith(options.burstBeginsWith), m_samples(samples), m_leftOut(leftOut),
          m_day(options.day)
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
    /// Gives the sample of the epoch, as the stream has paused.
    void EndAtPause();

    const CNmeaDay& Day() const { return m_day; }

private:
    /// How a sentence without a time was found to be of its epoch.
    enum class EHow
    {
        ItsTime, ///< its time, or sentences of one time around it, or the user has said so
        Pause,   ///< a pause
        Learned, ///< the order that was learned
    };
    struct Waiting
    {
        NmeaPart part;
        double gap;            ///< the longest rest before it, seconds
        bool isPlaced = false; ///< in the epoch already; kept for what it shows of the order
    };
    struct Epoch
    {
        std::int64_t timeOfDay = 0;
        std::vector<NmeaPart> parts;
        std::vector<NmeaKind> timedKinds;
        std::vector<std::pair<NmeaKind, bool>> shown; ///< untimed kinds, and whether by a pause
        std::uint64_t sources = 0;
        std::uint64_t firstLine = 0;
        std::optional<double> firstArrival, lastTimedArrival;
        double longestGap = 0.0;
        bool isPaced = false; ///< has come a period after the one before
        bool isRepeated = false;
        bool isSent = false;
        bool isSentEarly = false;
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
    };

    void AddTimed(const NmeaPart& part);
    void AddUntimed(const NmeaPart& part);
    void AddAttitude(const NmeaPart& part);
    void Join(const NmeaPart& part);
    void Open(const NmeaPart& part);
    void AddPart(const NmeaPart& part, EHow how);
    void PlaceInEpoch(const NmeaPart& part, EHow how);
    std::vector<NmeaPart> TakeLeading(const NmeaPart& next, bool isOneStep);
    std::optional<Cut> FindCut(const NmeaPart& next, bool isOneStep) const;
    std::optional<Cut> PauseBefore(const NmeaPart& next) const;
    EPlace PlaceByOrder(NmeaKind kind, NmeaKind next, bool& isByPause) const;
    bool StandsBehind(NmeaKind kind, bool isGapShort) const;
    bool BeginsTheNext(NmeaKind kind) const;
    void EndEarly();
    bool IsWhole() const;
    bool Has(NmeaKind kind) const;
    void Note(const NmeaPart& part);
    bool IsPaced(const NmeaPart& part) const;
    void LeaveOut(const NmeaPart& part, const char* why);
    void Late(const NmeaPart& part);
    void Send();

    struct RecentKind
    {
        NmeaKind kind;
        ENmeaType type;
        std::uint64_t epoch;
    };

    std::optional<ENmeaType> m_burstBeginsWith;
    std::deque<PositionSample>& m_samples;
    CSkipCount& m_leftOut;
    CNmeaDay m_day;
    CBurstOrder m_order;
    CEpochPeriod m_period;
    std::optional<Epoch> m_epoch;
    std::vector<Waiting> m_waiting;  ///< what came behind the last sentence with a time
    std::optional<NmeaPart> m_ahead; ///< an attitude whose epoch has not come
    std::size_t m_placeOfAhead = 0;  ///< how many were waiting when it came
    std::vector<RecentKind> m_recent;
    std::uint64_t m_epochNumber = 0;
    bool m_isBroken = false; ///< a sentence that should have a time had none
    bool m_endsEarly = true;
    std::optional<double> m_lastHeard;
    double m_gap = 0.0;        ///< the longest rest since the last sentence that counts
    double m_longestGap = 0.0; ///< within the bursts of late
};

#endif
