#ifndef KESTROVE_TOOLS_NAVCTL_REPORT_REPORTJSON_H
#define KESTROVE_TOOLS_NAVCTL_REPORT_REPORTJSON_H

#include "report/ReportTables.h"
#include "tools/navctl/Context.h"

/// The figures of a report as JSON: metres, seconds, radians; null for what is not known.
Json ReportJson(const CDriveReport& report, const ReportOrigin& origin);

#endif
