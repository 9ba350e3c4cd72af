#ifndef KESTROVE_REPORT_REPORTTABLES_H
#define KESTROVE_REPORT_REPORTTABLES_H

#include <string>
#include <vector>

#include "report/DriveReport.h"

/// Where a drive comes from, and what it takes to repeat it.
struct ReportOrigin
{
    std::string source; ///< the name of the file, or what else it was
    std::string made;   ///< the program that makes the report, with its version
    std::string run; ///< version and command that repeat the drive; empty where that is not known
    std::string command; ///< makes the report again; empty where none does
    bool isTrue = true;  ///< whether errors are true ones, and not what guidance took for them
    std::vector<std::string> remarks; ///< on how the drive was read
};

/// A table of a report, for people.
struct ReportTable
{
    std::string title;
    std::string note; ///< in front of the figures; empty for none
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows; ///< each as long as `columns`
};

/// A number with so many decimals; a dash for what is not a number.
std::string FixedText(double value, int decimals);
/// How many of something: "1 sample", "12 samples".
std::string CountText(std::uint64_t count, const std::string& one);
/// What figures rest on: "12 samples, 1.2 s".
std::string RestText(const ErrorSummary& summary);

/// What a report says in figures, in its order.
std::vector<ReportTable> TablesOf(const CDriveReport& report, const ReportOrigin& origin);

#endif
