#include "tests/fieldfiles/SampleFields.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/fieldfiles/FieldGeodesy.h"
#include "tools/navctl/files/Angle.h"

namespace {

double Between(double lowest, double highest, std::mt19937& random)
{
    return std::uniform_real_distribution<double>(lowest, highest)(random);
}

FieldPlace Beside(const FieldPlace& place, double east, double north)
{
    const GeodeticPlace beside = FrameAt(place).ToGeodetic({east, north, 0.0});
    return {beside.latitude, beside.longitude, place.height};
}

std::size_t CountFor(Kestrove::EWaylineType kind, std::mt19937& random)
{
    switch (kind) {
    case Kestrove::EWaylineTypeAB:
        return 2;
    case Kestrove::EWaylineTypeAHeading:
        return 1;
    default:
        return 3 + random() % 10;
    }
}

} // namespace

FieldPlace RandomPlace(std::mt19937& random)
{
    const bool isAtDateLine = random() % 5 == 0;
    const double longitude = isAtDateLine
                                 ? std::remainder(180.0 + Between(-0.01, 0.01, random), 360.0)
                                 : Between(-180.0, 180.0, random);
    return {Between(-80.0, 80.0, random), longitude, std::nullopt};
}

FieldLine RandomLine(Kestrove::EWaylineType kind, const FieldPlace& near, std::mt19937& random)
{
    FieldLine line;
    line.kind = kind;
    line.name = "Line " + std::to_string(random() % 100000);
    line.headingDegrees =
        kind == Kestrove::EWaylineTypeAHeading ? Between(0.0, 360.0, random) : 0.0;
    if (kind == Kestrove::EWaylineTypeCircle) {
        const GroundCircle circle{near, Between(20.0, 800.0, random), random() % 2 == 0};
        line.places = PlacesOnCircle(circle, Between(0.0, 6.0, random), Between(1.0, 5.0, random));
        return line;
    }
    double east = Between(-1000.0, 1000.0, random);
    double north = Between(-1000.0, 1000.0, random);
    for (std::size_t left = CountFor(kind, random); left > 0; --left) {
        line.places.push_back(Beside(near, east, north));
        east += Between(5.0, 120.0, random);
        north += Between(-40.0, 90.0, random);
    }
    return line;
}

double Apart(const FieldPlace& left, const FieldPlace& right)
{
    const WaylinePoint point = FrameAt({left.latitude, left.longitude, 0.0})
                                   .ToLocal(PlaceOf({right.latitude, right.longitude, {}}, 0.0));
    return std::hypot(point.x, point.y);
}

double Apart(const FieldLine& left, const FieldLine& right)
{
    if (left.kind != right.kind || left.places.size() != right.places.size()) {
        return std::numeric_limits<double>::infinity();
    }
    if (left.kind == Kestrove::EWaylineTypeCircle) {
        const GroundCircle first = CircleOf(left);
        const GroundCircle second = CircleOf(right);
        return Apart(first.centre, second.centre) + std::abs(first.radius - second.radius);
    }
    double farthest = 0.0;
    for (std::size_t i = 0; i < left.places.size(); ++i) {
        farthest = std::max(farthest, Apart(left.places[i], right.places[i]));
    }
    constexpr double kKilometre = 1000.0;
    const double turn = SmallestTurn(Radians(left.headingDegrees), Radians(right.headingDegrees));
    return farthest + std::abs(turn) * kKilometre;
}

FieldLine OnlyLine(const CFieldFile& file)
{
    const bool isOne = file.LineCount() == 1;
    for (const Field& field : file.fields) {
        if (isOne && !field.lines.empty()) {
            return field.lines.front();
        }
    }
    throw CFieldFileProblem(std::to_string(file.LineCount()) + " lines in place of one");
}
