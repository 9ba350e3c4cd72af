#include "tools/navctl/wayline/WaylineText.h"

#include "platform/Utilities.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

/// Reads the words of one line; the first fault stays.
class CTextReader
{
public:
    CTextReader(const std::string& line, std::string& problem) : m_problem(problem)
    {
        Core::Utilities::SplitString(line, ' ', m_words, 0);
    }

    std::optional<WaylineContent> Read()
    {
        m_problem.clear();
        ReadKind();
        if (m_problem.empty())
            CheckWordCount();
        if (m_problem.empty())
            ReadNumbers();
        return m_problem.empty() ? std::optional(m_content) : std::nullopt;
    }

private:
    std::string Quoted(std::size_t index) const
    {
        constexpr std::size_t kLongest = 40;
        const std::string& word = m_words[index];
        return '"' + (word.size() > kLongest ? word.substr(0, kLongest) + "..." : word) + '"';
    }

    std::string Words(std::size_t count) const
    {
        return std::to_string(count) + (count == 1 ? " word" : " words");
    }

    void ReadKind()
    {
        int code = 0;
        if (m_words.empty()) {
            m_problem = "there is no word";
        } else if (Core::Utilities::ParseInt(m_words[0], code) == 0 ||
                   code < Kestrove::EWaylineTypeEmpty || code > Kestrove::EWaylineTypeReplay) {
            m_problem = Quoted(0) + " is no code of a kind (0 to 6)";
        } else if (code == Kestrove::EWaylineTypeEmpty) {
            m_problem = "an empty wayline has no text form";
        } else {
            m_content.kind = static_cast<Kestrove::EWaylineType>(code);
        }
    }

    void CheckWordCount()
    {
        const std::string title = KindTitle(m_content.kind);
        const std::optional<std::size_t> points = PointCountOf(m_content.kind);
        if (!points) {
            CheckAnnouncedPoints(title);
        } else if (*points == 0) {
            if (m_words.size() > 2 || (m_words.size() == 2 && m_words[1] != "0"))
                m_problem = "a " + title + " is its code alone, with or without a 0 behind it";
        } else {
            const bool hasHeading = m_content.kind == Kestrove::EWaylineTypeAHeading;
            const std::size_t wanted = 1 + *points * 3 + (hasHeading ? 1 : 0);
            if (m_words.size() != wanted) {
                m_problem = "the text of kind " + title + " has " + Words(wanted) + ", this one " +
                            Words(m_words.size());
            }
        }
    }

    void CheckAnnouncedPoints(const std::string& title)
    {
        int count = 0;
        if (m_words.size() < 2) {
            m_problem = "the number of points of the " + title + " is missing";
        } else if (Core::Utilities::ParseInt(m_words[1], count) == 0 || count < 0) {
            m_problem = Quoted(1) + " is no number of points";
        } else if (m_words.size() != 2 + 3 * static_cast<std::size_t>(count)) {
            m_problem = std::to_string(count) + " points make " +
                        Words(2 + 3 * static_cast<std::size_t>(count)) + ", the line has " +
                        std::to_string(m_words.size());
        }
    }

    double Number(std::size_t index)
    {
        const std::optional<double> value = FiniteNumber(m_words[index]);
        if (!value && m_problem.empty()) {
            m_problem = "word " + std::to_string(index + 1) + ", " + Quoted(index) +
                        ", is no finite number";
        }
        return value.value_or(0.0);
    }

    void ReadNumbers()
    {
        const std::optional<std::size_t> fixedCount = PointCountOf(m_content.kind);
        const std::size_t first = fixedCount ? 1 : 2;
        const std::size_t count = fixedCount ? *fixedCount : (m_words.size() - 2) / 3;
        m_content.points.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t word = first + 3 * i;
            const double x = Number(word);
            const double y = Number(word + 1);
            m_content.points.emplace_back(x, y, Number(word + 2));
        }
        if (m_content.kind == Kestrove::EWaylineTypeAHeading)
            m_content.heading = Number(4);
    }

    std::string& m_problem;
    std::vector<std::string> m_words;
    WaylineContent m_content;
};

} // namespace

std::optional<WaylineContent> ReadWaylineText(const std::string& line, std::string& problem)
{
    return CTextReader(line, problem).Read();
}

std::string WriteWaylineText(const WaylineContent& content)
{
    return MakeWayline(content)->ToString();
}
