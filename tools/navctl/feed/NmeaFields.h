#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAFIELDS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAFIELDS_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/navctl/feed/NmeaSentence.h"

/// What one sentence tells, in this project's units; what it leaves out is empty.
struct NmeaReport
{
    std::optional<std::int64_t> timeOfDay; ///< milliseconds, UTC
    std::optional<std::int64_t> day;       ///< days since 1970-01-01
    std::optional<double> latitude;        ///< degrees
    std::optional<double> longitude;       ///< degrees
    std::optional<double> altitude;        ///< metres above mean sea level
    std::optional<double> geoidSeparation; ///< metres, of the geoid above the ellipsoid
    std::optional<int> fixQuality;         ///< as in the sentence GGA
    std::optional<int> satellites;         ///< in use
    std::optional<double> course;          ///< radians, clockwise from north
    std::optional<double> speed;           ///< metres per second
    std::optional<double> heading;         ///< radians, clockwise from north
    std::optional<double> sigmaNorth, sigmaEast, sigmaUp; ///< metres
};

/// True for the types of sentences that ReadReport() reads: GGA, RMC, VTG, HDT, GST.
bool IsReported(const std::string& type);

/// Reads the fields of a sentence.
///
/// @param sentence a sentence of a type that IsReported().
/// @param problem receives which field is wrong, in words that hold nothing of the sentence but its
///        type.
/// @return nothing when a field that is not empty cannot be read.
std::optional<NmeaReport> ReadReport(const NmeaSentence& sentence, std::string& problem);

/// Days since 1970-01-01 of a date of the Gregorian calendar; nothing when there is no such date.
std::optional<std::int64_t> DaysSince1970(int year, int month, int day);

#endif
