#include "tools/navctl/wayline/WaylineText.h"

#include <algorithm>
#include <array>

#include "platform/Utilities.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

/// The words of a line, one after the other: a line may have millions.
class CWords
{
public:
    explicit CWords(const std::string& line) : m_line(line) {}

    /// @return whether there is another word, which `word` receives.
    bool Next(std::string& word)
    {
        const std::size_t begin = m_line.find_first_not_of(' ', m_place);
        if (begin == std::string::npos) {
            return false;
        }
        m_place = std::min(m_line.find(' ', begin), m_line.size());
        word.assign(m_line, begin, m_place - begin);
        return true;
    }

private:
    const std::string& m_line;
    std::size_t m_place = 0;
};

/// Reads the words of one line; the first fault stays.
class CTextReader
{
public:
    CTextReader(const std::string& line, std::string& problem) : m_line(line), m_problem(problem)
    {
        CWords words(line);
        while (words.Next(m_word)) {
            // Only the first two are looked at by their place.
            if (m_wordCount < m_words.size()) {
                m_words[m_wordCount] = m_word;
            }
            ++m_wordCount;
        }
    }

    std::optional<WaylineContent> Read()
    {
        m_problem.clear();
        ReadKind();
        if (m_problem.empty()) {
            CheckWordCount();
        }
        if (m_problem.empty()) {
            ReadNumbers();
        }
        return m_problem.empty() ? std::optional(m_content) : std::nullopt;
    }

private:
    static std::string Quoted(const std::string& word)
    {
        constexpr std::size_t kLongest = 40;
        return '"' + (word.size() > kLongest ? word.substr(0, kLongest) + "..." : word) + '"';
    }

    std::string Words(std::size_t count) const
    {
        return std::to_string(count) + (count == 1 ? " word" : " words");
    }

    void ReadKind()
    {
        int code = 0;
        if (m_wordCount == 0) {
            m_problem = "there is no word";
        } else if (Core::Utilities::ParseInt(m_words[0], code) == 0 ||
                   code < Kestrove::EWaylineTypeEmpty || code > Kestrove::EWaylineTypeReplay) {
            m_problem = Quoted(m_words[0]) + " is no code of a kind (0 to 6)";
        } else if (code == Kestrove::EWaylineTypeEmpty) {
            m_problem =
                "an empty wayline has no text form; navctl clear-wayline drops the service's";
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
            if (m_wordCount > 2 || (m_wordCount == 2 && m_words[1] != "0")) {
                m_problem = "a " + title + " is its code alone, with or without a 0 behind it";
            }
        } else {
            const bool hasHeading = m_content.kind == Kestrove::EWaylineTypeAHeading;
            const std::size_t wanted = 1 + *points * 3 + (hasHeading ? 1 : 0);
            if (m_wordCount != wanted) {
                m_problem = "the text of kind " + title + " has " + Words(wanted) + ", this one " +
                            Words(m_wordCount);
            }
        }
    }

    void CheckAnnouncedPoints(const std::string& title)
    {
        int count = 0;
        if (m_wordCount < 2) {
            m_problem = "the number of points of the " + title + " is missing";
        } else if (Core::Utilities::ParseInt(m_words[1], count) == 0 || count < 0) {
            m_problem = Quoted(m_words[1]) + " is no number of points";
        } else if (m_wordCount != 2 + 3 * static_cast<std::size_t>(count)) {
            m_problem = std::to_string(count) + " points make " +
                        Words(2 + 3 * static_cast<std::size_t>(count)) + ", the line has " +
                        std::to_string(m_wordCount);
        }
    }

    /// The next word as a number.
    double Number(CWords& words, std::size_t index)
    {
        words.Next(m_word);
        const std::optional<double> value = FiniteNumber(m_word);
        if (!value && m_problem.empty()) {
            m_problem = "word " + std::to_string(index + 1) + ", " + Quoted(m_word) +
                        ", is no finite number";
        }
        return value.value_or(0.0);
    }

    void ReadNumbers()
    {
        const std::optional<std::size_t> fixedCount = PointCountOf(m_content.kind);
        const std::size_t first = fixedCount ? 1 : 2;
        const std::size_t count = fixedCount ? *fixedCount : (m_wordCount - 2) / 3;
        CWords words(m_line);
        for (std::size_t place = 0; place < first; ++place) {
            words.Next(m_word);
        }
        m_content.points.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t word = first + 3 * i;
            const double x = Number(words, word);
            const double y = Number(words, word + 1);
            m_content.points.emplace_back(x, y, Number(words, word + 2));
        }
        if (m_content.kind == Kestrove::EWaylineTypeAHeading) {
            m_content.heading = Number(words, 4);
        }
    }

    const std::string& m_line;
    std::string& m_problem;
    std::array<std::string, 2> m_words;
    std::size_t m_wordCount = 0;
    std::string m_word;
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
