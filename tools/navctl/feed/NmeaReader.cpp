#include "tools/navctl/feed/NmeaReader.h"

#include <cerrno>
#include <cstring>

namespace {

/// How long a stream must pause for the moment being over. Within one moment receivers write
/// without a pause, and they tell of 20 moments a second at most as a rule.
constexpr int kPauseMilliseconds = 30;

} // namespace

ESample CNmeaReader::Next(PositionSample& sample, int timeoutMilliseconds)
{
    std::string problem;
    while (m_ready.empty()) {
        switch (ReadLine(timeoutMilliseconds)) {
        case ELine::Line:
            TakeLine();
            break;
        case ELine::TooLong:
            m_skipped.Add("line too long", m_lines.LineNumber());
            break;
        case ELine::NothingYet:
            if (m_ready.empty())
                return ESample::NothingYet;
            break;
        case ELine::Failed:
            m_problem = std::strerror(errno);
            return ESample::Failed;
        case ELine::End:
            Finish(m_epochs.Flush(problem), problem);
            if (m_ready.empty())
                return ESample::End;
            break;
        }
    }
    sample = m_ready.front();
    m_ready.pop_front();
    return ESample::Sample;
}

/// Waits for a line; when the stream pauses, ends the moment that is being told.
ELine CNmeaReader::ReadLine(int timeoutMilliseconds)
{
    const bool endsAtPause = m_epochs.HasPosition() &&
                             (timeoutMilliseconds < 0 || timeoutMilliseconds > kPauseMilliseconds);
    if (!endsAtPause)
        return m_lines.Next(m_line, timeoutMilliseconds);
    const ELine state = m_lines.Next(m_line, kPauseMilliseconds);
    if (state == ELine::NothingYet && !m_lines.HoldsPartOfALine()) {
        std::string problem;
        Finish(m_epochs.Flush(problem), problem);
    }
    return state;
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
    Finish(m_epochs.Add(*sentence, *report, problem), problem);
}

void CNmeaReader::Finish(const std::optional<PositionSample>& sample, const std::string& problem)
{
    if (!problem.empty())
        m_skipped.Add(problem, m_lines.LineNumber());
    if (sample)
        m_ready.push_back(*sample);
}
