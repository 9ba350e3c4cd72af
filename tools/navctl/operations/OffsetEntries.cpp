#include "tools/navctl/operations/Operation.h"

namespace {

constexpr auto kRequest = EOperationKind::Request;
constexpr auto kNotification = EOperationKind::Notification;
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
        {"nudge",
         "Nudge",
         kRequest,
         "Nudges the line and gives the nudge as a vector",
         {Switch("add", "add the amount to the nudge; off makes the amount the nudge"),
          Shift("amount")},
         InvokeNudge,
         "m"},
        {"auto-set-nudge",
         "AutoSetNudge",
         kRequest,
         "Chooses the nudge that puts the line under the machine, and gives it as a vector",
         {},
         InvokeAutoSetNudge,
         "m"},
        {"get-nudge-vector",
         "get_nudge_vector",
         kRequest,
         "Asks for the nudge as a vector",
         {},
         InvokeGetNudgeVector,
         "m"},
        {"get-nudge-scalar",
         "get_nudge",
         kRequest,
         "Asks for the nudge as a number",
         {},
         Value(&Api::GetNudgeScalar),
         "m"},
        {"set-nudge",
         "set_nudge",
         kNotification,
         "Sets the nudge",
         {Shift("nudge")},
         Sent(&Api::SetNudge)},
        {"auto-set-field-offset",
         "AutoSetFieldOffset",
         kRequest,
         "Chooses the field offset that puts the line under the machine",
         {},
         Status(&Api::AutoSetFieldOffset)},
        {"set-field-offset",
         "SetFieldOffset",
         kRequest,
         "Sets the field offset, a shift of the line for this field",
         {Shift("offset")},
         Status(&Api::SetFieldOffset)},
        {"get-field-offset",
         "GetFieldOffset",
         kRequest,
         "Asks for the field offset",
         {},
         Value(&Api::GetFieldOffset),
         "m"},
        {"set-implement-offset",
         "SetImplementOffset",
         kRequest,
         "Sets how far the implement's middle is to the right of the machine's",
         {Shift("offset")},
         Status(&Api::SetImplementOffset)},
        {"get-implement-offset",
         "GetImplementOffset",
         kRequest,
         "Asks for the implement offset",
         {},
         Value(&Api::GetImplementOffset),
         "m"},
        {"set-splines-use-implement-offset",
         "SetSplinesUseImplementOffset",
         kNotification,
         "Sets whether splines are shifted by the implement offset too",
         {Switch("use", "whether they are")},
         Sent(&Api::SetSplinesUseImplementOffset)},
        {"set-implement-width",
         "SetImplementWidth",
         kRequest,
         "Sets the implement width, the distance between neighbouring passes",
         {Number("width", "m", "0.1 to 100", "the width")},
         Status(&Api::SetImplementWidth)},
        {"get-implement-width",
         "GetImplementWidth",
         kRequest,
         "Asks for the implement width",
         {},
         Value(&Api::GetImplementWidth),
         "m"},
    };
}
