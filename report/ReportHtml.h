#ifndef KESTROVE_REPORT_REPORTHTML_H
#define KESTROVE_REPORT_REPORTHTML_H

#include <string>

#include "report/ReportTables.h"

/// A report as one HTML file: no script, nothing that is loaded from elsewhere, to be printed on
/// A4.
///
/// @param report after its Finish() has found something to report.
std::string ReportHtml(const CDriveReport& report, const ReportOrigin& origin);

#endif
