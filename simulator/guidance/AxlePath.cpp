#include "simulator/guidance/AxlePath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

/// A bar is no shorter than that, metres: the path of a shorter one is that of the line itself.
constexpr double kLeastBar = 0.05;
/// Over so many lengths of the bar the start is forgotten.
constexpr double kSettledAfter = 6.0;
/// The direction of a drawbar is that of a chord of its line, so many of its lengths to both sides.
constexpr double kDrawbarShare = 0.5;
/// How far the path is known behind and ahead of the machine's place, metres.
constexpr double kRoom = 1.0;
constexpr std::size_t kPlaces = 65;

/// The path, from far ahead backwards.
using Places = std::array<Pose, kPlaces>;

double Bearing(const Point& from, const Point& to)
{
    return std::atan2(to.x - from.x, to.y - from.y);
}

/// The middle of a carried implement that is on its line beside a station of the pass, or the hitch
/// of a trailed one.
Pose Hanger(const AxleGuide& guide, double station)
{
    const LinePoint on = guide.line.At(station);
    const double turned = guide.facesAgainst ? kPi : 0.0;
    const double heading = on.heading + turned;
    const Point middle = Moved(on.position, heading, 0.0, -guide.aside);
    const double half = kDrawbarShare * guide.implement.drawbar;
    if (half <= 0.0) {
        return {middle, heading};
    }
    // On a circle a chord has the direction of the tangent; where the line begins to bend, the
    // hitch would have to leave it at a corner.
    const double drawbar =
        Bearing(guide.line.At(station - half).position, guide.line.At(station + half).position) +
        turned;
    return {Moved(middle, drawbar, guide.implement.drawbar, guide.aside), drawbar};
}

Places PathOf(const AxleGuide& guide, double station, double from, double to, double bar)
{
    const double side = guide.facesAgainst ? -1.0 : 1.0;
    const double spacing = (from - to) / static_cast<double>(kPlaces - 1);
    // The middle of a carried implement is as far left of the machine's; a hitch is behind it.
    const double right = guide.implement.drawbar > 0.0 ? 0.0 : guide.aside;
    Places places;
    Pose hanger = Hanger(guide, station + side * from);
    double heading = hanger.heading;
    for (std::size_t i = 0; i < kPlaces; ++i) {
        const double way = from - spacing * static_cast<double>(i);
        const Pose next = Hanger(guide, station + side * way);
        const double distance = Distance(hanger.position, next.position);
        if (distance > 0.0) {
            // Towed backwards, the bar's direction is that in which the machine looks from behind.
            const double course = Bearing(hanger.position, next.position);
            heading = BarAfter(heading + kPi, course, distance, bar) - kPi;
        }
        hanger = next;
        places[i] = {Moved(hanger.position, heading, bar, right), heading};
    }
    return places;
}

/// The curvature of the path at one of its places.
double CurvatureAt(const Places& places, std::size_t index)
{
    const Pose& ahead = places[std::max<std::size_t>(index, 1) - 1];
    const Pose& behind = places[std::min(index + 1, kPlaces - 1)];
    const double way = Distance(behind.position, ahead.position);
    return way > 0.0 ? NormaliseTurn(ahead.heading - behind.heading) / way : 0.0;
}

} // namespace

BesideAxlePath FindBesideAxlePath(const AxleGuide& guide, double station, const Point& place,
                                  double preview)
{
    const double bar = std::max(guide.implement.behind, kLeastBar);
    const double room = kRoom + std::abs(preview);
    const double beside = -bar - guide.implement.drawbar;
    const double from = beside + room + kSettledAfter * bar;
    const double to = beside - room;
    const Places places = PathOf(guide, station, from, to, bar);

    std::size_t passed = 1;
    while (passed + 1 < kPlaces &&
           AheadOf(places[passed].position, places[passed].heading, place) < 0.0) {
        ++passed;
    }
    const Pose& ahead = places[passed - 1];
    const Pose& behind = places[passed];
    const double toAhead = -AheadOf(ahead.position, ahead.heading, place);
    const double toBehind = AheadOf(behind.position, behind.heading, place);
    const double share = std::clamp(toBehind / std::max(toAhead + toBehind, 1e-9), 0.0, 1.0);
    const double turn = NormaliseTurn(ahead.heading - behind.heading);

    const double spacing = (from - to) / static_cast<double>(kPlaces - 1);
    const double index = static_cast<double>(passed) - share - preview / spacing;
    const double last = static_cast<double>(kPlaces - 1);
    const double lower = std::floor(std::clamp(index, 0.0, last - 1.0));
    const auto first = static_cast<std::size_t>(lower);
    const double rest = std::clamp(index - lower, 0.0, 1.0);
    return {(1.0 - share) * RightwardOf(behind.position, behind.heading, place) +
                share * RightwardOf(ahead.position, ahead.heading, place),
            NormaliseHeading(behind.heading + share * turn),
            (1.0 - rest) * CurvatureAt(places, first) + rest * CurvatureAt(places, first + 1)};
}
