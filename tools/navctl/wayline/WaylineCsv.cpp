#include "tools/navctl/wayline/WaylineCsv.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "tools/navctl/files/CsvRow.h"

namespace {

std::string InFull(double value)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return std::string(text.data(), end);
}

/// Reads one file; the problems go to the list.
class CCsvReader
{
public:
    CCsvReader(CLineReader& lines, const WaylineReading& reading)
        : m_lines(lines), m_reading(reading)
    {
    }

    WaylineList Read()
    {
        std::string line;
        ELine state = ELine::Line;
        while ((state = m_lines.Next(line)) != ELine::End) {
            if (state == ELine::Failed) {
                m_list.problems.push_back(std::strerror(errno));
                return m_list;
            }
            if (state == ELine::TooLong) {
                Problem("the line is too long");
            } else if (state == ELine::Line && !line.empty() && !TakeLine(line)) {
                return m_list;
            }
        }
        // Points that could not be read are missing.
        if (m_layout == ELayout::Points && m_list.problems.empty()) {
            TakeCurve(m_firstPoint, {}, std::move(m_points));
        }
        return m_list;
    }

private:
    enum class ELayout
    {
        Unknown,
        Points,
        Rows,
    };

    void Problem(const std::string& text)
    {
        m_list.problems.push_back("line " + std::to_string(m_lines.LinesGiven()) + ": " + text);
    }

    /// @return false when nothing can be made of the file.
    bool TakeLine(const std::string& line)
    {
        if (!SplitCsvLine(line, m_values)) {
            Problem("a double quote is not closed");
            return m_layout != ELayout::Unknown;
        }
        if (m_layout == ELayout::Points) {
            TakePoint();
        } else if (m_layout == ELayout::Rows || IsRow()) {
            m_layout = ELayout::Rows;
            TakeRow();
        } else {
            return TakeHeader(line);
        }
        return true;
    }

    bool IsRow() const
    {
        return m_values.size() >= 4 && FiniteNumber(m_values[1]) && FiniteNumber(m_values[2]);
    }

    bool TakeHeader(const std::string& line)
    {
        CCsvHeader header(m_values);
        m_columnCount = header.Count();
        const auto latitude = header.Find({"latitude", "lat"});
        const auto longitude = header.Find({"longitude", "lon", "lng"});
        const auto x = header.Find({"x"});
        const auto y = header.Find({"y"});
        if (latitude && longitude) {
            if (!m_reading.origin) {
                Problem("latitude and longitude need the origin of the local frame: --origin "
                        "LAT,LON,HEIGHT");
                return false;
            }
            m_frame.emplace(*m_reading.origin);
            m_list.origin = m_reading.origin;
            m_columns = {latitude, longitude, header.Find({"height"})};
        } else if (x && y) {
            m_columns = {x, y, header.Find({"z"})};
        } else {
            Problem("there are neither columns x and y nor latitude and longitude, nor is it a row "
                    "of name, x, y, z, ..." +
                    SeparatorHint(line));
            return false;
        }
        m_layout = ELayout::Points;
        m_firstPoint = m_lines.LinesGiven() + 1;
        return true;
    }

