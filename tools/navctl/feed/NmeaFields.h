#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEAFIELDS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEAFIELDS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/NmeaSentence.h"

/// The types of sentences that are read.
enum class ENmeaType : std::uint8_t
{
    Gga,   ///< position
    Gns,   ///< position by several systems
    Rmc,   ///< position, speed, course, date
    Gll,   ///< position
    Gst,   ///< accuracy
    Gbs,   ///< only its time
    Zda,   ///< date
    Pashr, ///< attitude, with a time of its own
    Vtg,   ///< course and speed
    Hdt,   ///< true heading
    Ths,   ///< true heading with its state
    Hdg,   ///< magnetic heading
    Rot,   ///< rate of turn
    Gsa,   ///< satellites in use
    Other, ///< none of them
};

/// How signs of angles are to be taken that makers see differently.
struct NmeaSigns
{
    bool invertRoll = false;  ///< positive is port side down
    bool invertPitch = false; ///< positive is bow down
};

/// What one sentence reports, in this project's units; what it leaves out is empty.
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
    std::optional<double> roll, pitch;     ///< radians; starboard down and bow up are positive
    std::optional<double> yawRate;         ///< radians per second, clockwise
    std::optional<double> sigmaNorth, sigmaEast, sigmaUp; ///< metres
    std::array<std::uint16_t, 12> satelliteIds{};         ///< of GSA; 0 where there is none
    std::uint16_t systemId = 0;                           ///< of GSA; 0 where it is not given
};

/// The type of a sentence that ReadReport() reads; Other for one that it does not.
ENmeaType TypeOf(const NmeaSentence& sentence);

/// The type of a name such as "GGA"; nothing for one that is not read.
std::optional<ENmeaType> TypeByName(std::string_view name);

/// The names of all types that are read.
std::vector<std::string> NmeaTypeNames();

/// The name of a type as it stands in a sentence: "GGA".
const char* NameOf(ENmeaType type);

/// Whether sentences of a type say which time they are of.
bool HasTime(ENmeaType type);

/// Reads the fields of a sentence.
///
/// @param sentence a sentence of a type that is not Other.
/// @param report receives what it says.
/// @return which field is wrong, in words that hold nothing of the sentence but its type; empty
///         when every field that is not empty could be read.
std::string ReadReport(const NmeaSentence& sentence, ENmeaType type, const NmeaSigns& signs,
                       NmeaReport& report);

#endif
