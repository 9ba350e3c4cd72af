// The kinds with a fixed number of values: A-B line, A-plus-heading line and circle.

#include "wayline/Wayline.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "platform/Utilities.h"
#include "wayline/NumberText.h"

namespace Kestrove {

namespace {

using Core::Maths::Vector3;

// The values of each kind in the order in which both encodings have them.
template <typename Kind>
using ValueOf = double Kind::*;

constexpr ValueOf<CABWayline> kABValues[] = {
    &CABWayline::pointAX, &CABWayline::pointAY, &CABWayline::pointAZ,
    &CABWayline::pointBX, &CABWayline::pointBY, &CABWayline::pointBZ,
};

constexpr ValueOf<CAHeadingWayline> kAHeadingValues[] = {
    &CAHeadingWayline::pointAX,
    &CAHeadingWayline::pointAY,
    &CAHeadingWayline::pointAZ,
    &CAHeadingWayline::heading,
};

constexpr ValueOf<CCircleWayline> kCircleValues[] = {
    &CCircleWayline::firstPointX,  &CCircleWayline::firstPointY,  &CCircleWayline::firstPointZ,
    &CCircleWayline::secondPointX, &CCircleWayline::secondPointY, &CCircleWayline::secondPointZ,
    &CCircleWayline::thirdPointX,  &CCircleWayline::thirdPointY,  &CCircleWayline::thirdPointZ,
};

template <typename Kind, std::size_t Count>
BListC* WriteList(const Kind& wayline, const ValueOf<Kind> (&values)[Count])
{
    auto list = std::make_unique<BListC>(nullptr);
    list->AddInt(wayline.Type());
    for (const ValueOf<Kind> value : values) {
        list->AddDouble(wayline.*value);
    }
    return list.release();
}

template <typename Kind, std::size_t Count>
bool ReadList(Kind& wayline, const ValueOf<Kind> (&values)[Count], const BListC& list)
{
    if (list.Size() != static_cast<int>(1 + Count)) {
        return false;
    }
    // The code in element 0 is not looked at: whoever chose the kind has read it already.
    int index = 1;
    for (const ValueOf<Kind> value : values) {
        wayline.*value = list.GetDouble(index++);
    }
    return true;
}

template <typename Kind, std::size_t Count>
std::string WriteText(const Kind& wayline, const ValueOf<Kind> (&values)[Count])
{
    std::string text = std::to_string(wayline.Type());
    for (const ValueOf<Kind> value : values) {
        AppendBlanksAndDoubles(text, {wayline.*value});
    }
    return text;
}

template <typename Kind, std::size_t Count>
bool ReadText(Kind& wayline, const ValueOf<Kind> (&values)[Count], const std::string& text)
{
    std::vector<std::string> parts;
    if (Core::Utilities::SplitString(text, ' ', parts, 0) == 0 || parts.size() != 1 + Count) {
        return false;
    }
    int code = 0;
    if (Core::Utilities::ParseInt(parts[0], code) == 0 || code != wayline.Type()) {
        return false;
    }
    // No roll-back: the values before an unreadable one stay taken over, and applications may count
    // on them.
    for (std::size_t i = 0; i < Count; ++i) {
        if (Core::Utilities::ParseDouble(parts[1 + i], wayline.*values[i]) == 0) {
            return false;
        }
    }
    return true;
}

} // namespace

CABWayline::CABWayline() : CWayline(EWaylineTypeAB) {}
CABWayline::CABWayline(const Vector3<double>& pointA, const Vector3<double>& pointB)
    : CWayline(EWaylineTypeAB), pointAX(pointA.x), pointAY(pointA.y), pointAZ(pointA.z),
      pointBX(pointB.x), pointBY(pointB.y), pointBZ(pointB.z)
{
}
BListC* CABWayline::ToBList() const
{
    return WriteList(*this, kABValues);
}
bool CABWayline::LoadBList(BListC* list)
{
    return ReadList(*this, kABValues, *list);
}
std::string CABWayline::ToString() const
{
    return WriteText(*this, kABValues);
}
bool CABWayline::LoadString(const std::string& text)
{
    return ReadText(*this, kABValues, text);
}

CAHeadingWayline::CAHeadingWayline() : CWayline(EWaylineTypeAHeading) {}
CAHeadingWayline::CAHeadingWayline(const Vector3<double>& point, double lineHeading)
    : CWayline(EWaylineTypeAHeading), pointAX(point.x), pointAY(point.y), pointAZ(point.z),
      heading(lineHeading)
{
}
BListC* CAHeadingWayline::ToBList() const
{
    return WriteList(*this, kAHeadingValues);
}
bool CAHeadingWayline::LoadBList(BListC* list)
{
    return ReadList(*this, kAHeadingValues, *list);
}
std::string CAHeadingWayline::ToString() const
{
    return WriteText(*this, kAHeadingValues);
}
bool CAHeadingWayline::LoadString(const std::string& text)
{
    return ReadText(*this, kAHeadingValues, text);
}

CCircleWayline::CCircleWayline() : CWayline(EWaylineTypeCircle) {}
CCircleWayline::CCircleWayline(const Vector3<double>& firstPoint,
                               const Vector3<double>& secondPoint,
                               const Vector3<double>& thirdPoint)
    : CWayline(EWaylineTypeCircle), firstPointX(firstPoint.x), firstPointY(firstPoint.y),
      firstPointZ(firstPoint.z), secondPointX(secondPoint.x), secondPointY(secondPoint.y),
      secondPointZ(secondPoint.z), thirdPointX(thirdPoint.x), thirdPointY(thirdPoint.y),
      thirdPointZ(thirdPoint.z)
{
}
BListC* CCircleWayline::ToBList() const
{
    return WriteList(*this, kCircleValues);
}
bool CCircleWayline::LoadBList(BListC* list)
{
    return ReadList(*this, kCircleValues, *list);
}
std::string CCircleWayline::ToString() const
{
    return WriteText(*this, kCircleValues);
}
bool CCircleWayline::LoadString(const std::string& text)
{
    return ReadText(*this, kCircleValues, text);
}

} // namespace Kestrove
