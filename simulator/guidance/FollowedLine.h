#ifndef KESTROVE_SIMULATOR_GUIDANCE_FOLLOWEDLINE_H
#define KESTROVE_SIMULATOR_GUIDANCE_FOLLOWEDLINE_H

#include "simulator/aside/LongWork.h"
#include "simulator/guidance/LineSearch.h"
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
///
/// While the pass may not change, the machine stays on its branch of a line that crosses itself,
/// also when the line moves or is reshaped.
///
/// A value: a copy tries a change out. Where a pass is made, CWorkPending and CWorkEnded may come
/// out; the object is good for nothing then but to be destroyed.
class CFollowedLine
{
public:
    /// @param budget what looking for the machine may take; must outlive this object and its
    ///        copies, as must `work`.
    /// @param work makes the passes; null to have them made on the spot.
    explicit CFollowedLine(LookBudget& budget, CLongWork* work = nullptr)
        : m_budget(&budget), m_work(work)
    {
    }

    /// Replaces the line; null for none. Follows the line itself.
    /// @param repeats whether there are passes beside it.
    void SetBase(LineShapePtr base, bool repeats);
    /// Takes another shape of the same line, such as one that is smoothed otherwise: pass and shift
    /// stay, and so does the machine's place along the line.
    void Reshape(LineShapePtr base);
    const CLineShape* Base() const { return m_base.get(); }
    /// The same, to keep.
    const LineShapePtr& SharedBase() const { return m_base; }
    /// Whether there are passes beside the line.
    bool Repeats() const { return m_repeats; }

    /// Sets the distance of the passes and how far the line is shifted to the right, metres.
    void Arrange(double width, double shift);

    /// The same shift as the machine brings about by turning round: its own movement, after which
    /// the pass that is nearest counts.
    void Turn(double width, double shift);
    /// The heading of the line where `place` is beside it; there is a line.
    double HeadingBeside(const Point& place);

    /// Starts to follow the pass nearest to `place`, or the line itself.
    void Follow(EFollow follow, const Point& place);
    EFollow Following() const { return m_follow; }
    /// Has the line itself followed from the next ChoosePass() on.
    void FollowItselfSoon() { m_follow = EFollow::LineItself; }

    /// Follows the pass that the machine has moved to; not to be called while steering is engaged.
    void ChoosePass(const Point& place);
    /// Takes in where the machine is now, beside the present pass.
    /// @param mayChangeBranch false while steering is engaged.
    void MoveTo(const Point& place, bool mayChangeBranch);

    int Pass() const { return m_pass; }
    /// The followed pass at its present place; null when there is no line, or nothing is left of
    /// the pass, as inside of a bend tighter than it is away.
    const CLineShape* Shape() const { return m_shape.get(); }
    /// The same, to keep.
    const LineShapePtr& SharedShape() const { return m_shape; }
    /// Where the machine is along Base(), metres.
    double BaseStation() const { return m_baseStation; }
    /// Where the machine is relative to Shape(), which is not null.
    const Projection& Position() const { return m_position; }
    /// Changes whenever Shape() does.
    int Revision() const { return m_revision; }

private:
    /// In widths from the line itself, at its present place.
    double PassesAside(const Point& place);
    void ChooseNearest(const Point& place);
    void Take(int pass);
    void Rebuild();
    LineShapePtr ParallelOfBase(double offset) const;

    LookBudget* m_budget;
    CLongWork* m_work;
    LineShapePtr m_base;
    LineShapePtr m_shape;
    CLineSearch m_baseSearch;  ///< of m_base
    CLineSearch m_shapeSearch; ///< of m_shape
    Projection m_position;
    EFollow m_follow = EFollow::LineItself;
    bool m_repeats = false;
    double m_width = 3.0;
    double m_shift = 0.0;
    double m_forgivenShift = 0.0; ///< by which the line has moved since the machine was at its pass
    int m_pass = 0;
    LineShapePtr m_shapeBase;   ///< what m_shape has been made from
    double m_shapeOffset = 0.0; ///< and how far aside
    double m_baseStation = 0.0; ///< of the machine, along m_base
    bool m_tracked = false;     ///< m_baseStation belongs to the present pass of the present line
    int m_revision = 0;
};

#endif
