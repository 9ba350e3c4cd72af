#include "tools/navctl/feed/CsvSampleReader.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include "tools/navctl/files/Angle.h"

namespace {

const std::string kTimeColumn = "time";

} // namespace

bool CCsvSampleReader::HoldsNothing()
{
    CountLine(m_lines.LineNumber(), m_line.empty() ? 0 : 1);
    const bool isComment = !m_line.empty() && m_line.front() == '#';
    if (isComment) {
        m_notUsed.Add("comments", m_lines.LineNumber());
    }
    return m_line.empty() || isComment;
}

ESample CCsvSampleReader::Next(PositionSample& sample, int timeoutMilliseconds)
{
    const CReadTurn turn(timeoutMilliseconds);
    while (true) {
        if (turn.IsOver()) {
            return ESample::NothingYet;
        }
        switch (m_lines.Next(m_line, timeoutMilliseconds)) {
        case ELine::End:
            m_problem = WithoutHeader();
            return m_hasHeader ? ESample::End : ESample::Failed;
        case ELine::Failed:
            m_problem = std::strerror(errno);
            return ESample::Failed;
        case ELine::NothingYet:
            return ESample::NothingYet;
        case ELine::TooLong:
            CountLine(m_lines.LineNumber(), 1);
            m_skipped.Add("line too long", m_lines.LineNumber());
            continue;
        case ELine::Line:
            break;
        }
        if (HoldsNothing()) {
            continue;
        }
        if (!m_hasHeader) {
            if (TakeHeader()) {
                continue;
            }
            return ESample::Failed;
        }
        sample = {};
        sample.line = m_lines.LineNumber();
        const std::string problem = ReadRow(sample);
        if (problem.empty()) {
            return ESample::Sample;
        }
        m_skipped.Add(problem, m_lines.LineNumber());
    }
}

bool CCsvSampleReader::TakeHeader()
{
    m_problem = ReadHeader(m_line);
    m_hasHeader = m_problem.empty();
    m_notUsed.Add(m_hasHeader ? "line with the names of columns"
                              : "line that was looked at for columns",
                  m_lines.LineNumber());
    return m_hasHeader;
}

std::string CCsvSampleReader::ReadHeader(const std::string& line)
{
    const std::string where = "line " + std::to_string(m_lines.LineNumber());
    if (!SplitCsvLine(line, m_values)) {
        return where + ": a double quote is not closed" + Instead();
    }
    CCsvHeader header(m_values);
    if (!header.Find(
            {"latitude", "lat", "longitude", "lon", "lng", "x", "y", "time", "timestamp"})) {
        return where + " does not name the columns" + SeparatorHint(line) + Instead();
    }
    m_columnCount = header.Count();
    std::string problem = FindPlace(header, line);
    if (problem.empty()) {
        problem = FindTime(header);
    }
    if (!problem.empty()) {
        return where + " names the columns, but " + problem;
    }
    FindMovement(header);
    FindQuality(header);
    m_unusedColumns = header.Unused();
    if (m_options.remark && !m_unusedColumns.empty()) {
        m_options.remark(Remark());
    }
    return {};
}

/// Why a file that has ended without the names of its columns is not one of samples.
std::string CCsvSampleReader::WithoutHeader() const
{
    if (Counts().lines == 0) {
        return "the file is empty";
    }
    std::string found;
    const auto add = [&found](std::uint64_t count, const std::string& what) {
        if (count > 0) {
            found += (found.empty() ? "" : ", ") + std::to_string(count) + " " + what +
                     (count == 1 ? "" : "s");
        }
    };
    add(m_notUsed.Total(), "comment");
    add(Counts().empty, "empty line");
    add(m_skipped.Total(), "overlong line");
    return "there is no line that names the columns; found: " + found + Instead();
}

/// What the file may be instead, as the end of a sentence.
std::string CCsvSampleReader::Instead() const
{
    return m_options.instead ? "; " + m_options.instead() : std::string();
}

/// @return true when the file has such a column.
bool CCsvSampleReader::Use(CCsvHeader& header, std::initializer_list<const char*> names,
                           bool isNeeded, Store store)
{
    const std::optional<CsvColumn> column = header.Find(names);
    if (column) {
        m_columns.push_back({*column, *names.begin(), isNeeded, std::move(store)});
    }
    return column.has_value();
}

std::string CCsvSampleReader::FindPlace(CCsvHeader& header, const std::string& line)
{
    const bool hasLatitude = Use(header, {"latitude", "lat"}, true,
                                 [](auto& sample, double value) { sample.latitude = value; });
    const bool hasLongitude = Use(header, {"longitude", "lon", "lng"}, true,
                                  [](auto& sample, double value) { sample.longitude = value; });
    if (hasLatitude && hasLongitude) {
        Use(header, {"height"}, false, [](auto& sample, double value) { sample.height = value; });
        return {};
    }
    if (hasLatitude || hasLongitude) {
        return std::string("there is no ") + (hasLatitude ? "longitude" : "latitude");
    }
    const bool hasX =
        Use(header, {"x"}, true, [this](auto&, double value) { m_position.x = value; });
    const bool hasY =
        Use(header, {"y"}, true, [this](auto&, double value) { m_position.y = value; });
    if (!hasX || !hasY) {
        return "there are neither latitude and longitude nor x and y" + SeparatorHint(line);
    }
    if (!m_options.origin) {
        return "x and y need the place of their origin: --origin LAT,LON,HEIGHT";
    }
    Use(header, {"z"}, false, [this](auto&, double value) { m_position.z = value; });
    m_frame.emplace(*m_options.origin);
    return {};
}

