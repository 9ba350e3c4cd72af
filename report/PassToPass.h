#ifndef KESTROVE_REPORT_PASSTOPASS_H
#define KESTROVE_REPORT_PASSTOPASS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <utility>

#include "report/DriveSample.h"
#include "report/ErrorFigures.h"
#include "report/RunPath.h"

/// What pairs of runs with a speed and an interval have come to.
struct PassToPassGroup
{
    std::uint64_t pairs = 0;
    double shortest = 0.0; ///< interval between the two at one place, seconds
    double longest = 0.0;
    CErrorFigures machine;
    CErrorFigures implement;
};

/// Compares runs beside each other, or along the same pass: by how much the distance between them
/// is another one than planned.
///
/// A run is a stretch of a pass that was steered along for 20 m at least at a steady speed, from
/// 20 m behind where steering was engaged or the pass was taken up. Each place of a run is compared
/// with the nearest place, interpolated, of each run before it along the same pass or the next: the
/// difference of their cross-track errors. docs/accuracy-report.md has the method in full.
///
/// Memory is bounded: runs of the last hour are kept, and of them the newest that have no more than
/// 120 000 places together. Thread safety: none.
class CPassToPass
{
public:
    /// An interval of the runs of a pair: the short one, up to 15 minutes, or the long one.
    enum class EInterval
    {
        Short,
        Long,
    };
    static constexpr double kShortSeconds = 15.0 * 60.0;
    static constexpr double kLongSeconds = 60.0 * 60.0;

    /// By interval, and by speed in halves of a metre per second.
    using Groups = std::map<std::pair<EInterval, int>, PassToPassGroup>;

    /// Takes the next sample; `counts` where the machine moves and is steered, and its error is
    /// known.
    void Add(const DriveSample& sample, bool counts);
    /// Ends the last run.
    void Finish();

    const Groups& BySpeed() const { return m_groups; }
    /// All speeds together.
    const PassToPassGroup& All(EInterval interval) const
    {
        return interval == EInterval::Short ? m_short : m_long;
    }
    /// How many runs there were.
    std::uint64_t Runs() const { return m_runCount; }

private:
    bool GoesOn(const DriveSample& sample) const;
    void EndRun();
    void MakeRoom(double now);
    void Compare(const CRunPath& earlier, const CRunPath& later);

    bool m_isCounting = false;
    DriveSample m_last;
    double m_settling = 0.0; ///< metres since steering was engaged, or the pass taken up
    CRunPath m_run;
    std::deque<CRunPath> m_runs;
    std::size_t m_places = 0; ///< of all runs that are kept
    std::uint64_t m_runCount = 0;
    Groups m_groups;
    PassToPassGroup m_short;
    PassToPassGroup m_long;
};

#endif
