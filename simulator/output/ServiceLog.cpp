#include "simulator/output/ServiceLog.h"

#include <cstddef>
#include <utility>

namespace {

constexpr std::size_t kMostCharactersShown = 80;

} // namespace

CServiceLog::CServiceLog(LogSink sink) : m_sink(std::move(sink)) {}

void CServiceLog::Write(ELogLevel level, const std::string& text) const
{
    if (m_sink) {
        m_sink(level, text);
    }
}

bool CServiceLog::Carried(const char* operation, const COutcome& outcome) const
{
    if (outcome) {
        m_refusals.erase(operation);
        return true;
    }
    m_refusals[operation] = outcome.Reason();
    Write(ELogLevel::Warning, std::string(operation) + " refused: " + outcome.Reason());
    return false;
}

std::string CServiceLog::RefusalOf(const std::string& operation) const
{
    const auto found = m_refusals.find(operation);
    return found == m_refusals.end() ? std::string() : found->second;
}

std::string Printable(const std::string& text)
{
    std::string shown = text.substr(0, kMostCharactersShown);
    for (char& character : shown) {
        if (character < ' ' || character > '~') {
            character = '?';
        }
    }
    return text.size() > shown.size() ? shown + "..." : shown;
}
