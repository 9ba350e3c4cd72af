#ifndef KESTROVE_SIMULATOR_WORLD_FEDPOSITION_H
#define KESTROVE_SIMULATOR_WORLD_FEDPOSITION_H

#include <optional>

#include "simulator/machine/Pose.h"

/// A position sample from outside. The machine is where the samples say until none came for 5 s.
struct FedPosition
{
    bool valid = false; ///< a sample that is not valid is passed over
    Point position;
    std::optional<double> heading; ///< radians clockwise from north; without it the course counts
    double course = 0.0;           ///< radians clockwise from north, the direction of movement
    double speed = 0.0;            ///< metres per second over ground, never negative
    bool reverse = false;          ///< the machine moves backwards
    std::optional<double> yawRate; ///< radians per second, clockwise; 0 when nobody measures it
    double sigma = 0.0;            ///< metres, one sigma of the position; 0 when nobody knows it
    double age = 0.0;              ///< seconds since it was measured
    int fixQuality = 4;            ///< as in NMEA GGA
    int number = 0;                ///< of the sample
    double time = 0.0;             ///< when it was measured, Unix time in seconds; 0 unknown

    /// Whether it is the same sample, however late.
    bool operator==(const FedPosition& other) const;
};

#endif
