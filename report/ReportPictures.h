#ifndef KESTROVE_REPORT_REPORTPICTURES_H
#define KESTROVE_REPORT_REPORTPICTURES_H

#include <string>
#include <vector>

#include "report/DriveReport.h"

/// A picture of a report.
struct ReportPicture
{
    std::string title;
    std::string svg;
    std::string caption; ///< what is seen, and what the picture does not show
};

/// The pictures of a report in their order: the map, the errors over time, how often which error
/// came, and the steering angle where it is known. They can be told apart without colours.
std::vector<ReportPicture> PicturesOf(const CDriveReport& report);

#endif
