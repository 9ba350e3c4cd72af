#include "bindings/python/Operations.h"

#include <optional>
#include <type_traits>

#include "bindings/python/Casters.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Core::Maths::Vector3;
using Api = CNavigationAPI;

/// Takes the rows of the tables below: name, operation, summary, arguments.
class COperations
{
public:
    explicit COperations(py::class_<CClient>& client) : m_client(client) {}

    template <typename Result, typename... Arguments, typename... Names>
    COperations& Add(const char* name, Result (Api::*operation)(Arguments...), const char* summary,
                     const Names&... names)
    {
        static_assert(sizeof...(Arguments) == sizeof...(Names), "every argument has a name");
        m_client.def(
            name,
            [operation](CClient& client, std::decay_t<Arguments>... arguments) {
                return client.Operate([&](Api& api) { return (api.*operation)(arguments...); });
            },
            summary, names...);
        return *this;
    }

private:
    py::class_<CClient>& m_client;
};

py::arg Named(const char* name)
{
    return py::arg(name);
}

py::arg_v Persist()
{
    return py::arg("persist") = false;
}

void DefineSteering(COperations operations)
{
    operations
        .Add("is_steering_engaged", &Api::IsSteeringEngaged,
             "Whether the service is steering the machine; False also on failure.")
        .Add("engage_steering", &Api::EngageSteering,
             "Lets the service take over the steering: 1 engaged, 0 refused, -1 failed.")
        .Add("disengage_steering", &Api::DisengageSteering,
             "Gives the steering back to the operator: 1 done, 0 refused, -1 failed.")
        .Add("start_navigation", &Api::StartNavigation,
             "Starts navigation along the wayline or, if so wished, the pass nearest to the "
             "machine: 1 started, 0 refused, -1 failed.",
             Named("follow_nearest_pass"))
        .Add("stop_navigation", &Api::StopNavigation,
             "Disengages and stops navigation; the wayline stays: 1 done, 0 refused, -1 failed.")
        .Add("clear_navigation", &Api::ClearNavigation,
             "Disengages and drops wayline, waypoints, nudge and field offset: 1 done, 0 refused, "
             "-1 failed.")
        .Add("reinitialise_navigation", &Api::ReinitialiseNavigation,
             "Puts every setting back to its start value: 1 done, 0 refused, -1 failed.")
        .Add("is_navigation_activated", &Api::IsNavigationActivated,
             "Whether navigation is active; False also on failure.");
}

void DefineEngageSettings(COperations operations)
{
    operations
        .Add("set_reverse_engage_enabled", &Api::SetReverseEngageEnabled,
             "Sets whether the machine can engage while it reverses at all.", Named("enabled"),
             Persist())
        .Add("get_reverse_engage_enabled", &Api::GetReverseEngageEnabled,
             "Whether the machine can engage while it reverses at all; False also on failure.")
        .Add("set_allow_reverse_engage", &Api::SetAllowReverseEngage,
             "Sets whether the operator allows engaging in reverse.", Named("allowed"), Persist())
        .Add("get_allow_reverse_engage", &Api::GetAllowReverseEngage,
             "Whether the operator allows engaging in reverse; False also on failure.")
        .Add("set_low_speed_engage_enabled", &Api::SetLowSpeedEngageEnabled,
             "Sets whether steering may be engaged at low speed.", Named("enabled"), Persist())
        .Add("get_low_speed_engage_enabled", &Api::GetLowSpeedEngageEnabled,
             "Whether steering may be engaged at low speed; False also on failure.")
        .Add("set_low_speed_engage_timeout", &Api::SetLowSpeedEngageTimeout,
             "Sets how long, in seconds, steering stays engaged at low speed where engaging there "
             "is off.",
             Named("timeout_seconds"), Persist())
        .Add("get_low_speed_engage_timeout", &Api::GetLowSpeedEngageTimeout,
             "How long, in seconds, steering stays engaged at low speed where engaging there is "
             "off; 0.0 on failure.")
        .Add("set_look_ahead_time", &Api::SetLookAheadTime,
             "Sets how far ahead of the machine, in seconds, the controller aims.",
             Named("look_ahead_seconds"), Persist())
        .Add("get_look_ahead_time", &Api::GetLookAheadTime,
             "How far ahead of the machine, in seconds, the controller aims; 0.0 on failure.");
}

