#include "tools/fieldfiles/IsoXmlPattern.h"

#include <algorithm>
#include <cmath>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/fieldfiles/XmlFile.h"
#include "tools/navctl/files/Angle.h"

namespace {

constexpr int kCounterClockwise = 2;
constexpr double kMillimetres = 1000.0;
/// Of a whole circle two places are as far apart as they can be.
constexpr double kThirdOfThree = 2.0 * kPi * 2.0 / 3.0;

IsoPoint ReadPoint(const pugi::xml_node& node)
{
    const std::optional<double> latitude = XmlNumber(IsoText(node, "C"), "a point's north (C)");
    const std::optional<double> longitude = XmlNumber(IsoText(node, "D"), "a point's east (D)");
    const std::optional<double> up = XmlNumber(IsoText(node, "E"), "a point's height (E)");
    if (!latitude || !longitude) {
        throw CFieldFileProblem("it has a point without north and east (C and D)");
    }
    return {
        IsoCode(node, "A", 0),
        CheckedPlace(*latitude, *longitude, up ? std::optional(*up / kMillimetres) : std::nullopt)};
}

bool IsSame(const FieldPlace& left, const FieldPlace& right)
{
    return left.latitude == right.latitude && left.longitude == right.longitude;
}

std::vector<FieldPlace> PlacesOf(const std::vector<IsoPoint>& points)
{
    std::vector<FieldPlace> places;
    for (const IsoPoint& point : points) {
        if (places.empty() || !IsSame(places.back(), point.place)) {
            places.push_back(point.place);
        }
    }
    return places;
}

/// The place of the first point of a type; nothing when there is none.
std::optional<FieldPlace> OfType(const std::vector<IsoPoint>& points, int type)
{
    const auto found = std::find_if(points.begin(), points.end(),
                                    [type](const IsoPoint& point) { return point.type == type; });
    return found == points.end() ? std::nullopt : std::optional(found->place);
}

double BearingFrom(const FieldPlace& centre, const FieldPlace& place)
{
    const CLocalFrame frame = FrameAt(centre);
    const WaylinePoint point = frame.ToLocal(PlaceOf(place, frame.Origin().height));
    return std::atan2(point.x, point.y);
}

/// The places of a pivot that is given by its centre and the ends of its arc.
std::vector<FieldPlace> ArcPlaces(GroundCircle circle, const FieldPlace& a, const FieldPlace& b)
{
    const CLocalFrame frame = FrameAt(circle.centre);
    const WaylinePoint first = frame.ToLocal(PlaceOf(a, frame.Origin().height));
    circle.radius = std::hypot(first.x, first.y);
    if (!(circle.radius > 0.0)) {
        throw CFieldFileProblem("its centre and its point A are the same");
    }
    const double from = BearingFrom(circle.centre, a);
    const double to = BearingFrom(circle.centre, b);
    double turn = NormalisedHeading(circle.isClockwise ? to - from : from - to);
    constexpr double kLeast = 1e-3;
    if (turn < kLeast || turn > 2.0 * kPi - kLeast) {
        turn = kThirdOfThree;
    }
    return PlacesOnCircle(circle, from, turn);
}

std::vector<FieldPlace> PivotPlaces(const pugi::xml_node& pattern,
                                    const std::vector<IsoPoint>& points)
{
    GroundCircle circle;
    circle.isClockwise = IsoCode(pattern, "D", 0) != kCounterClockwise;
    std::optional<FieldPlace> centre = OfType(points, kGuidanceCentre);
    std::optional<FieldPlace> a = OfType(points, kGuidanceA);
    std::optional<FieldPlace> b = OfType(points, kGuidanceB);
    // Without the types of points their order counts.
    if (!centre && !a && !b) {
        centre = points.front().place;
        if (points.size() > 2) {
            a = points[1].place;
            b = points[2].place;
        }
    }
    if (!centre) {
        throw CFieldFileProblem("it has no centre");
    }
    circle.centre = *centre;
    const std::optional<double> radius = XmlNumber(IsoText(pattern, "H"), "its radius (H)");
    // Some programs put A where the centre is; then the radius counts.
    if (a && !(radius && IsSame(*a, circle.centre))) {
        return ArcPlaces(circle, *a, b.value_or(*a));
    }
    if (!radius || !(*radius > 0.0)) {
        throw CFieldFileProblem("it has neither a radius (H) nor an arc");
    }
    circle.radius = *radius / kMillimetres;
    constexpr double kLargest = 100000.0;
    if (circle.radius > kLargest) {
        throw CFieldFileProblem("its radius is more than 100 km");
    }
    return PlacesOnCircle(circle, 0.0, kThirdOfThree);
}

FieldLine AbLine(const std::vector<IsoPoint>& points)
{
    FieldLine line;
    line.kind = Kestrove::EWaylineTypeAB;
    line.places =
        PlacesOf({{kGuidanceA, OfType(points, kGuidanceA).value_or(points.front().place)},
                  {kGuidanceB, OfType(points, kGuidanceB).value_or(points.back().place)}});
    if (line.places.size() != 2) {
        throw CFieldFileProblem("an A-B line needs two points apart");
    }
    return line;
}

FieldLine HeadingLine(const pugi::xml_node& pattern, const std::vector<IsoPoint>& points)
{
    const std::optional<double> heading = XmlNumber(IsoText(pattern, "G"), "its heading (G)");
    if (!heading) {
        throw CFieldFileProblem("an A-plus-heading line needs a heading (G)");
    }
    FieldLine line;
    line.kind = Kestrove::EWaylineTypeAHeading;
    line.places = {OfType(points, kGuidanceA).value_or(points.front().place)};
    line.headingDegrees = Degrees(NormalisedHeading(Radians(*heading)));
    return line;
}

/// How long the way through points is, metres.
double LengthOf(const std::vector<IsoPoint>& points)
{
    const CLocalFrame frame = FrameAt(points.front().place);
    double length = 0.0;
    WaylinePoint last;
    for (const IsoPoint& point : points) {
        const WaylinePoint next = frame.ToLocal(PlaceOf(point.place, frame.Origin().height));
        length += &point == &points.front() ? 0.0 : std::hypot(next.x - last.x, next.y - last.y);
        last = next;
    }
    return length;
}

using Points = std::vector<IsoPoint>;

/// The two ways from A to B through all other points: in their order, and against it.
std::vector<Points> WaysBetween(const Points& points, Points::const_iterator a,
                                Points::const_iterator b)
{
    Points between;
    for (auto point = points.begin(); point != points.end(); ++point) {
        if (point != a && point != b) {
            between.push_back(*point);
        }
    }
    std::vector<Points> ways;
    for (int way = 0; way < 2; ++way) {
        ways.push_back({*a});
        ways.back().insert(ways.back().end(), between.begin(), between.end());
        ways.back().push_back(*b);
        std::reverse(between.begin(), between.end());
    }
    return ways;
}

/// The points of a curve in the direction from A to B. Some programs write them from B to A, and
/// some A and B first and the points between them behind those. Points may also lie beyond A and B.
/// So of all that may be meant, the shortest way is.
Points FromAToB(Points points)
{
    const auto ofType = [&points](int type) {
        return std::find_if(points.cbegin(), points.cend(),
                            [type](const IsoPoint& point) { return point.type == type; });
    };
    const auto a = ofType(kGuidanceA);
    const auto b = ofType(kGuidanceB);
    const auto end = points.cend();
    const bool hasBoth = a != end && b != end;
    const bool isBackwards = hasBoth ? b < a : (a != end && a + 1 == end) || b == points.cbegin();
    const bool isWhole = hasBoth && (a < b ? a == points.cbegin() && b + 1 == end
                                           : b == points.cbegin() && a + 1 == end);
    const std::vector<Points> others =
        hasBoth && !isWhole ? WaysBetween(points, a, b) : std::vector<Points>();
    if (isBackwards) {
        std::reverse(points.begin(), points.end());
    }
    for (const Points& other : others) {
        if (LengthOf(other) < LengthOf(points)) {
            points = other;
        }
    }
    return points;
}

FieldLine CurveLine(const std::vector<IsoPoint>& points)
{
    FieldLine line;
    line.kind = Kestrove::EWaylineTypeABCurve;
    line.places = PlacesOf(FromAToB(points));
    if (line.places.size() < 2) {
        throw CFieldFileProblem("a curve needs two points apart");
    }
    return line;
}

} // namespace

