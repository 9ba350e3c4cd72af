#ifndef KESTROVE_SIMULATOR_NMEA_NMEASENTENCES_H
#define KESTROVE_SIMULATOR_NMEA_NMEASENTENCES_H

#include <cstdint>
#include <optional>
#include <string>

#include "simulator/machine/ReceiverReport.h"
#include "simulator/operations/PositionFeed.h"

/// What a receiver reports of one time. What is empty is not known and has an empty field.
struct NmeaMoment
{
    std::int64_t unixMilliseconds = 0;
    EFix fix = EFix::None;
    GeodeticPlace place;                 ///< counts with a fix
    std::optional<double> correctionAge; ///< seconds
    double speed = 0.0;                  ///< over ground, metres per second, never negative
    std::optional<double> course;        ///< over ground, radians clockwise from true north
    std::optional<double> heading;       ///< radians clockwise from true north
    std::optional<double> yawRate;       ///< radians per second, clockwise
    double roll = 0.0;                   ///< radians, positive with the right side down
    double pitch = 0.0;                  ///< radians, positive with the front up
    double positionSigma = 0.0;          ///< metres, of north and east alike
    double headingSigma = 0.0;           ///< radians
};

/// The sentences of a moment: GGA, VTG, HDT, ROT, PASHR, GST, ZDA and RMC, each with its checksum
/// and CR LF. Those without a time stand between two with the time of the moment, so that a reader
/// is never in doubt which moment they are of.
std::string NmeaSentences(const NmeaMoment& moment);

/// A sentence of what stands between its dollar sign and its checksum.
std::string NmeaSentence(const std::string& body);

#endif
