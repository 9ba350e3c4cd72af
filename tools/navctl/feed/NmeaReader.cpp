#include "tools/navctl/feed/NmeaReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using Milliseconds = std::chrono::milliseconds;

/// How long a stream must pause for the moment being over, when every kind of sentence has come
/// that came for the last moment: long enough for one that is not told each time.
constexpr Milliseconds kPauseOfWholeMoment(30);
/// The same when something is missing. A slow line takes 85 ms a sentence (82 characters at 9600
/// baud), and receivers rest between the sentences of a moment.
constexpr Milliseconds kPauseOfMoment(250);

/// How many samples to keep back while no sentence has told the day.
constexpr std::size_t kMostKeptBack = 1000;

} // namespace

ESample CNmeaReader::Next(PositionSample& sample, int timeoutMilliseconds)
{
    while (!IsReady()) {
        switch (ReadLine(timeoutMilliseconds)) {
        case ELine::Line:
            TakeLine();
            break;
        case ELine::TooLong:
            m_skipped.Add("line too long", m_lines.LineNumber());
            break;
        case ELine::NothingYet:
            // What comes as it is measured is worth more at once than with the right day.
            m_keepsBack = false;
            if (m_ready.empty())
                return ESample::NothingYet;
            break;
        case ELine::Failed:
            m_problem = std::strerror(errno);
            return ESample::Failed;
        case ELine::End:
            EndMoment();
            m_keepsBack = false;
            if (m_ready.empty())
                return ESample::End;
            break;
        }
    }
    sample = m_ready.front();
    m_ready.pop_front();
    m_hasGiven = true;
    return ESample::Sample;
}

bool CNmeaReader::IsReady() const
{
    const bool keepsBack = m_keepsBack && !m_epochs.DayIsTold() && m_ready.size() < kMostKeptBack;
    return !m_ready.empty() && !keepsBack;
}

/// Waits for a line; when the stream pauses, ends the moment that is being told.
ELine CNmeaReader::ReadLine(int timeoutMilliseconds)
{
    int wait = timeoutMilliseconds;
    const bool endsAtPause = m_epochs.HasPosition() && !m_lines.HoldsPartOfALine();
    if (endsAtPause) {
        const int left = static_cast<int>(std::max(PauseLeft(), Milliseconds(0)).count());
        wait = wait < 0 ? left : std::min(wait, left);
    }
    const ELine state = m_lines.Next(m_line, wait);
    if (state == ELine::Line) {
        m_lastLineTime = std::chrono::steady_clock::now();
    } else if (state == ELine::NothingYet && endsAtPause && !m_lines.HoldsPartOfALine() &&
               PauseLeft() <= Milliseconds(0)) {
        EndMoment();
    }
    return state;
}

/// How much longer the stream must pause for the moment being over.
std::chrono::milliseconds CNmeaReader::PauseLeft() const
{
    const auto pause = std::chrono::steady_clock::now() - m_lastLineTime;
    const Milliseconds wanted = m_epochs.IsWhole() ? kPauseOfWholeMoment : kPauseOfMoment;
    return std::chrono::ceil<Milliseconds>(wanted - pause);
}

void CNmeaReader::TakeLine()
{
    for (const std::string_view text : SentencesIn(m_line))
        TakeSentence(text);
}

void CNmeaReader::TakeSentence(std::string_view text)
{
    std::string problem;
    const std::optional<NmeaSentence> sentence = ReadSentence(text, problem);
    if (!sentence) {
        m_skipped.Add(problem, m_lines.LineNumber());
        return;
    }
    if (!IsReported(sentence->type)) {
        m_notUsed.Add(sentence->talker == "P" ? "makers' own" : sentence->type,
                      m_lines.LineNumber());
        return;
    }
    const std::optional<NmeaReport> report = ReadReport(*sentence, problem);
    if (!report) {
        m_skipped.Add(problem, m_lines.LineNumber());
        return;
    }
    NmeaProblem whyNot;
    const auto sample = m_epochs.Add(*sentence, *report, m_lines.LineNumber(), whyNot);
    Finish(sample, whyNot);
}

void CNmeaReader::EndMoment()
{
    NmeaProblem problem;
    const auto sample = m_epochs.Flush(problem);
    Finish(sample, problem);
}

void CNmeaReader::Finish(const std::optional<PositionSample>& sample, const NmeaProblem& problem)
{
    if (!problem.reason.empty())
        m_skipped.Add(problem.reason, problem.line);
    const bool dayIsNew = m_epochs.Correction() != m_correction;
    if (dayIsNew) {
        for (PositionSample& kept : m_ready)
            *kept.time += m_epochs.Correction() - m_correction;
        m_correction = m_epochs.Correction();
    }
    if (!sample)
        return;
    m_ready.push_back(*sample);
    // What was given already has the time of another day.
    if (dayIsNew && m_hasGiven)
        m_ready.front().startsAnew = true;
}
