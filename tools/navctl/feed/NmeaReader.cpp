#include "tools/navctl/feed/NmeaReader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

/// How many samples to keep back while no sentence has given the day.
constexpr std::size_t kMostKeptBack = 1000;
/// How long the first live sample waits for the day when no other burst comes, seconds.
constexpr double kLongestWaitForDay = 3.0;
/// From one sentence left out in so many epochs on the order of the bursts is not known.
constexpr std::uint64_t kEpochsToOneLeftOut = 10;

} // namespace

ESample CNmeaReader::Next(PositionSample& sample, int timeoutMilliseconds)
{
    const double end = timeoutMilliseconds < 0 ? std::numeric_limits<double>::infinity()
                                               : Now() + timeoutMilliseconds / 1000.0;
    const CReadTurn turn(timeoutMilliseconds);
    while (!IsReady()) {
        if (turn.IsOver()) {
            return ESample::NothingYet;
        }
        switch (ReadLine(timeoutMilliseconds)) {
        case ELine::Line:
            TakeLine();
            break;
        case ELine::TooLong:
            CountLine(m_lines.LineNumber(), 1);
            m_skipped.Add("line too long", m_lines.LineNumber());
            break;
        case ELine::NothingYet:
            if (m_ready.empty() || (Now() >= end && !IsReady())) {
                return ESample::NothingYet;
            }
            break;
        case ELine::Failed:
            m_problem = std::strerror(errno);
            return ESample::Failed;
        case ELine::End:
            EndFile();
            if (m_ready.empty()) {
                return ESample::End;
            }
            break;
        }
    }
    Give(sample);
    return ESample::Sample;
}

std::string CNmeaReader::Wants() const
{
    return "GGA, GNS, RMC or GLL sentences with a time and a position";
}

std::string CNmeaReader::Advice() const
{
    std::uint64_t leftOut = 0;
    for (const auto& [reason, entry] : m_skipped.Reasons()) {
        const std::size_t place = reason.find(kNotCertain);
        leftOut += place != std::string::npos ? entry.count : 0;
    }
    // A sentence that was lost now and then leaves few out, which no order would change.
    if (m_options.epochs.burstBeginsWith || kEpochsToOneLeftOut * leftOut < m_epochs.CountOver() ||
        leftOut == 0) {
        return {};
    }
    return "--burst-begins-with TYPE names the sentence that the receiver begins each burst with, "
           "where its manual tells: fewer are left out then whose time is not certain";
}

bool CNmeaReader::IsReady()
{
    return !m_ready.empty() && !KeepsBack();
}

/// Whether what is ready waits for a sentence that gives the day.
bool CNmeaReader::KeepsBack()
{
    if (!m_keepsBack || m_epochs.Day().IsTold()) {
        return false;
    }
    if (!m_options.isLive) {
        return m_ready.size() < kMostKeptBack;
    }
    if (m_keepsBackUntil == 0.0) {
        m_keepsBackUntil = Now() + kLongestWaitForDay;
        m_overWhenKept = m_epochs.CountOver();
    }
    const double until = std::min(m_keepsBackUntil, NextBurstEndsAt());
    m_keepsBack = m_epochs.CountOver() == m_overWhenKept && Now() < until;
    return m_keepsBack;
}

/// When the burst behind the first sample's is over if nothing comes until then.
double CNmeaReader::NextBurstEndsAt() const
{
    const std::optional<double> end = m_epochs.SeemsOverAt();
    return end && !m_lines.HoldsPartOfALine() ? *end : std::numeric_limits<double>::infinity();
}

void CNmeaReader::Give(PositionSample& sample)
{
    sample = m_ready.front();
    m_ready.pop_front();
    // What waits for the day gets it too; what was given already has the time of another one.
    const double correction = m_epochs.Day().Correction();
    *sample.time += correction;
    sample.startsAnew = sample.startsAnew || (m_hasGiven && correction != m_correction);
    m_correction = correction;
    m_hasGiven = true;
    if (!m_dayWasGuessed && m_options.dayIsGuessed && !m_epochs.Day().IsTold()) {
        m_dayWasGuessed = true;
        if (m_options.remark) {
            m_options.remark(
                "no sentence has told the day yet: samples get today's (UTC) until one "
                "does; --date names another");
        }
    }
}

/// Waits for a line; when a live stream pauses long enough, ends the burst.
ELine CNmeaReader::ReadLine(int timeoutMilliseconds)
{
    if (!m_options.isLive) {
        return m_lines.Next(m_line, timeoutMilliseconds);
    }
    int wait = timeoutMilliseconds;
    const auto waitUntil = [&](double end) {
        const int left = static_cast<int>(std::ceil(std::clamp(end - Now(), 0.0, 3600.0) * 1000.0));
        wait = wait < 0 ? left : std::min(wait, left);
    };
    const std::optional<double> endsAt = m_epochs.EndsAt();
    const bool endsAtPause = endsAt && !m_lines.HoldsPartOfALine();
    if (endsAtPause) {
        waitUntil(*endsAt);
    }
    if (m_keepsBackUntil > 0.0 && m_keepsBack && !m_ready.empty()) {
        waitUntil(std::min(m_keepsBackUntil, NextBurstEndsAt()));
    }
    const ELine state = m_lines.Next(m_line, wait);
    if (state == ELine::Line || state == ELine::TooLong) {
        m_epochs.Hear(Now());
    } else if (state == ELine::NothingYet && endsAtPause && !m_lines.HoldsPartOfALine() &&
               Now() >= *endsAt) {
        m_epochs.EndAtPause();
    }
    return state;
}

void CNmeaReader::TakeLine()
{
    // A remark that somebody has written into a log, whatever it quotes.
    if (!m_line.empty() && m_line.front() == '#') {
        CountLine(m_lines.LineNumber(), 1);
        m_notUsed.Add("comments", m_lines.LineNumber());
        return;
    }
    std::uint64_t sentences = 0;
    ForEachSentence(m_line, [&](std::string_view text) {
        ++sentences;
        TakeSentence(text);
    });
    CountLine(m_lines.LineNumber(), sentences);
}

void CNmeaReader::TakeSentence(std::string_view text)
{
    const char* const broken = ReadSentence(text, m_sentence);
    if (broken != nullptr) {
        m_skipped.Add(broken, m_lines.LineNumber());
        return;
    }
    NmeaPart part;
    part.type = TypeOf(m_sentence);
    if (part.type == ENmeaType::Other) {
        m_notUsed.Add(m_sentence.talker == "P" ? "makers' own" : std::string(m_sentence.type),
                      m_lines.LineNumber());
        return;
    }
    const std::string problem = ReadReport(m_sentence, part.type, m_options.signs, part.report);
    if (!problem.empty()) {
        m_skipped.Add(problem, m_lines.LineNumber());
        return;
    }
    part.kind = KindOf(m_sentence, part.type, part.report);
    part.line = m_lines.LineNumber();
    if (m_options.isLive) {
        part.arrival = Now();
    }
    m_epochs.Add(part);
}

void CNmeaReader::EndFile()
{
    m_epochs.Flush();
    m_keepsBack = false;
}

double CNmeaReader::Now() const
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}
