#ifndef KESTROVE_SIMULATOR_GUIDANCE_AXLEPATH_H
#define KESTROVE_SIMULATOR_GUIDANCE_AXLEPATH_H

#include "simulator/guidance/LineShape.h"
#include "simulator/machine/Implement.h"

/// What the machine's rear axle has to drive along for the implement to be on its own line.
struct AxleGuide
{
    const CLineShape& line; ///< the followed pass
    bool facesAgainst;      ///< the machine looks against the direction of the line
    ImplementGeometry implement;
    double aside; ///< metres by which the implement's middle is left of the machine's, so that its
                  ///< line is as far left of the pass
};

/// Where a machine is relative to the axle's path, seen in the direction in which it looks.
struct BesideAxlePath
{
    double crossTrack = 0.0; ///< metres, positive right of the path
    double heading = 0.0;    ///< of the path there, radians clockwise from north
    double curvature = 0.0;  ///< of the path so far ahead as asked, 1/m, positive to the right
};

/// Finds the machine beside the axle's path.
///
/// Without side slip the axle's velocity has the direction in which the machine looks. A point of
/// the machine that is led along a line behind the axle hence determines the path of the axle: it
/// is the tractrix that the axle would describe if the point towed it along the line in the
/// opposite direction. That is how the path is calculated, from far ahead backwards, where any
/// start is forgotten over a few lengths of the bar. The hitch of a trailed implement, whose middle
/// moves in the direction of its drawbar, is the drawbar's length ahead of the middle along the
/// tangent of its line. Worked out here; on a circle of radius R it comes to the closed form
/// sqrt(R^2 + drawbar^2 - behind^2) for the axle.
///
/// @param station of the place beside `place` on the line.
/// @param preview metres ahead at which the curvature is taken; negative behind.
BesideAxlePath FindBesideAxlePath(const AxleGuide& guide, double station, const Point& place,
                                  double preview);

#endif
