#include "wayline/Wayline.h"

#include "platform/BElement.h"
#include "platform/Utilities.h"

namespace Kestrove {

namespace {

// The kind of a code, with its values at zero, or null for a code that is not a kind's.
WaylinePtr MakeWayline(int code)
{
    switch (code) {
    case EWaylineTypeEmpty:
        return WaylinePtr(new CEmptyWayline);
    case EWaylineTypeAB:
        return WaylinePtr(new CABWayline);
    case EWaylineTypeAHeading:
        return WaylinePtr(new CAHeadingWayline);
    case EWaylineTypeCircle:
        return WaylinePtr(new CCircleWayline);
    case EWaylineTypeSpline:
        return WaylinePtr(new CSplineWayline);
    case EWaylineTypeABCurve:
        return WaylinePtr(new CABCurveWayline);
    case EWaylineTypePath:
        return WaylinePtr(new CPathWayline);
    case EWaylineTypeReplay:
        return WaylinePtr(new CReplayWayline);
    default:
        return WaylinePtr();
    }
}

} // namespace

CWayline::~CWayline() = default;

std::string CWayline::ToString() const
{
    return std::string();
}

bool CWayline::LoadString(const std::string&)
{
    return false;
}

WaylinePtr CWayline::FromBList(BListC* list)
{
    if (list == nullptr || list->Size() == 0) {
        return WaylinePtr();
    }
    WaylinePtr wayline = MakeWayline(list->GetInt(0));
    if (!wayline || !wayline->LoadBList(list)) {
        return WaylinePtr();
    }
    return wayline;
}

WaylinePtr CWayline::FromString(const std::string& text)
{
    std::string firstWord;
    std::string rest;
    int code = 0;
    if (Core::Utilities::SplitString(text, ' ', firstWord, rest) == 0 ||
        Core::Utilities::ParseInt(firstWord, code) == 0) {
        return WaylinePtr();
    }
    WaylinePtr wayline = MakeWayline(code);
    if (!wayline || !wayline->LoadString(text)) {
        return WaylinePtr();
    }
    return wayline;
}

} // namespace Kestrove