    void TakePoint()
    {
        if (m_values.size() != m_columnCount) {
            return Problem(std::to_string(m_values.size()) + " values for " +
                           std::to_string(m_columnCount) + " columns");
        }
        std::array<double, 3> numbers{};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (!m_columns[i]) {
                continue;
            }
            const std::string& text = m_values[m_columns[i]->index];
            const std::optional<double> value = FiniteNumber(text);
            if (!value) {
                return Problem('"' + text + "\" is no finite number");
            }
            numbers[i] = *value;
        }
        if (m_frame) {
            TakePlace({numbers[0], numbers[1], numbers[2]});
        } else {
            m_points.emplace_back(numbers[0], numbers[1], numbers[2]);
        }
    }

    void TakePlace(GeodeticPlace place)
    {
        if (!m_columns[2]) {
            place.height = m_frame->Origin().height;
        }
        const std::string problem = ImpossiblePlace(place);
        if (!problem.empty()) {
            return Problem(problem);
        }
        m_points.push_back(m_frame->ToLocal(place));
        if (!m_columns[2]) {
            m_points.back().z = 0.0;
        }
    }

    void TakeRow()
    {
        if (m_values.size() < 4 || m_values.size() % 3 != 1) {
            return Problem(std::to_string(m_values.size()) +
                           " values are no name followed by x, y, z of each point");
        }
        std::vector<double> numbers;
        for (std::size_t i = 1; i < m_values.size(); ++i) {
            const std::optional<double> value = FiniteNumber(m_values[i]);
            if (!value) {
                return Problem("value " + std::to_string(i + 1) + ", \"" + m_values[i] +
                               "\", is no finite number");
            }
            numbers.push_back(*value);
        }
        std::vector<WaylinePoint> points;
        for (std::size_t i = 0; i < numbers.size(); i += 3) {
            points.emplace_back(numbers[i], numbers[i + 1], numbers[i + 2]);
        }
        TakeCurve(m_lines.LinesGiven(), m_values[0], std::move(points));
    }

    void TakeCurve(std::uint64_t number, const std::string& name, std::vector<WaylinePoint> points)
    {
        const bool isHeaderAlone = m_layout == ELayout::Points && points.empty();
        const std::string problem = isHeaderAlone
                                        ? "there is no point below the names of the columns"
                                        : PointCountProblem(m_reading.kind, points.size());
        if (!problem.empty()) {
            m_list.problems.push_back("line " + std::to_string(number) + ": " + problem);
            return;
        }
        m_list.entries.push_back({number, {m_reading.kind, std::move(points), 0.0, name}, ""});
    }

    CLineReader& m_lines;
    const WaylineReading& m_reading;
    ELayout m_layout = ELayout::Unknown;
    std::vector<std::string> m_values;
    std::size_t m_columnCount = 0;
    std::array<std::optional<CsvColumn>, 3> m_columns;
    std::optional<CLocalFrame> m_frame;
    std::uint64_t m_firstPoint = 0;
    std::vector<WaylinePoint> m_points;
    WaylineList m_list;
};

/// Why an entry cannot be written beside the others; empty when it can.
std::string Obstacle(const WaylineContent& content, const WaylineList& list)
{
    const std::string title = KindTitle(content.kind);
    if (content.kind == Kestrove::EWaylineTypeAHeading) {
        return "CSV points have no place for the heading of an " + title;
    }
    if (content.kind == Kestrove::EWaylineTypePath ||
        content.kind == Kestrove::EWaylineTypeReplay) {
        return "a " + title + " has no points to write";
    }
    const Kestrove::EWaylineType first = list.entries.front().content.kind;
    if (content.kind != first) {
        return "CSV points do not name their kind, so that " + title + " and " + KindTitle(first) +
               " cannot be in one file";
    }
    if (list.entries.size() > 1 && content.points.empty()) {
        return "it has no points to write";
    }
    return {};
}

std::string CannotWrite(const WaylineList& list)
{
    for (const WaylineList::Entry& entry : list.entries) {
        const std::string obstacle = Obstacle(entry.content, list);
        if (!obstacle.empty()) {
            return "wayline " + std::to_string(entry.number) + ": " + obstacle;
        }
    }
    return {};
}

std::string PointText(const WaylinePoint& point)
{
    return InFull(point.x) + "," + InFull(point.y) + "," + InFull(point.z);
}

} // namespace

WaylineList ReadWaylineCsv(CLineReader& lines, const WaylineReading& reading)
{
    return CCsvReader(lines, reading).Read();
}

std::string WriteWaylineCsv(const WaylineList& list, std::string& csv)
{
    std::string problem = CannotWrite(list);
    if (!problem.empty()) {
        return problem;
    }
    csv.clear();
    if (list.entries.size() == 1) {
        csv = "x,y,z\n";
        for (const WaylinePoint& point : list.entries[0].content.points) {
            csv += PointText(point) + "\n";
        }
        return {};
    }
    for (const WaylineList::Entry& entry : list.entries) {
        const std::string& name = entry.content.name;
        csv += name.empty() ? "wayline-" + std::to_string(entry.number) : CsvValue(name);
        for (const WaylinePoint& point : entry.content.points) {
            csv += "," + PointText(point);
        }
        csv += "\n";
    }
    return {};
}