void DefineWaylineOperations(COperations operations)
{
    operations
        .Add("set_wayline_origin", &Api::SetWaylineOrigin,
             "Sets the origin of the local frame: latitude and longitude in degrees, ellipsoid "
             "height in metres, WGS 84.",
             Named("origin"))
        .Add("calculate_headings", &Api::CalculateHeadings,
             "The heading of each wayline where the machine is nearest to it, in radians clockwise "
             "from north; an empty list on failure.",
             Named("waylines"))
        .Add("set_wayline", &Api::SetWayline,
             "Replaces the service's wayline. True when the service replied at all, a refusal "
             "included; False on failure.",
             Named("wayline"))
        .Add("clear_wayline", &Api::ClearWayline,
             "Drops the service's wayline and disengages; False when there was none and on "
             "failure.")
        .Add("start_wayline", &Api::StartWayline,
             "Begins a wayline of a kind, which the waypoints then complete; False when refused "
             "and on failure.",
             Named("type"))
        .Add("set_waypoint", &Api::SetWaypoint,
             "Sets a waypoint (0 for A, 1 for B, 2 for the third point of a circle) at metres "
             "east, north, up, with a heading; False when refused and on failure.",
             Named("waypoint"), Named("x"), Named("y"), Named("z"), Named("heading"))
        .Add("is_waypoint_set", &Api::IsWaypointSet,
             "Whether a waypoint is set; False also on failure.", Named("waypoint"))
        .Add("restore_waypoints", &Api::RestoreWaypoints,
             "Brings back the waypoints before the last change and gives their number; -1 on "
             "failure.");
}

void DefineOffsets(COperations operations)
{
    operations
        .Add("get_nudge_scalar", &Api::GetNudgeScalar, "The nudge in metres; -1.0 on failure.")
        .Add("set_nudge", &Api::SetNudge, "Sets the nudge, in metres.", Named("nudge"))
        .Add("auto_set_field_offset", &Api::AutoSetFieldOffset,
             "Chooses the field offset that puts the line under the machine: 1 done, 0 refused, -1 "
             "failed.")
        .Add("set_field_offset", &Api::SetFieldOffset,
             "Sets the shift of the line for this field, in metres: 1 done, 0 refused, -1 failed.",
             Named("offset"))
        .Add("get_field_offset", &Api::GetFieldOffset,
             "The shift of the line for this field, in metres; -1.0 on failure.")
        .Add("set_implement_offset", &Api::SetImplementOffset,
             "Sets how far, in metres, the line is followed shifted to the right, for an implement "
             "whose middle is that far to the left of the machine's: 1 done, 0 refused, -1 failed.",
             Named("offset"))
        .Add(
            "get_implement_offset", &Api::GetImplementOffset,
            "How far, in metres, the line is followed shifted to the right for the implement; -1.0 "
            "on failure.")
        .Add("set_splines_use_implement_offset", &Api::SetSplinesUseImplementOffset,
             "Sets whether splines are shifted by the implement offset too.", Named("use"))
        .Add("set_implement_width", &Api::SetImplementWidth,
             "Sets the implement width, in metres: 1 done, 0 refused, -1 failed.", Named("width"))
        .Add("get_implement_width", &Api::GetImplementWidth,
             "The implement width in metres; -1.0 on failure.");
}

void DefinePositionFeed(COperations operations)
{
    operations.Add(
        "set_position_data", &Api::SetPositionData,
        "Feeds the service one sample of position and movement: degrees WGS 84, metres, metres per "
        "second, radians clockwise from north, radians per second; time is Unix time. 0 when the "
        "service can be reached, whatever became of the sample; -1 when it cannot.",
        Named("latitude"), Named("longitude"), Named("height"), Named("course"), Named("speed"),
        Named("roll"), Named("pitch"), Named("yaw"), Named("roll_rate"), Named("pitch_rate"),
        Named("yaw_rate"), Named("sigma_east"), Named("sigma_north"), Named("sigma_up"),
        Named("position_valid"), Named("fix_quality"), Named("satellites"), Named("heading_valid"),
        Named("reversing"), Named("sample_number"), Named("time"));
}

