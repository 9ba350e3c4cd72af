#ifndef KESTROVE_SIMULATOR_OPERATIONS_POSITIONSAMPLE_H
#define KESTROVE_SIMULATOR_OPERATIONS_POSITIONSAMPLE_H

#include <string>

/// One sample of the position feed, in the order of its record: the value at place n stands under
/// tag n.
struct PositionSample
{
    double latitude = 0.0;         ///< degrees, north positive, WGS 84
    double longitude = 0.0;        ///< degrees, east positive
    double height = 0.0;           ///< metres above the ellipsoid
    double courseOverGround = 0.0; ///< radians clockwise from north
    double groundSpeed = 0.0;      ///< metres per second
    double roll = 0.0;             ///< radians
    double pitch = 0.0;            ///< radians
    double yaw = 0.0;              ///< radians clockwise from north
    double rollRate = 0.0;         ///< radians per second
    double pitchRate = 0.0;        ///< radians per second
    double yawRate = 0.0;          ///< radians per second
    double sigmaEast = 0.0;        ///< metres, one sigma
    double sigmaNorth = 0.0;       ///< metres, one sigma
    double sigmaUp = 0.0;          ///< metres, one sigma
    bool positionValid = false;
    int fixQuality = 0; ///< as in NMEA GGA
    int satellitesInUse = 0;
    bool headingValid = false;   ///< yaw counts; otherwise the course does
    bool movesInReverse = false; ///< the machine drives backwards
    int number = 0;
    double unixTime = 0.0; ///< seconds
};

/// Reads the record of a sample.
///
/// @param text "1=...;2=...; ... ;21=...".
/// @param sample receives the values; may be partly filled on failure.
/// @return an empty text on success, otherwise what is wrong with the record.
std::string ReadPositionSample(const std::string& text, PositionSample& sample);

/// Whether a machine can be where the sample says; looks at the values that the service uses.
///
/// @return an empty text when it can, otherwise the impossible value.
std::string ImpossibleInSample(const PositionSample& sample);

#endif