std::string IsoText(const pugi::xml_node& node, const char* attribute)
{
    return Trimmed(node.attribute(attribute).value());
}

int IsoCode(const pugi::xml_node& node, const char* attribute, int otherwise)
{
    const std::string text = IsoText(node, attribute);
    const bool isCode = !text.empty() && text.size() <= 4 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    return isCode ? std::stoi(text) : otherwise;
}

std::vector<IsoPoint> IsoPoints(const pugi::xml_node& lineString)
{
    std::vector<IsoPoint> points;
    for (const pugi::xml_node& node : lineString) {
        if (!IsElement(node, "PNT")) {
            continue;
        }
        if (!IsoText(node, "J").empty()) {
            throw CFieldFileProblem("its points lie in a binary file, which is not read");
        }
        points.push_back(ReadPoint(node));
    }
    return points;
}

FieldLine IsoPatternLine(const pugi::xml_node& pattern)
{
    const int kind = IsoCode(pattern, "C", 0);
    if (kind == kIsoSpiral) {
        throw CFieldFileProblem("a spiral is no kind of wayline");
    }
    const pugi::xml_node lineString = ChildOf(pattern, "LSG");
    const std::vector<IsoPoint> points = IsoPoints(lineString);
    if (points.empty()) {
        throw CFieldFileProblem("it has no points");
    }
    switch (kind) {
    case kIsoAB:
        return AbLine(points);
    case kIsoAPlus:
        return HeadingLine(pattern, points);
    case kIsoCurve:
        return CurveLine(points);
    case kIsoPivot: {
        FieldLine line;
        line.kind = Kestrove::EWaylineTypeCircle;
        line.places = PivotPlaces(pattern, points);
        return line;
    }
    default:
        throw CFieldFileProblem("its kind (C), \"" + IsoText(pattern, "C").substr(0, 20) +
                                "\", is none of 1 to 5");
    }
}

FieldLine IsoPlainLine(const pugi::xml_node& lineString)
{
    const std::vector<IsoPoint> points = IsoPoints(lineString);
    FieldLine line;
    line.places = PlacesOf(points);
    if (line.places.size() < 2) {
        throw CFieldFileProblem("a line needs two points apart");
    }
    if (line.places.size() == 2) {
        line.kind = Kestrove::EWaylineTypeAB;
    }
    return line;
}
