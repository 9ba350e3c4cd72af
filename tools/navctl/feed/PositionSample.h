#ifndef KESTROVE_TOOLS_NAVCTL_FEED_POSITIONSAMPLE_H
#define KESTROVE_TOOLS_NAVCTL_FEED_POSITIONSAMPLE_H

#include <cstdint>
#include <optional>

/// A position sample as a receiver or a file gives it; what neither has given is empty. Angles are
/// radians, clockwise from north; speeds metres per second.
struct PositionSample
{
    double latitude = 0.0;        ///< degrees, WGS 84
    double longitude = 0.0;       ///< degrees, WGS 84
    std::optional<double> height; ///< metres above the ellipsoid
    std::optional<double> course;
    std::optional<double> speed;
    std::optional<double> roll, pitch, yaw;
    std::optional<double> rollRate, pitchRate, yawRate;   ///< radians per second
    std::optional<double> sigmaEast, sigmaNorth, sigmaUp; ///< one-sigma accuracy, metres
    bool positionValid = true;
    int fixQuality = 1;            ///< as in the sentence GGA
    std::optional<int> satellites; ///< in use
    std::optional<bool> reversing;
    std::optional<double> time;   ///< seconds, Unix time where the file has it
    bool timeIsOfArrival = false; ///< the time is when the sample came, not when it was taken
    std::uint64_t sources = 1;    ///< how many sentences or rows it was made of
    std::uint64_t line = 0;       ///< of the file, the first of them; 0 where nobody counts
    bool startsAnew = false;      ///< its time does not go on from that of the sample before
};

#endif