void DefineTuning(COperations operations)
{
    operations
        .Add("set_tuning_limits", &Api::SetTuningLimits,
             "Sets the limits of a tuning parameter, in rising order. True when the service can be "
             "reached, whatever became of them.",
             Named("parameter"), Named("lowest"), Named("start"), Named("highest"))
        .Add("get_tuning_parameter", &Api::GetTuningParameter,
             "A tuning parameter; 0.0 on failure.", Named("parameter"))
        .Add("set_tuning_parameter", &Api::SetTuningParameter, "Sets a tuning parameter.",
             Named("parameter"), Named("value"), Persist())
        .Add("get_sensitivity", &Api::GetSensitivity, "The sensitivity; 0.0 on failure.")
        .Add("get_aggressiveness", &Api::GetAggressiveness, "The aggressiveness; 0.0 on failure.")
        .Add("get_overshoot", &Api::GetOvershoot, "The overshoot; 0.0 on failure.")
        .Add("get_speed_adjust", &Api::GetSpeedAdjust, "The speed adjustment; 0.0 on failure.")
        .Add("set_sensitivity", &Api::SetSensitivity, "Sets the sensitivity.", Named("value"),
             Persist())
        .Add("set_aggressiveness", &Api::SetAggressiveness, "Sets the aggressiveness.",
             Named("value"), Persist())
        .Add("set_overshoot", &Api::SetOvershoot, "Sets the overshoot.", Named("value"), Persist())
        .Add("set_speed_adjust", &Api::SetSpeedAdjust, "Sets the speed adjustment.", Named("value"),
             Persist())
        .Add("reset_integral", &Api::ResetIntegral,
             "Puts the integral term of the controller back to zero. True when the service can be "
             "reached, whatever became of it.")
        .Add("get_velocity_set_point", &Api::GetVelocitySetPoint,
             "The velocity set point in metres per second; 0.0 on failure.")
        .Add("set_velocity_set_point", &Api::SetVelocitySetPoint,
             "Sets the velocity set point, in metres per second.", Named("velocity"))
        .Add("get_curve_filter_size", &Api::GetCurveFilterSize,
             "The size of the curve filter, a number of recorded points; -1 on failure.")
        .Add("set_curve_filter_size", &Api::SetCurveFilterSize,
             "Sets the size of the curve filter, a number of recorded points.", Named("size"));
}

py::object NudgeReply(int status, const Vector3<double>& nudge)
{
    const auto values = py::module_::import("kestrove_navigation._values");
    const py::object vector = status == -1 ? py::object(py::none()) : ToPython(nudge);
    return values.attr("NudgeReply")(status, vector);
}

py::object Nudge(CClient& client, bool add, double amount)
{
    Vector3<double> nudge;
    const int status = client.Operate([&](Api& api) { return api.Nudge(nudge, add, amount); });
    return NudgeReply(status, nudge);
}

py::object AutoSetNudge(CClient& client)
{
    Vector3<double> nudge;
    const int status = client.Operate([&](Api& api) { return api.AutoSetNudge(nudge); });
    return NudgeReply(status, nudge);
}

std::optional<Vector3<double>> GetNudgeVector(CClient& client)
{
    Vector3<double> nudge;
    const bool succeeded = client.Operate([&](Api& api) { return api.GetNudgeVector(nudge); });
    return succeeded ? std::optional(nudge) : std::nullopt;
}

/// That there is no wayline is a reply without a value, and no failure.
WaylinePtr GetWayline(CClient& client)
{
    return client.Operate([](Api& api) { return api.GetWayline(); },
                          [](const LinkErrorC& error) {
                              return error.code != ELinkError::NoError &&
                                     error.code != ELinkError::NoValue;
                          });
}

py::object GetTuningLimits(CClient& client, ETuningParameter parameter)
{
    double lowest = 0.0;
    double start = 0.0;
    double highest = 0.0;
    const bool succeeded = client.Operate(
        [&](Api& api) { return api.GetTuningLimits(parameter, lowest, start, highest); });
    if (!succeeded) {
        return py::none();
    }
    const auto values = py::module_::import("kestrove_navigation._values");
    return values.attr("TuningLimits")(lowest, start, highest);
}

/// The operations that give values through their arguments, which here are returned, and one with
/// failures of its own.
void DefineOperationsWithResults(py::class_<CClient>& client)
{
    client
        .def("nudge", &Nudge,
             "Nudges the line by an amount in metres, or sets its nudge to it: a NudgeReply.",
             py::arg("add"), py::arg("amount"))
        .def("auto_set_nudge", &AutoSetNudge,
             "Chooses the nudge that puts the line under the machine: a NudgeReply.")
        .def("get_nudge_vector", &GetNudgeVector,
             "The nudge as a Vector3 in metres; None on failure.")
        .def("get_wayline", &GetWayline,
             "The service's wayline; None when there is none and on failure. Raises ValueError for "
             "a list form with a negative number of points.")
        .def("get_tuning_limits", &GetTuningLimits,
             "The TuningLimits of a tuning parameter; None on failure.", py::arg("parameter"));
}

} // namespace

void DefineOperations(py::class_<CClient>& client)
{
    const COperations operations(client);
    DefineSteering(operations);
    DefineEngageSettings(operations);
    DefineWaylineOperations(operations);
    DefineOffsets(operations);
    DefinePositionFeed(operations);
    DefineTuning(operations);
    DefineOperationsWithResults(client);
}

} // namespace Kestrove::Python
