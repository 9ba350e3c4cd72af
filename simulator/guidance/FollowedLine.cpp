#include "simulator/guidance/FollowedLine.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// How far beside the middle between two passes, in widths, the nearer one is taken, so that the
/// noise of the position does not make it change to and fro.
constexpr double kPassHysteresis = 0.05;
/// No pass is farther than that from the line itself, metres.
constexpr double kFarthestPass = 2000.0;

} // namespace

void CFollowedLine::SetBase(LineShapePtr base, bool repeats)
{
    m_base = std::move(base);
    m_baseSearch.Forget();
    m_repeats = repeats;
    m_follow = EFollow::LineItself;
    Take(0);
}

void CFollowedLine::Reshape(LineShapePtr base)
{
    // Smoothing changes lengths by little, and all along the line.
    if (m_base->Length() > 0.0) {
        m_baseStation *= base->Length() / m_base->Length();
    }
    m_base = std::move(base);
    m_baseSearch.Forget();
    Rebuild();
}

void CFollowedLine::Arrange(double width, double shift)
{
    m_forgivenShift += shift - m_shift;
    m_width = width;
    m_shift = shift;
    Rebuild();
}

void CFollowedLine::Turn(double width, double shift)
{
    const double forgiven = m_forgivenShift;
    Arrange(width, shift);
    m_forgivenShift = forgiven;
}

double CFollowedLine::HeadingBeside(const Point& place)
{
    return m_baseSearch.Find(*m_base, place, m_baseStation, *m_budget).foot.heading;
}

void CFollowedLine::Follow(EFollow follow, const Point& place)
{
    m_follow = follow;
    const bool nearest = m_base && m_repeats && follow == EFollow::NearestPass;
    Take(nearest ? static_cast<int>(std::lround(PassesAside(place))) : 0);
    MoveTo(place, false);
}

double CFollowedLine::PassesAside(const Point& place)
{
    const Projection onBase = m_baseSearch.Find(*m_base, place, m_baseStation, *m_budget);
    const double aside = onBase.crossTrack - m_shift;
    return std::clamp(aside, -kFarthestPass, kFarthestPass) / m_width;
}

void CFollowedLine::ChooseNearest(const Point& place)
{
    const double passes = PassesAside(place);
    const double driven = passes + m_forgivenShift / m_width - m_pass;
    if (std::abs(driven) > 0.5 + kPassHysteresis) {
        Take(static_cast<int>(std::lround(passes)));
    }
}

void CFollowedLine::ChoosePass(const Point& place)
{
    if (!m_base) {
        return;
    }
    if (m_follow == EFollow::LineItself) {
        if (m_pass != 0) {
            Take(0);
        }
    } else if (m_repeats) {
        ChooseNearest(place);
    }
}

void CFollowedLine::MoveTo(const Point& place, bool mayChangeBranch)
{
    if (!m_shape) {
        return;
    }
    const bool tracked = !mayChangeBranch && m_tracked;
    const double last = m_position.station;
    m_position = tracked ? m_shape->ProjectNear(place, last)
                         : m_shapeSearch.Find(*m_shape, place, last, *m_budget);
    m_baseStation = m_shape->StationOnBase(m_position.station);
    m_tracked = true;
    // The machine has followed the line to where it has moved: from here its own movement counts.
    if (std::abs(m_position.crossTrack) <= m_width / 2.0) {
        m_forgivenShift = 0.0;
    }
}

void CFollowedLine::Take(int pass)
{
    m_pass = pass;
    m_forgivenShift = 0.0;
    m_tracked = false;
    Rebuild();
}

void CFollowedLine::Rebuild()
{
    const double offset = m_pass * m_width + m_shift;
    if (m_base == m_shapeBase && (offset == m_shapeOffset || !m_base)) {
        return;
    }
    m_shape = m_base && offset != 0.0 ? ParallelOfBase(offset) : m_base;
    m_shapeSearch.Forget();
    m_shapeBase = m_base;
    m_shapeOffset = offset;
    ++m_revision;
    if (m_shape) {
        m_position.station = m_shape->StationFromBase(m_baseStation);
    }
}

LineShapePtr CFollowedLine::ParallelOfBase(double offset) const
{
    return *Calculated<LineShapePtr>(m_work, {"parallel", m_base.get(), offset}, EWork::Change,
                                     m_base->PointCount(),
                                     [base = m_base, offset] { return base->Parallel(offset); });
}
