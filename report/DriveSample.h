#ifndef KESTROVE_REPORT_DRIVESAMPLE_H
#define KESTROVE_REPORT_DRIVESAMPLE_H

#include <limits>

/// The machine at a moment. What is not known is not a number.
struct DriveSample
{
    static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

    double time = 0.0;                ///< seconds
    double x = 0.0;                   ///< metres east
    double y = 0.0;                   ///< metres north
    double speed = kUnknown;          ///< metres per second, negative backwards
    double steeringAngle = kUnknown;  ///< radians, positive to the right
    double error = kUnknown;          ///< cross-track error, metres, positive right of the line
    double implementError = kUnknown; ///< the same of the implement
    double driftError = kUnknown;     ///< what the receiver's drift has of both
    int pass = 0;                     ///< 0 the line itself
    bool isEngaged = false;
};

#endif
