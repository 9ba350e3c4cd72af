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
    m_repeats = repeats;
    m_follow = EFollow::LineItself;
    Take(0);
}

void CFollowedLine::SetWidth(double width)
{
    m_width = width;
    Rebuild();
}

void CFollowedLine::SetShift(double shift)
{
    m_forgivenShift += shift - m_shift;
    m_shift = shift;
    Rebuild();
}

void CFollowedLine::Follow(EFollow follow, const Point& place)
{
    m_follow = follow;
    m_forgivenShift = 0.0;
    const bool nearest = m_base && m_repeats && follow == EFollow::NearestPass;
    Take(nearest ? static_cast<int>(std::lround(PassesAside(place))) : 0);
    MoveTo(place, false);
}

double CFollowedLine::PassesAside(const Point& place) const
{
    const double aside = m_base->Project(place).crossTrack - m_shift + m_forgivenShift;
    return std::clamp(aside, -kFarthestPass, kFarthestPass) / m_width;
}

void CFollowedLine::MoveTo(const Point& place, bool mayChangePass)
{
    if (!m_base)
        return;
    if (mayChangePass && m_repeats && m_follow == EFollow::NearestPass) {
        const double passes = PassesAside(place);
        if (std::abs(passes - m_pass) > 0.5 + kPassHysteresis)
            Take(static_cast<int>(std::lround(passes)));
    }
    if (m_shape) {
        const bool tracked = !mayChangePass && m_tracked;
        m_position =
            tracked ? m_shape->ProjectNear(place, m_position.station) : m_shape->Project(place);
        m_tracked = true;
    }
}

void CFollowedLine::Take(int pass)
{
    m_pass = pass;
    m_forgivenShift = 0.0;
    Rebuild();
}

void CFollowedLine::Rebuild()
{
    const double offset = m_pass * m_width + m_shift;
    m_shape = m_base && offset != 0.0 ? m_base->Parallel(offset) : m_base;
    m_tracked = false;
}
