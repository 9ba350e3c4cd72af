#include "tools/navctl/operations/Operation.h"

namespace {

using Api = CNavigationAPI;
using Vector = Core::Maths::Vector3<double>;

/// A shift of the line.
CArgument Shift(const char* name)
{
    return Number(name, "m", "-1000 to 1000", "to the right when positive");
}

Json VectorValue(const Vector& vector)
{
    return {vector.x, vector.y, vector.z};
}

/// The outcome of a status, with the nudge that came with it.
COutcome NudgeOutcome(int status, const Vector& nudge)
{
    COutcome outcome = StatusOutcome(status);
    if (outcome.kind == EOutcome::Done)
        outcome.value = VectorValue(nudge);
    return outcome;
}

COutcome InvokeNudge(CNavigationAPI& navigation, const ArgumentValues& values)
{
    Vector nudge;
    const int status = navigation.Nudge(nudge, As<bool>(values[0]), As<double>(values[1]));
    return NudgeOutcome(status, nudge);
}

COutcome InvokeAutoSetNudge(CNavigationAPI& navigation, const ArgumentValues&)
{
    Vector nudge;
    const int status = navigation.AutoSetNudge(nudge);
    return NudgeOutcome(status, nudge);
}

COutcome InvokeGetNudgeVector(CNavigationAPI& navigation, const ArgumentValues&)
{
    Vector nudge;
    if (!navigation.GetNudgeVector(nudge))
        return {EOutcome::NoAnswer};
    return {EOutcome::Value, VectorValue(nudge)};
}

} // namespace

std::vector<COperation> OffsetEntries()
{
    return {
        Request("nudge", "Nudge", "Nudges the line and gives the nudge as a vector",
                {Switch("add", "add the amount to the nudge; off makes the amount the nudge"),
                 Shift("amount")},
                InvokeNudge, "m"),
        Request("auto-set-nudge", "AutoSetNudge",
                "Chooses the nudge that puts the line under the machine, and gives it as a vector",
                {}, InvokeAutoSetNudge, "m"),
        Request("get-nudge-vector", "get_nudge_vector", "Asks for the nudge as a vector", {},
                InvokeGetNudgeVector, "m"),
        Request("get-nudge-scalar", "get_nudge", "Asks for the nudge as a number", {},
                Value(&Api::GetNudgeScalar), "m"),
        Notification("set-nudge", "set_nudge", "Sets the nudge", {Shift("nudge")},
                     Sent(&Api::SetNudge)),
        Request("auto-set-field-offset", "AutoSetFieldOffset",
                "Chooses the field offset that puts the line under the machine", {},
                Status(&Api::AutoSetFieldOffset)),
        Request("set-field-offset", "SetFieldOffset",
                "Sets the field offset, a shift of the line for this field", {Shift("offset")},
                Status(&Api::SetFieldOffset)),
        Request("get-field-offset", "GetFieldOffset", "Asks for the field offset", {},
                Value(&Api::GetFieldOffset), "m"),
        Request("set-implement-offset", "SetImplementOffset",
                "Sets how far the line is followed shifted to the right, for an implement whose "
                "middle is that far to the left of the machine's",
                {Shift("offset")}, Status(&Api::SetImplementOffset)),
        Request("get-implement-offset", "GetImplementOffset", "Asks for the implement offset", {},
                Value(&Api::GetImplementOffset), "m"),
        Notification("set-splines-use-implement-offset", "SetSplinesUseImplementOffset",
                     "Sets whether splines are shifted by the implement offset too",
                     {Switch("use", "whether they are")}, Sent(&Api::SetSplinesUseImplementOffset)),
        Request("set-implement-width", "SetImplementWidth",
                "Sets the implement width, the distance between neighbouring passes",
                {Number("width", "m", "0.1 to 100", "the width")}, Status(&Api::SetImplementWidth)),
        Request("get-implement-width", "GetImplementWidth", "Asks for the implement width", {},
                Value(&Api::GetImplementWidth), "m"),
    };
}
