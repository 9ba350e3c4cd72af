// The kinds with any number of points: spline and A-B curve. The two differ in their code and in
// the class name that their text reader prints.

#include "wayline/Wayline.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/BElement.h"
#include "platform/Utilities.h"
#include "wayline/NumberText.h"
#include "wayline/TracePrinting.h"

namespace Kestrove {

namespace {

using Core::Maths::Vector3;
using Points = std::vector<Vector3<double>>;

// The code and the number of points stand before the points, in both encodings.
constexpr int kPlacesBeforePoints = 2;
constexpr int kPlacesPerPoint = 3;
// So many points have places that an int can say, the place behind them included.
constexpr int kMostPointsWithPlaces =
    (std::numeric_limits<int>::max() - kPlacesBeforePoints) / kPlacesPerPoint;

BListC* WriteList(EWaylineType type, const Points& points)
{
    auto list = std::make_unique<BListC>(nullptr);
    list->MakeRoom(kPlacesBeforePoints + kPlacesPerPoint * points.size());
    list->AddInt(type);
    list->AddInt(static_cast<int>(points.size()));
    for (const Vector3<double>& point : points) {
        list->AddDouble(point.x);
        list->AddDouble(point.y);
        list->AddDouble(point.z);
    }
    return list.release();
}

bool ReadList(const BListC& list, Points& points)
{
    if (list.Size() < kPlacesBeforePoints + 1) {
        return false;
    }
    // The count is trusted: it is not compared with the length of the list, and the points join
    // those that are there. A negative one is more than any vector holds, so reserve() throws.
    const int count = list.GetInt(1);
    points.reserve(static_cast<std::size_t>(count));
    const int withPlaces = std::min(count, kMostPointsWithPlaces);
    int place = kPlacesBeforePoints;
    for (int k = 0; k < withPlaces; ++k, place += kPlacesPerPoint) {
        const Vector3<double> point{list.GetDouble(place), list.GetDouble(place + 1),
                                    list.GetDouble(place + 2)};
        points.push_back(point);
    }
    // No list is longer than an int can say, so what is announced beyond is past the end.
    for (int k = withPlaces; k < count; ++k) {
        const double pastEnd = list.GetDouble(std::numeric_limits<int>::max());
        points.emplace_back(pastEnd, pastEnd, pastEnd);
    }
    return true;
}

std::string WriteText(EWaylineType type, const Points& points)
{
    std::string text = std::to_string(type);
    text += ' ';
    AppendInteger(text, points.size());
    for (const Vector3<double>& point : points) {
        AppendBlanksAndDoubles(text, {point.x, point.y, point.z});
    }
    return text;
}

// Appends points from their parts, up to the first part that is not a number.
bool AppendPoints(const std::vector<std::string>& parts, Points& points)
{
    points.reserve(points.size() + parts.size() / kPlacesPerPoint);
    for (std::size_t i = kPlacesBeforePoints; i < parts.size(); i += kPlacesPerPoint) {
        Vector3<double> point;
        if (Core::Utilities::ParseDouble(parts[i], point.x) == 0 ||
            Core::Utilities::ParseDouble(parts[i + 1], point.y) == 0 ||
            Core::Utilities::ParseDouble(parts[i + 2], point.z) == 0) {
            return false;
        }
        points.push_back(point);
    }
    return true;
}

// Applications and field logs read the printed lines as they stand: their bytes do not change.
void PrintExpectedLength(const char* className, std::size_t length, std::int64_t expectedLength)
{
    PrintTraceLine("%s::LoadString %zd == %d\n", className, length,
                   static_cast<int>(static_cast<std::uint32_t>(expectedLength)));
}

bool ReadText(const char* className, EWaylineType type, const std::string& text, Points& points)
{
    PrintTraceLine("%s::LoadString: %s\n", className, text.c_str());
    std::vector<std::string> parts;
    if (Core::Utilities::SplitString(text, ' ', parts, 0) == 0) {
        return false;
    }
    PrintTraceLine("%s::LoadString: split string length: %zd\n", className, parts.size());
    if (parts.size() < kPlacesBeforePoints) {
        return false;
    }
    int code = 0;
    const bool isTypeRight = Core::Utilities::ParseInt(parts[0], code) != 0 && code == type;
    PrintTraceLine("%s::LoadString: type is correct: %d\n", className, isTypeRight ? 1 : 0);
    int count = 0;
    const bool isCountRight = isTypeRight && Core::Utilities::ParseInt(parts[1], count) != 0;
    PrintTraceLine("%s::LoadString count is correct: %d count is %d\n", className,
                   isCountRight ? 1 : 0, count);

    // In 64 bits: a count whose length overflows an int matches no text.
    const std::int64_t expectedLength =
        kPlacesBeforePoints + static_cast<std::int64_t>(kPlacesPerPoint) * count;
    PrintExpectedLength(className, parts.size(), expectedLength);
    if (!isCountRight) {
        return false;
    }
    // The same line once more: applications and field logs know a text whose code and count are
    // right by the repeated line.
    PrintExpectedLength(className, parts.size(), expectedLength);
    // A text of another length than its count asks for is accepted, but none of its points: texts
    // with such counts are in applications' stores, and go on loading as lines without points.
    if (static_cast<std::int64_t>(parts.size()) != expectedLength) {
        return true;
    }
    return AppendPoints(parts, points);
}

} // namespace

CSplineWayline::CSplineWayline() : CWayline(EWaylineTypeSpline) {}
CSplineWayline::CSplineWayline(Points curvePoints)
    : CWayline(EWaylineTypeSpline), points(std::move(curvePoints))
{
}
BListC* CSplineWayline::ToBList() const
{
    return WriteList(Type(), points);
}
bool CSplineWayline::LoadBList(BListC* list)
{
    return ReadList(*list, points);
}
std::string CSplineWayline::ToString() const
{
    return WriteText(Type(), points);
}
bool CSplineWayline::LoadString(const std::string& text)
{
    return ReadText("CSplineWayline", Type(), text, points);
}

CABCurveWayline::CABCurveWayline() : CWayline(EWaylineTypeABCurve) {}
CABCurveWayline::CABCurveWayline(Points curvePoints)
    : CWayline(EWaylineTypeABCurve), points(std::move(curvePoints))
{
}
BListC* CABCurveWayline::ToBList() const
{
    return WriteList(Type(), points);
}
bool CABCurveWayline::LoadBList(BListC* list)
{
    return ReadList(*list, points);
}
std::string CABCurveWayline::ToString() const
{
    return WriteText(Type(), points);
}
bool CABCurveWayline::LoadString(const std::string& text)
{
    return ReadText("CABCurveWayline", Type(), text, points);
}

} // namespace Kestrove
