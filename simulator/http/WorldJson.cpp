#include "simulator/http/WorldJson.h"

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

using nlohmann::json;

namespace {

const char* NameOf(EEngageState state)
{
    switch (state) {
    case EEngageState::NotReady:
        return "not ready";
    case EEngageState::Ready:
        return "ready";
    case EEngageState::Engaged:
        return "engaged";
    case EEngageState::Dropped:
        return "dropped";
    }
    return "";
}

json TuningJson(const CSimulation& world)
{
    // As in the state file.
    static const char* const names[kTuningParameters] = {"sensitivity", "aggressiveness",
                                                         "overshoot", "speed_adjust"};
    json parameters = json::array();
    for (int number = 0; number < kTuningParameters; ++number) {
        const auto parameter = static_cast<ETuning>(number);
        const TuningLimits limits = world.Tuning().Limits(parameter);
        parameters.push_back({{"number", number},
                              {"name", names[number]},
                              {"value", world.Tuning().Get(parameter)},
                              {"lowest", limits.lowest},
                              {"start", limits.start},
                              {"highest", limits.highest}});
    }
    return parameters;
}

void AddMachine(json& state, const CSimulation& world)
{
    const Pose pose = world.EstimatedPose();
    state["time"] = world.Time();
    state["x"] = pose.position.x;
    state["y"] = pose.position.y;
    state["heading"] = NormaliseHeading(pose.heading);
    state["speed"] = world.Speed();
    state["velocity_set_point"] = world.SpeedSetPoint();
    state["steering_angle"] = world.SteeringAngle();
    state["desired_steering_angle"] = world.SteeringCommand();
    state["wheelbase"] = kWheelbase;
    state["reverse"] = world.MovingInReverse();
    state["fed"] = world.FedMode();
}

void AddGuidance(json& state, const CSimulation& world)
{
    const std::optional<Point> aim = world.AimPoint();
    const GuidanceStatus status = world.Status();
    state["cross_track_error"] = aim ? json(status.crossTrackError) : json();
    state["heading_error"] = aim ? json(status.headingError) : json();
    state["implement_cross_track_error"] = aim ? json(world.ImplementCrossTrackError()) : json();
    state["true_cross_track_error"] = aim ? json(world.TrueCrossTrackError()) : json();
    state["true_implement_cross_track_error"] =
        aim ? json(world.TrueImplementCrossTrackError()) : json();
    state["receiver_drift_error"] = aim ? json(world.ReceiverDriftError()) : json();
    state["guide"] = world.Guide() == EGuide::Implement ? "implement" : "machine";
    state["implement_place"] = PointJson(world.ImplementPoint());
    state["implement_heading"] = world.ImplementHeading();
    state["drives_against"] = world.FacesAgainst();
    state["takes_nearest_pass"] = world.TakesNearestPass();
    state["pass"] = aim ? json(status.pass) : json();
    state["commanded_curvature"] = status.commandedCurvature;
    state["aim_point"] = aim ? PointJson(*aim) : json();
    state["nudge"] = world.Nudge();
}

} // namespace

EEngageState EngageStateOf(const CSimulation& world)
{
    if (world.Engaged()) {
        return EEngageState::Engaged;
    }
    if (world.DroppedByService()) {
        return EEngageState::Dropped;
    }
    return world.WhyNotEngaged().empty() ? EEngageState::Ready : EEngageState::NotReady;
}

std::string StateJson(const CSimulation& world)
{
    json state;
    AddMachine(state, world);
    AddGuidance(state, world);
    const EEngageState engage = EngageStateOf(world);
    state["engage_state"] = static_cast<int>(engage);
    state["engage_state_name"] = NameOf(engage);
    state["navigating"] = world.NavigationActive();
    state["why_not_engaged"] = world.WhyNotEngaged();
    state["drop_reason"] = world.DropReason();
    return JsonText(state);
}

std::string SettingsJson(const CSimulation& world)
{
    return JsonText({{"tuning", TuningJson(world)},
                     {"reverse_engage_enabled", world.ReverseEngageEnabled()},
                     {"reverse_engage_allowed", world.ReverseEngageAllowed()},
                     {"low_speed_engage_allowed", world.LowSpeedEngageAllowed()},
                     {"low_speed_engage_timeout", world.LowSpeedTimeout()},
                     {"lookahead_time", world.LookAheadTime()},
                     {"velocity_set_point", world.SpeedSetPoint()},
                     {"curve_filter_size", world.CurveFilterSize()},
                     {"implement_width", world.ImplementWidth()},
                     {"implement_offset", world.ImplementOffset()},
                     {"nudge", world.Nudge()},
                     {"field_offset", world.FieldOffset()},
                     {"splines_use_implement_offset", world.SplinesUseImplementOffset()}});
}
