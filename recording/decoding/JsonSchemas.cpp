#include "recording/decoding/JsonSchemas.h"

#include <initializer_list>
#include <utility>

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

namespace {

Json Typed(const char* type)
{
    return {{"type", type}};
}

Json List(Json element)
{
    return {{"type", "array"}, {"items", std::move(element)}};
}

/// An object that has all of its entries.
Json Object(std::initializer_list<std::pair<const char*, Json>> entries)
{
    Json object{{"type", "object"}, {"properties", Json::object()}, {"required", Json::array()}};
    for (const auto& [key, value] : entries) {
        object["properties"][key] = value;
        object["required"].push_back(key);
    }
    return object;
}

Json WithOptional(Json object, std::initializer_list<std::pair<const char*, Json>> entries)
{
    for (const auto& [key, value] : entries) {
        object["properties"][key] = value;
    }
    return object;
}

Json Number()
{
    return Typed("number");
}

Json TimeForm()
{
    return Object({{"sec", Typed("integer")}, {"nsec", Typed("integer")}});
}

Json PointForm()
{
    return Object({{"x", Number()}, {"y", Number()}, {"z", Number()}});
}

Json PoseForm()
{
    return Object({{"position", PointForm()},
                   {"orientation",
                    Object({{"x", Number()}, {"y", Number()}, {"z", Number()}, {"w", Number()}})}});
}

Json ColorForm()
{
    return Object({{"r", Number()}, {"g", Number()}, {"b", Number()}, {"a", Number()}});
}

Json PoseInFrameForm()
{
    return Object({{"timestamp", TimeForm()}, {"frame_id", Typed("string")}, {"pose", PoseForm()}});
}

Json LocationFixForm()
{
    Json covariance = List(Number());
    covariance["minItems"] = 9;
    covariance["maxItems"] = 9;
    return Object({{"timestamp", TimeForm()},
                   {"frame_id", Typed("string")},
                   {"latitude", Number()},
                   {"longitude", Number()},
                   {"altitude", Number()},
                   {"position_covariance", covariance},
                   {"position_covariance_type", Typed("integer")}});
}

Json SceneUpdateForm()
{
    const Json anything = List(Typed("object"));
    const Json line = Object({{"type", Typed("integer")},
                              {"pose", PoseForm()},
                              {"thickness", Number()},
                              {"scale_invariant", Typed("boolean")},
                              {"points", List(PointForm())},
                              {"color", ColorForm()},
                              {"colors", List(ColorForm())},
                              {"indices", List(Typed("integer"))}});
    const Json deletion =
        Object({{"timestamp", TimeForm()}, {"type", Typed("integer")}, {"id", Typed("string")}});
    const Json entity = Object({{"timestamp", TimeForm()},
                                {"frame_id", Typed("string")},
                                {"id", Typed("string")},
                                {"lifetime", TimeForm()},
                                {"frame_locked", Typed("boolean")},
                                {"metadata", anything},
                                {"arrows", anything},
                                {"cubes", anything},
                                {"spheres", anything},
                                {"cylinders", anything},
                                {"lines", List(line)},
                                {"triangles", anything},
                                {"texts", anything},
                                {"models", anything}});
    return Object({{"deletions", List(deletion)}, {"entities", List(entity)}});
}

/// A reply, an error and the seconds are there once the service has answered.
Json OperationForm()
{
    return WithOptional(
        Object({{"client", Typed("integer")}, {"arguments", Json::object()}}),
        {{"reply", Json::object()}, {"error", Json::object()}, {"seconds", Number()}});
}

Json MachineStateForm()
{
    const Json measured{{"type", {"number", "null"}}}; // null: there is none
    return Object({{"time_s", Number()},
                   {"x_m", Number()},
                   {"y_m", Number()},
                   {"heading_rad", Number()},
                   {"measured_x_m", measured},
                   {"measured_y_m", measured},
                   {"speed_mps", Number()},
                   {"steering_angle_rad", Number()},
                   {"cross_track_error_m", measured},
                   {"implement_cross_track_error_m", measured},
                   {"receiver_drift_error_m", measured},
                   {"pass", Typed("integer")},
                   {"engaged", Typed("boolean")},
                   {"state", Typed("string")},
                   {"drop_reason", Typed("string")},
                   {"navigating", Typed("boolean")},
                   {"drives_against", Typed("boolean")},
                   {"fed", Typed("boolean")},
                   {"desired_steering_angle_rad", Number()},
                   {"nudge_m", Number()},
                   {"fix", Typed("string")},
                   {"correction_age_s", Number()},
                   {"faults", List(Typed("string"))}});
}

Json SchemaOf(const std::string& name)
{
    if (name == "foxglove.PoseInFrame") {
        return PoseInFrameForm();
    }
    if (name == "foxglove.LocationFix") {
        return LocationFixForm();
    }
    if (name == "foxglove.SceneUpdate") {
        return SceneUpdateForm();
    }
    if (name == "kestrove.Operation") {
        return OperationForm();
    }
    if (name == "kestrove.Event") {
        return Object({{"client", Typed("integer")}, {"payload", Json::object()}});
    }
    if (name == "kestrove.MachineState") {
        return MachineStateForm();
    }
    return Typed("object");
}

} // namespace

std::string JsonSchemaOf(const std::string& name)
{
    Json schema{{"title", name}};
    schema.update(SchemaOf(name));
    return schema.dump();
}
