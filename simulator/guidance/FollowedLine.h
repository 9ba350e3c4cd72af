#ifndef KESTROVE_SIMULATOR_GUIDANCE_FOLLOWEDLINE_H
#define KESTROVE_SIMULATOR_GUIDANCE_FOLLOWEDLINE_H

#include "simulator/guidance/LineShape.h"

/// Which of the parallel passes is followed.
enum class EFollow
{
    NearestPass, ///< the one nearest the machine, chosen anew as it moves until it is engaged
    LineItself,  ///< pass 0
};

/// The line that the machine follows: one of the parallel passes of a line, an implement width
/// apart, moved aside by the shift; and where the machine is relative to it.
///
/// A change of the shift moves the line but never changes the pass, however large it is: only the
/// machine's own movement does. So the line found by an offset of more than half a width is the
/// pass that was there before, at its new place.
class CFollowedLine
{
public:
    /// Replaces the line; null for none. Follows the line itself.
    /// @param repeats whether there are passes beside it.
    void SetBase(LineShapePtr base, bool repeats);
    const CLineShape* Base() const { return m_base.get(); }

    /// The distance of the passes, metres.
    void SetWidth(double width);
    /// Metres to the right.
    void SetShift(double shift);

    /// Starts to follow the pass nearest to `place`, or the line itself.
    void Follow(EFollow follow, const Point& place);
    EFollow Following() const { return m_follow; }

    /// Takes in where the machine is now.
    /// @param mayChangePass false while steering is engaged.
    void MoveTo(const Point& place, bool mayChangePass);

    int Pass() const { return m_pass; }
    /// The followed pass at its present place; null when there is no line, or nothing is left of
    /// the pass, as inside of a bend tighter than it is away.
    const CLineShape* Shape() const { return m_shape.get(); }
    /// Where the machine is relative to Shape(), which is not null.
    const Projection& Position() const { return m_position; }

private:
    /// In widths from the line itself, shift and all that keeps the pass taken into account.
    double PassesAside(const Point& place) const;
    void Take(int pass);
    void Rebuild();

    LineShapePtr m_base;
    LineShapePtr m_shape;
    Projection m_position;
    EFollow m_follow = EFollow::LineItself;
    bool m_repeats = false;
    double m_width = 3.0;
    double m_shift = 0.0;
    double m_forgivenShift = 0.0; ///< by which the line has moved since the pass was chosen
    int m_pass = 0;
    bool m_tracked = false; ///< m_position belongs to m_shape
};

#endif
