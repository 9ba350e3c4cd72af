// Converts waylines between the library's text form, one a line, and a table of their points, which
// other programs can read: comma-separated, a line a point. Needs no service.
//
// usage: convert_waylines --to-points WAYLINES POINTS
//        convert_waylines --to-waylines POINTS WAYLINES
// A line of POINTS is: number of the wayline, code of its kind, x, y, z (metres). An A-plus-heading
// line becomes an A-B line. Exits with 1 when a file cannot be used or a line cannot be read.

#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <platform/BElement.h>
#include <wayline/Wayline.h>

namespace {

using Core::Maths::Vector3;
using Kestrove::WaylinePtr;
using Points = std::vector<Vector3<double>>;

constexpr double kHeadingLength = 100.0; // metres from point A to the point that shows the heading

/// Whether the number of points stands before the points, in both encodings.
bool IsCounted(int kind)
{
    return kind == Kestrove::EWaylineTypeSpline || kind == Kestrove::EWaylineTypeABCurve;
}

/// The points of a wayline, as its list form has them; none for a kind without any.
Points PointsOf(const Kestrove::CWayline& wayline)
{
    const std::unique_ptr<BListC> list(wayline.ToBList());
    Points points;
    for (int i = IsCounted(wayline.Type()) ? 2 : 1; i + 2 < list->Size(); i += 3) {
        points.emplace_back(list->GetDouble(i), list->GetDouble(i + 1), list->GetDouble(i + 2));
    }
    if (wayline.Type() == Kestrove::EWaylineTypeAHeading) {
        const double heading = list->GetDouble(4);
        const Vector3<double> pointA = points.at(0);
        points.emplace_back(pointA.x + kHeadingLength * std::sin(heading),
                            pointA.y + kHeadingLength * std::cos(heading), pointA.z);
    }
    return points;
}

/// The wayline of a kind through points; null when it wants another number of them.
WaylinePtr WaylineThrough(int kind, const Points& points)
{
    BListC list(nullptr);
    list.AddInt(kind);
    if (IsCounted(kind)) {
        list.AddInt(static_cast<int>(points.size()));
    }
    for (const Vector3<double>& point : points) {
        list.AddDouble(point.x);
        list.AddDouble(point.y);
        list.AddDouble(point.z);
    }
    return Kestrove::CWayline::FromBList(&list);
}

void WritePoints(std::istream& waylines, std::ostream& points)
{
    points.precision(12);
    int number = 0;
    for (std::string line; std::getline(waylines, line); ++number) {
        // The readers of curves write what they read to standard output, so no result goes there.
        const WaylinePtr wayline = Kestrove::CWayline::FromString(line);
        if (!wayline) {
            throw std::runtime_error("no wayline: " + line);
        }
        const bool hasHeading = wayline->Type() == Kestrove::EWaylineTypeAHeading;
        const int kind = hasHeading ? Kestrove::EWaylineTypeAB : wayline->Type();
        for (const Vector3<double>& point : PointsOf(*wayline)) {
            points << number << ',' << kind << ',' << point.x << ',' << point.y << ',' << point.z
                   << '\n';
        }
    }
}

void WriteWayline(int kind, const Points& points, std::ostream& waylines)
{
    const WaylinePtr wayline = WaylineThrough(kind, points);
    if (!wayline) {
        throw std::runtime_error("no wayline of kind " + std::to_string(kind) + " has " +
                                 std::to_string(points.size()) + " points");
    }
    waylines << wayline->ToString() << '\n';
}

void WriteWaylines(std::istream& table, std::ostream& waylines)
{
    int number = 0;
    int kind = 0;
    Points points;
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        int lineNumber = 0;
        int lineKind = 0;
        Vector3<double> point;
        char comma = ',';
        if (!(fields >> lineNumber >> comma >> lineKind >> comma >> point.x >> comma >> point.y >>
              comma >> point.z)) {
            throw std::runtime_error("no point: " + line);
        }
        if (lineNumber != number && !points.empty()) {
            WriteWayline(kind, points, waylines);
            points.clear();
        }
        number = lineNumber;
        kind = lineKind;
        points.push_back(point);
    }
    if (!points.empty()) {
        WriteWayline(kind, points, waylines);
    }
}

void Convert(const std::string& direction, const char* from, const char* to)
{
    std::ifstream input(from);
    std::ofstream output(to);
    if (!input || !output) {
        throw std::runtime_error(std::string("cannot open ") + (input ? to : from));
    }
    (direction == "--to-points" ? WritePoints : WriteWaylines)(input, output);
    output.close();
    if (!output) {
        throw std::runtime_error(std::string("cannot write ") + to);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const std::string direction = argumentCount == 4 ? arguments[1] : "";
    if (direction != "--to-points" && direction != "--to-waylines") {
        std::cerr << "usage: convert_waylines --to-points|--to-waylines FROM TO\n";
        return 2;
    }
    try {
        Convert(direction, arguments[2], arguments[3]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "convert_waylines: " << error.what() << '\n';
        return 1;
    }
}
