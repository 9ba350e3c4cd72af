#ifndef KESTROVE_TOOLS_NAVCTL_FEED_CSVSAMPLEREADER_H
#define KESTROVE_TOOLS_NAVCTL_FEED_CSVSAMPLEREADER_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/SampleReader.h"
#include "tools/navctl/feed/TimeOrder.h"
#include "tools/navctl/files/CsvRow.h"
#include "tools/navctl/files/LineReader.h"
#include "tools/navctl/files/LocalFrame.h"

/// How a file of comma-separated values is read as position samples.
struct CsvSampleOptions
{
    std::optional<GeodeticPlace> origin; ///< of the plane that x and y lie in
    std::optional<double> interval;      ///< seconds between the rows, in place of a time column
    double startTime = 0.0;              ///< Unix time of the first row, with an interval
    bool timeIsOfArrival = false;        ///< without a time column, a row's time is when it comes
    std::function<double()> clock;       ///< Unix time, for timeIsOfArrival
    /// Receives in words how the file is read, before the first row is; may be empty.
    std::function<void(const std::string&)> remark{};
    /// Asked, where the file does not name columns, what it should have or may be instead, in
    /// words; may be empty.
    std::function<std::string()> instead{};
};

/// Reads position samples from comma-separated values whose first line names the columns; see
/// docs/navctl-files.md for the names. Columns of other names and lines that begin with "#" are not
/// used. A row that is broken is counted and passed over.
class CCsvSampleReader : public CSampleReader
{
public:
    /// @param lines where the rows come from; must live as long as the reader.
    CCsvSampleReader(CLineReader& lines, CsvSampleOptions options)
        : m_lines(lines), m_options(std::move(options))
    {
    }

    ESample Next(PositionSample& sample, int timeoutMilliseconds) override;

private:
    /// Reads one value of a row into a sample.
    using Store = std::function<void(PositionSample&, double)>;
    struct Column
    {
        CsvColumn place;
        const char* name;
        bool isNeeded;
        Store store;
    };

    std::string WithoutHeader() const;
    /// Counts the line, and returns whether it is empty or a comment.
    bool HoldsNothing();
    std::string Instead() const;
    bool TakeHeader();
    std::string ReadHeader(const std::string& line);
    std::string FindPlace(CCsvHeader& header, const std::string& line);
    std::string FindTime(CCsvHeader& header);
    void FindMovement(CCsvHeader& header);
    void FindQuality(CCsvHeader& header);
    bool Use(CCsvHeader& header, std::initializer_list<const char*> names, bool isNeeded,
             Store store);
    std::string ReadRow(PositionSample& sample);
    std::string ReadValues(PositionSample& sample);
    std::string Complete(PositionSample& sample);

    CLineReader& m_lines;
    CsvSampleOptions m_options;
    std::optional<CLocalFrame> m_frame;
    bool m_hasHeader = false;
    std::size_t m_columnCount = 0;
    std::vector<Column> m_columns;
    std::string m_line;
    std::vector<std::string> m_values;
    Core::Maths::Vector3<double> m_position;
    CTimeOrder m_order;
    bool m_timeIsOfArrival = false;
    double m_rows = 0.0;
};

#endif
