#include "tools/navctl/operations/Operation.h"

namespace {

using Api = CNavigationAPI;

/// A shift of the line.
CArgument Shift(const char* name)
{
    return Number(name, "m", "-1000 to 1000", "to the right when positive");
}

} // namespace

std::vector<COperation> OffsetEntries()
{
    return {
        Request("nudge", "Nudge", "Nudges the line and gives the nudge as a vector",
                {Switch("add", "add the amount to the nudge; off makes the amount the nudge"),
                 Shift("amount")},
                {1}, StatusAndVectorReply(), "m"),
        Request("auto-set-nudge", "AutoSetNudge",
                "Chooses the nudge that puts the line under the machine, and gives it as a vector",
                {}, {1}, StatusAndVectorReply(), "m"),
        Request("get-nudge-vector", "get_nudge_vector", "Asks for the nudge as a vector", {}, {},
                VectorReply(), "m"),
        Request("get-nudge-scalar", "get_nudge", "Asks for the nudge as a number", {}, {1},
                NumberReply(), "m"),
        Notification("set-nudge", "set_nudge", "Sets the nudge", {Shift("nudge")},
                     Sent(&Api::SetNudge)),
        Request("auto-set-field-offset", "AutoSetFieldOffset",
                "Chooses the field offset that puts the line under the machine", {}, {1},
                StatusReply()),
        Request("set-field-offset", "SetFieldOffset",
                "Sets the field offset, a shift of the line for this field", {Shift("offset")}, {1},
                StatusReply()),
        Request("get-field-offset", "GetFieldOffset", "Asks for the field offset", {}, {1},
                NumberReply(), "m"),
        Request("set-implement-offset", "SetImplementOffset",
                "Sets how far the line is followed shifted to the right, for an implement whose "
                "middle is that far to the left of the machine's",
                {Shift("offset")}, {1}, StatusReply()),
        Request("get-implement-offset", "GetImplementOffset", "Asks for the implement offset", {},
                {1}, NumberReply(), "m"),
        Notification("set-splines-use-implement-offset", "SetSplinesUseImplementOffset",
                     "Sets whether splines are shifted by the implement offset too",
                     {Switch("use", "whether they are")}, Sent(&Api::SetSplinesUseImplementOffset)),
        Request("set-implement-width", "SetImplementWidth",
                "Sets the implement width, the distance between neighbouring passes",
                {Number("width", "m", "0.1 to 100", "the width")}, {1}, StatusReply()),
        Request("get-implement-width", "GetImplementWidth", "Asks for the implement width", {}, {1},
                NumberReply(), "m"),
    };
}
