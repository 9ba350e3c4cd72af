#include <cmath>
#include <functional>
#include <optional>
#include <utility>

#include "tools/navctl/Output.h"
#include "tools/navctl/files/CsvRow.h"
#include "tools/navctl/report/DriveSource.h"

namespace {

constexpr double kRadiansOfADegree = 3.14159265358979323846 / 180.0;
const char* const kTimeNeeded = "time_s";

/// A value of a row; what is left out or "nan" is not known.
std::optional<double> TrackValue(const std::string& text)
{
    if (text.empty() || text == "nan" || text == "-nan" || text == "NaN") {
        return DriveSample::kUnknown;
    }
    if (text == "true" || text == "false") {
        return text == "true" ? 1.0 : 0.0;
    }
    return FiniteNumber(text);
}

/// Reads the rows of a track.
class CTrackReader
{
public:
    CTrackReader(CLineReader& lines, CReadingProgress& progress, CDriveReport& report)
        : m_lines(lines), m_progress(progress), m_report(report)
    {
    }

    DriveReading Read()
    {
        std::string problem = ReadHeader();
        while (problem.empty() && NextLine()) {
            problem = TakeRow();
        }
        if (problem.empty()) {
            problem = std::exchange(m_readProblem, {});
        }
        m_reading.problem = problem.empty() ? problem : ": " + problem;
        return std::move(m_reading);
    }

private:
    using Store = std::function<void(DriveSample&, double)>;
    struct Column
    {
        CsvColumn place;
        std::string name;
        Store store;
    };

    /// Goes to the next line that is neither empty nor a comment.
    bool NextLine()
    {
        do {
            const ELine found = m_lines.Next(m_line);
            if (found == ELine::TooLong) {
                m_readProblem = Numbered("the line is too long");
            } else if (found == ELine::Failed) {
                m_readProblem = "it cannot be read any further";
            }
            if (found != ELine::Line) {
                return false;
            }
            m_progress.Show(m_lines.BytesUsed(), "row");
        } while (m_line.empty() || m_line[0] == '#');
        return true;
    }

    std::string Numbered(const std::string& problem) const
    {
        return "line " + std::to_string(m_lines.LineNumber()) + ": " + problem;
    }

    bool Use(CCsvHeader& header, std::initializer_list<const char*> names, Store store)
    {
        const std::optional<CsvColumn> found = header.Find(names);
        if (found) {
            m_columns.push_back({*found, m_values[found->index], std::move(store)});
        }
        return found.has_value();
    }

    std::string ReadHeader()
    {
        if (!NextLine()) {
            return m_readProblem.empty() ? "there is no line that names columns" : m_readProblem;
        }
        if (!SplitCsvLine(m_line, m_values)) {
            return Numbered("a double quote is not closed");
        }
        CCsvHeader header(m_values);
        m_columnCount = header.Count();
        std::string missing = FindNeeded(header);
        if (!missing.empty()) {
            return "it is neither a recording nor a track: the first line names no column " +
                   missing + SeparatorHint(m_line);
        }
        FindOthers(header);
        return {};
    }

    std::string FindNeeded(CCsvHeader& header)
    {
        if (!Use(header, {"time"}, [](DriveSample& to, double value) { to.time = value; })) {
            return kTimeNeeded;
        }
        const Store x = [](DriveSample& to, double value) { to.x = value; };
        const Store y = [](DriveSample& to, double value) { to.y = value; };
        m_reading.isTrue = Use(header, {"true_x"}, x) && Use(header, {"true_y"}, y);
        const bool hasPlace = m_reading.isTrue || (Use(header, {"x", "east", "measured_x"}, x) &&
                                                   Use(header, {"y", "north", "measured_y"}, y));
        if (!hasPlace) {
            return "true_x_m and true_y_m, or x_m and y_m";
        }
        const bool hasError = Use(header, {"cross_track_error"},
                                  [](DriveSample& to, double value) { to.error = value; });
        return hasError ? "" : "cross_track_error_m";
    }

    void FindOthers(CCsvHeader& header)
    {
        Use(header, {"implement_cross_track_error"},
            [](DriveSample& to, double value) { to.implementError = value; });
        Use(header, {"receiver_drift_error"},
            [](DriveSample& to, double value) { to.driftError = value; });
        Use(header, {"speed"}, [](DriveSample& to, double value) { to.speed = value; });
        Use(header, {"steering_angle"},
            [](DriveSample& to, double value) { to.steeringAngle = value; });
        Use(header, {"pass"}, [](DriveSample& to, double value) {
            to.pass = static_cast<int>(std::abs(value) < 1e9 ? std::lround(value) : 0);
        });
        m_hasEngaged = Use(header, {"engaged"},
                           [](DriveSample& to, double value) { to.isEngaged = value == 1.0; });
        if (!m_hasEngaged) {
            m_reading.remarks.emplace_back("No column \"engaged\": steering is taken to have been "
                                           "engaged wherever there is a cross-track error.");
        }
        if (const std::optional<CsvColumn> run = header.Find({"run"})) {
            m_runColumn = run->index;
        }
    }

    std::string TakeRow()
    {
        if (!SplitCsvLine(m_line, m_values) || m_values.size() != m_columnCount) {
            return TakeBrokenRow();
        }
        DriveSample sample;
        for (const Column& column : m_columns) {
            const std::string& text = m_values[column.place.index];
            const std::optional<double> value = TrackValue(text);
            if (!value) {
                return Numbered("\"" + text + "\" of column " + column.name + " is not a number");
            }
            column.store(sample, column.place.degrees ? *value * kRadiansOfADegree : *value);
        }
        if (!m_hasEngaged) {
            sample.isEngaged = !std::isnan(sample.error);
        }
        if (m_runColumn && m_reading.run.empty()) {
            m_reading.run = m_values[*m_runColumn];
        }
        const std::string problem = m_report.Add(sample);
        return problem.empty() ? problem : Numbered(problem);
    }

    /// The last line of a file that was still being written may lack its end.
    std::string TakeBrokenRow()
    {
        std::string problem = Numbered("there are " + std::to_string(m_values.size()) +
                                       " values for " + std::to_string(m_columnCount) + " columns");
        if (m_values.size() > m_columnCount || NextLine() || !m_readProblem.empty()) {
            return problem;
        }
        m_reading.remarks.emplace_back("The last line is cut, and not counted.");
        return {};
    }

    CLineReader& m_lines;
    CReadingProgress& m_progress;
    CDriveReport& m_report;
    DriveReading m_reading;
    std::string m_line;
    std::string m_readProblem;
    std::vector<std::string> m_values;
    std::vector<Column> m_columns;
    std::size_t m_columnCount = 0;
    std::optional<std::size_t> m_runColumn;
    bool m_hasEngaged = false;
};

} // namespace

DriveReading ReadTrack(CLineReader& lines, CReadingProgress& progress, CDriveReport& report)
{
    return CTrackReader(lines, progress, report).Read();
}
