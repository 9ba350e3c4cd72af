// The kinds that carry nothing but their code: empty, path and replay. The latter two differ in the
// code and in the class name that their text reader prints.

#include "wayline/Wayline.h"

#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "platform/Utilities.h"
#include "wayline/TracePrinting.h"

namespace Kestrove {

namespace {

BListC* WriteList(EWaylineType type)
{
    auto list = std::make_unique<BListC>(nullptr);
    list->AddInt(type);
    return list.release();
}

// Any list that is not empty will do: whoever chose the kind has read the code already.
bool AcceptsList(const BListC& list)
{
    return list.Size() != 0;
}

bool AcceptsText(const char* className, EWaylineType type, const std::string& text)
{
    PrintTraceLine("%s::LoadString: %s\n", className, text.c_str());
    std::vector<std::string> parts;
    if (Core::Utilities::SplitString(text, ' ', parts, 0) == 0) {
        return false;
    }
    PrintTraceLine("%s::LoadString: split string length: %zd\n", className, parts.size());
    // The bare code is not a text form, though ToString() writes just that: what these kinds write
    // is not taken back, and applications get no wayline from it.
    if (parts.size() < 2) {
        return false;
    }
    int code = 0;
    return Core::Utilities::ParseInt(parts[0], code) != 0 && code == type;
}

} // namespace

CEmptyWayline::CEmptyWayline() : CWayline(EWaylineTypeEmpty) {}
// Not even the code is written: to the service a list without elements is not a wayline.
BListC* CEmptyWayline::ToBList() const
{
    return new BListC(nullptr);
}
bool CEmptyWayline::LoadBList(BListC*)
{
    return false;
}

CPathWayline::CPathWayline() : CWayline(EWaylineTypePath) {}
BListC* CPathWayline::ToBList() const
{
    return WriteList(Type());
}
bool CPathWayline::LoadBList(BListC* list)
{
    return AcceptsList(*list);
}
std::string CPathWayline::ToString() const
{
    return std::to_string(Type());
}
bool CPathWayline::LoadString(const std::string& text)
{
    return AcceptsText("CPathWayline", Type(), text);
}

CReplayWayline::CReplayWayline() : CWayline(EWaylineTypeReplay) {}
BListC* CReplayWayline::ToBList() const
{
    return WriteList(Type());
}
bool CReplayWayline::LoadBList(BListC* list)
{
    return AcceptsList(*list);
}
std::string CReplayWayline::ToString() const
{
    return std::to_string(Type());
}
bool CReplayWayline::LoadString(const std::string& text)
{
    return AcceptsText("CReplayWayline", Type(), text);
}

} // namespace Kestrove
