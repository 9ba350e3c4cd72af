#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAVALUES_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAVALUES_H

#include <cstdint>
#include <optional>
#include <string_view>

// The values of which the fields of sentences are made. A field that is empty has none.

/// Thrown out of the reading of a field to ReadReport(), which gives it on as a problem.
struct BadField
{
    const char* what; ///< the name of the field
};

/// Whether a character is one of 0 to 9.
bool IsDigit(char character);

/// A number from a range.
///
/// @throws BadField with `what` when the field is not such a number; so do all the others.
std::optional<double> FieldNumber(std::string_view text, const char* what, double lowest,
                                  double highest);

/// A whole number that is not negative.
std::optional<int> WholeNumber(std::string_view text, const char* what);

/// "hhmmss" or "hhmmss.sss" in milliseconds. Hour 24 is 0 h.
std::optional<std::int64_t> TimeOfDay(std::string_view text);

/// A day that is given with a time of the day; the next one when that is of hour 24.
std::optional<std::int64_t> DayOfTime(std::optional<std::int64_t> day, std::string_view time);

/// "ddmmyy" in days since 1970-01-01.
std::optional<std::int64_t> Day(std::string_view text);

/// "ddmm.mmm" and a hemisphere in degrees.
///
/// @param letters the two hemispheres, the positive one first.
/// @param highest degrees.
std::optional<double> Coordinate(std::string_view text, std::string_view hemisphere,
                                 std::string_view letters, double highest, const char* what);

/// Degrees clockwise from north, in radians.
std::optional<double> Direction(std::string_view text, const char* what);

/// A value times a factor.
std::optional<double> Scaled(std::optional<double> value, double factor);

/// Degrees with the sign of their side: "E" or "W".
std::optional<double> SidedDegrees(std::string_view text, std::string_view side, const char* what);

/// Days since 1970-01-01 of a date of the Gregorian calendar; nothing when there is no such date.
std::optional<std::int64_t> DaysSince1970(int year, int month, int day);

#endif
