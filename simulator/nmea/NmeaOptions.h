#ifndef KESTROVE_SIMULATOR_NMEA_NMEAOPTIONS_H
#define KESTROVE_SIMULATOR_NMEA_NMEAOPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/nmea/NmeaSource.h"

/// Where sentences go.
struct NmeaTarget
{
    std::optional<std::uint16_t> port; ///< of the loopback addresses; none for a file
    std::string path;                  ///< of the file
};

/// What the receiver says to others than guidance.
struct NmeaOptions
{
    std::vector<NmeaTarget> targets; ///< none: it says nothing
    int rate = kUsualNmeaRate;       ///< moments a second
    GeodeticPlace origin = kUsualNmeaOrigin;
};

/// Reads "tcp:PORT" or "file:PATH".
///
/// @return nothing when it is neither.
std::optional<NmeaTarget> ReadNmeaTarget(const std::string& word);

#endif