std::string CCsvSampleReader::FindTime(CCsvHeader& header)
{
    if (m_options.interval) {
        return {};
    }
    const bool hasTime = Use(header, {kTimeColumn.c_str(), "timestamp"}, true,
                             [](auto& sample, double value) { sample.time = value; });
    m_timeIsOfArrival = !hasTime && m_options.timeIsOfArrival;
    if (hasTime || m_timeIsOfArrival) {
        return {};
    }
    return "there is no time; without it, tell the seconds between the rows: --interval SECONDS";
}

void CCsvSampleReader::FindMovement(CCsvHeader& header)
{
    using Value = std::optional<double> PositionSample::*;
    const auto number = [&](std::initializer_list<const char*> names, Value value) {
        Use(header, names, false, [value](auto& sample, double read) { sample.*value = read; });
    };
    const auto direction = [&](std::initializer_list<const char*> names, Value value) {
        Use(header, names, false,
            [value](auto& sample, double read) { sample.*value = NormalisedHeading(read); });
    };
    direction({"course"}, &PositionSample::course);
    direction({"heading", "yaw"}, &PositionSample::yaw);
    // Mathematicians' angle, as robots' files have it: counter-clockwise from east.
    Use(header, {"theta"}, false,
        [](auto& sample, double read) { sample.yaw = NormalisedHeading(kPi / 2.0 - read); });
    number({"speed"}, &PositionSample::speed);
    number({"roll"}, &PositionSample::roll);
    number({"pitch"}, &PositionSample::pitch);
    number({"roll_rate"}, &PositionSample::rollRate);
    number({"pitch_rate"}, &PositionSample::pitchRate);
    number({"yaw_rate"}, &PositionSample::yawRate);
    number({"sigma_east"}, &PositionSample::sigmaEast);
    number({"sigma_north"}, &PositionSample::sigmaNorth);
    number({"sigma_up"}, &PositionSample::sigmaUp);
}

void CCsvSampleReader::FindQuality(CCsvHeader& header)
{
    const auto whole = [](double value) {
        return static_cast<int>(std::lround(std::fmin(std::fmax(value, -1e6), 1e6)));
    };
    Use(header, {"valid"}, false,
        [](auto& sample, double value) { sample.positionValid = value != 0.0; });
    Use(header, {"fix_quality"}, false,
        [whole](auto& sample, double value) { sample.fixQuality = whole(value); });
    Use(header, {"satellites"}, false,
        [whole](auto& sample, double value) { sample.satellites = whole(value); });
    Use(header, {"reversing"}, false,
        [](auto& sample, double value) { sample.reversing = value != 0.0; });
}

std::string CCsvSampleReader::ReadRow(PositionSample& sample)
{
    if (!SplitCsvLine(m_line, m_values)) {
        return "a double quote is not closed";
    }
    if (m_values.size() != m_columnCount) {
        return m_values.size() < m_columnCount ? "too few columns" : "too many columns";
    }
    m_position = {};
    std::string problem = ReadValues(sample);
    // A row that is broken takes its time all the same: the others keep theirs.
    if (m_options.interval) {
        sample.time = m_options.startTime + *m_options.interval * m_rows++;
    } else if (m_timeIsOfArrival) {
        sample.time = m_options.clock();
    }
    sample.timeIsOfArrival = m_timeIsOfArrival;
    return problem.empty() ? Complete(sample) : problem;
}

std::string CCsvSampleReader::ReadValues(PositionSample& sample)
{
    for (const Column& column : m_columns) {
        const std::string& text = m_values[column.place.index];
        if (text.empty() && !column.isNeeded) {
            continue;
        }
        const std::optional<double> value = FiniteNumber(text);
        if (!value) {
            return (text.empty() ? "no " : "bad number: ") + std::string(column.name) +
                   (!text.empty() && column.name == kTimeColumn ? ", which must be in seconds"
                                                                : "");
        }
        const bool isPlace = column.isNeeded;
        column.store(sample, column.place.degrees && !isPlace ? Radians(*value) : *value);
    }
    return {};
}

/// Makes the place geodetic and looks whether the sample can follow the last one.
std::string CCsvSampleReader::Complete(PositionSample& sample)
{
    if (m_frame) {
        const GeodeticPlace place = m_frame->ToGeodetic(m_position);
        sample.latitude = place.latitude;
        sample.longitude = place.longitude;
        sample.height = place.height;
        for (auto* direction : {&sample.course, &sample.yaw}) {
            if (*direction) {
                *direction = m_frame->ToTrueHeading(m_position, **direction);
            }
        }
    }
    if (!ImpossiblePlace({sample.latitude, sample.longitude, sample.height.value_or(0.0)})
             .empty()) {
        return "no place on the earth";
    }
    if (m_timeIsOfArrival) {
        return {};
    }
    const ETimeOrder order = m_order.Take(*sample.time);
    sample.startsAnew = order == ETimeOrder::NewStart;
    return order == ETimeOrder::NotLater ? kNoLaterTime : std::string();
}
