#ifndef KESTROVE_SIMULATOR_MACHINE_IMPLEMENT_H
#define KESTROVE_SIMULATOR_MACHINE_IMPLEMENT_H

#include "simulator/machine/Pose.h"

/// How the implement hangs on the machine, metres.
struct ImplementGeometry
{
    double behind = 2.0;  ///< from the rear axle to a carried implement's middle, or to the hitch
    double drawbar = 0.0; ///< from the hitch to a trailed implement's middle; 0 for a carried one
};

/// The direction from a towed point to the one that tows it, after that has moved on straight by
/// `distance` in the direction `course`, on a bar of the length `bar`.
///
/// The towed point moves along the bar alone, and so on a tractrix: with the angle a between bar
/// and course, da/ds = -sin(a) / bar, whose solution is tan(a / 2) falling by exp(-s / bar).
double BarAfter(double direction, double course, double distance, double bar);

/// The implement behind the machine. A trailed one runs after its hitch without slipping aside.
class CImplement
{
public:
    CImplement(const ImplementGeometry& geometry, const Pose& machine);

    /// Moves on with the machine.
    void Follow(const Pose& machine);
    /// Hangs straight behind the machine, which has been put elsewhere.
    void Straighten(const Pose& machine);

    const ImplementGeometry& Geometry() const { return m_geometry; }
    /// The middle of the implement when it is `aside` metres to the left of its hanger.
    Point Middle(double aside) const;
    /// The place where it hangs: the hitch, or the carried implement's middle.
    const Point& Hitch() const { return m_hitch; }
    /// Where it looks, radians clockwise from north.
    double Heading() const { return m_heading; }

private:
    ImplementGeometry m_geometry;
    Point m_hitch;
    double m_heading = 0.0;
};

#endif
