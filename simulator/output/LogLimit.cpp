#include "simulator/output/LogLimit.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr const char* kDigits = "0123456789";
// Stands for all clients.
constexpr std::uint64_t kEverybody = std::numeric_limits<std::uint64_t>::max();
// So that many clients with few lines each do not fill the memory: those beyond count as one.
constexpr std::size_t kMostPeriods = 4096;

std::string KindOf(const std::string& text)
{
    std::string kind = text.substr(0, text.find(':'));
    if (kind.find_first_of(kDigits) != std::string::npos) {
        kind.erase(std::remove_if(
                       kind.begin(), kind.end(),
                       [](char character) { return std::strchr(kDigits, character) != nullptr; }),
                   kind.end());
    }
    return kind;
}

} // namespace

void CLogLimit::Take(Instant now, std::uint64_t client, ELogLevel level, const std::string& text)
{
    if (level == ELogLevel::Error) {
        m_onward(level, text);
        return;
    }
    const std::string kind = KindOf(text);
    Period& ofClient = PeriodOf(now, client, kind);
    if (ofClient.lines >= kMostLinesOfAClient) {
        LeaveOut(ofClient, level, text);
        return;
    }
    Period& ofAll = PeriodOf(now, kEverybody, kind);
    if (ofAll.lines >= kMostLinesOfAll) {
        LeaveOut(ofAll, level, text);
        return;
    }
    ++ofAll.lines;
    ++ofClient.lines;
    m_onward(level, text);
}

void CLogLimit::LeaveOut(Period& period, ELogLevel level, const std::string& text)
{
    if (period.leftOut == 0) {
        period.level = level;
        period.example = Printable(text);
    }
    ++period.leftOut;
}

CLogLimit::Period& CLogLimit::PeriodOf(Instant now, std::uint64_t client, const std::string& kind)
{
    Key key(client, kind);
    if (m_periods.size() >= kMostPeriods && m_periods.count(key) == 0) {
        key = Key(kEverybody, "");
    }
    const auto [entry, isNew] = m_periods.try_emplace(key);
    Period& period = entry->second;
    if (!isNew && now - period.start >= kPeriod) {
        TellLeftOut(key, period);
        period = Period();
    }
    if (period.lines == 0) {
        period.start = now;
    }
    return period;
}

void CLogLimit::EndPeriods(Instant now)
{
    for (auto entry = m_periods.begin(); entry != m_periods.end();) {
        if (now - entry->second.start >= kPeriod) {
            TellLeftOut(entry->first, entry->second);
            entry = m_periods.erase(entry);
        } else {
            ++entry;
        }
    }
}

void CLogLimit::TellLeftOut(const Key& key, const Period& period) const
{
    if (period.leftOut == 0) {
        return;
    }
    const std::uint64_t client = key.first;
    const std::string who = client == kEverybody ? "all clients: "
                            : client == 0        ? ""
                                                 : "client " + std::to_string(client) + ": ";
    m_onward(period.level, who + std::to_string(period.leftOut) +
                               (period.leftOut == 1 ? " line" : " lines") + " left out like \"" +
                               period.example + "\"");
}
