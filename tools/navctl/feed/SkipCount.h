#ifndef KESTROVE_TOOLS_NAVCTL_FEED_SKIPCOUNT_H
#define KESTROVE_TOOLS_NAVCTL_FEED_SKIPCOUNT_H

#include <cstdint>
#include <map>
#include <string>

/// How often something was left out for a reason, and in which line for the first time.
struct SkipReason
{
    std::uint64_t count = 0;
    std::uint64_t firstLine = 0;
};

/// Counts what is left out, by reason. The number of reasons is bounded, so that memory is, too.
class CSkipCount
{
public:
    /// Counts one, or several.
    ///
    /// @param reason a phrase from a small set, without values of the file in it.
    /// @param line the line of the first of them.
    void Add(const std::string& reason, std::uint64_t line, std::uint64_t count = 1)
    {
        const bool isFull = m_reasons.size() >= kMostReasons && m_reasons.count(reason) == 0;
        SkipReason& entry = m_reasons[isFull ? "other reasons" : reason];
        if (entry.count == 0) {
            entry.firstLine = line;
        }
        entry.count += count;
        m_total += count;
    }

    std::uint64_t Total() const { return m_total; }
    const std::map<std::string, SkipReason>& Reasons() const { return m_reasons; }

private:
    static constexpr std::size_t kMostReasons = 200;

    std::map<std::string, SkipReason> m_reasons;
    std::uint64_t m_total = 0;
};

#endif
