#ifndef KESTROVE_SIMULATOR_OUTPUT_LOGLIMIT_H
#define KESTROVE_SIMULATOR_OUTPUT_LOGLIMIT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "simulator/output/ServiceLog.h"

/// Limits how many log lines of a kind a client can cause: ten a second, and all clients together a
/// hundred, since one that connects anew for each line counts as another every time. What is left
/// out is reported at the end of the second, in one line with the number. Errors always pass.
///
/// A line's kind is what stands before its first colon, numbers aside. Time comes in from outside.
/// Thread safety: none.
class CLogLimit
{
public:
    using Instant = std::chrono::steady_clock::time_point;

    static constexpr std::size_t kMostLinesOfAClient = 10;
    static constexpr std::size_t kMostLinesOfAll = 100;
    static constexpr std::chrono::seconds kPeriod{1};

    /// @param onward takes the lines that pass.
    explicit CLogLimit(LogSink onward) : m_onward(std::move(onward)) {}

    /// Takes a line.
    ///
    /// @param client who caused it; 0 when none did.
    void Take(Instant now, std::uint64_t client, ELogLevel level, const std::string& text);
    /// Ends the seconds that have passed, and reports what was left out in them.
    void EndPeriods(Instant now);
    /// Whether a second has begun that is to be ended by EndPeriods().
    bool HasPeriods() const { return !m_periods.empty(); }

private:
    /// Whose lines, and of which kind.
    using Key = std::pair<std::uint64_t, std::string>;

    /// A second, from the first line on.
    struct Period
    {
        Instant start;
        std::size_t lines = 0;
        std::size_t leftOut = 0;
        ELogLevel level = ELogLevel::Warning;
        std::string example; ///< the first that was left out
    };

    static void LeaveOut(Period& period, ELogLevel level, const std::string& text);
    Period& PeriodOf(Instant now, std::uint64_t client, const std::string& kind);
    void TellLeftOut(const Key& key, const Period& period) const;

    LogSink m_onward;
    std::map<Key, Period> m_periods;
};

#endif
