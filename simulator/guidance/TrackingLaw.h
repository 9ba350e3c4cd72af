#ifndef KESTROVE_SIMULATOR_GUIDANCE_TRACKINGLAW_H
#define KESTROVE_SIMULATOR_GUIDANCE_TRACKINGLAW_H

#include "simulator/guidance/Tuning.h"

/// How hard the machine is steered to the line.
struct TrackingGains
{
    double lookAheadDistance; ///< metres over which a cross-track error is aimed away
    double sensitivity;       ///< scales the reaction to the cross-track error
    double damping;           ///< 1/m: how fast the course takes the direction of approach
    double greatestSlope;     ///< the tangent of the greatest angle of approach
    double steeringRate;      ///< radians per second
    double bendRate;          ///< 1/m^2: how fast the steering rate changes the curvature driven
};

/// The gains that the tuning gives at a speed.
///
/// @param lookAheadTime seconds.
/// @param speed metres per second, without sign.
TrackingGains GainsFor(const CTuning& tuning, double lookAheadTime, double speed);

/// Where the machine is relative to the line, both as seen in the direction in which it moves.
struct TrackingError
{
    double crossTrack = 0.0;    ///< metres, positive right of the line
    double course = 0.0;        ///< radians, positive when moving off to the right
    double lineCurvature = 0.0; ///< 1/m, positive to the right
};

/// The approach that the gains ask for, and how far the course is from it, in metres aside a metre
/// along, positive to the right.
struct Approach
{
    double slopeError = 0.0;
    double wantedSlope = 0.0;
};

Approach ApproachOf(const TrackingError& error, const TrackingGains& gains);

/// The curvature to drive, 1/m, positive to the right.
///
/// The machine's movement is written in chained form, in distance along the line instead of time
/// (Samson, "Control of Chained Systems: Application to Path Following and Time-Varying
/// Point-Stabilization of Mobile Robots", 1995; applied to farm tractors by Thuilot, Cariou,
/// Martinet and Berducat, "Automatic Guidance of a Farm Tractor Relying on a Single CP-DGPS",
/// 2002), in which it is linear whatever the curvature of the line. The slope towards the line is
/// the cross-track error over the look-ahead distance, which is line-of-sight guidance (Fossen,
/// Breivik and Skjetne, "Line-of-Sight Path Following of Underactuated Marine Craft", 2003),
/// limited to the angle of approach. A large error of the slope is met no harder than the steering
/// rate can take back in time, after the switching curve of the double integrator (Bryson and Ho,
/// "Applied Optimal Control", 1975). The line's own curvature comes back as feed-forward.
double TrackingCurvature(const TrackingError& error, const TrackingGains& gains);

#endif
