#include "recording/decoding/ViewerMessages.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <vector>

using Json = nlohmann::ordered_json;

namespace {

const char* const kField = "field"; // the frame: metres east and north
constexpr double kRightAngle = 1.5707963267948966;

Json Stamp(std::uint64_t nanoseconds)
{
    return {{"sec", nanoseconds / 1'000'000'000U}, {"nsec", nanoseconds % 1'000'000'000U}};
}

Json Point(double x, double y)
{
    return {{"x", x}, {"y", y}, {"z", 0.0}};
}

/// A turn about the upward axis.
Json Turn(double radians)
{
    return {{"x", 0.0}, {"y", 0.0}, {"z", std::sin(radians / 2)}, {"w", std::cos(radians / 2)}};
}

/// The numbers of a payload; nothing where one is not finite.
std::optional<std::vector<double>> Numbers(const Json& payload)
{
    std::vector<double> numbers;
    if (!payload.is_array()) {
        return std::nullopt;
    }
    for (const Json& element : payload) {
        if (!element.is_number() || !std::isfinite(element.get<double>())) {
            return std::nullopt;
        }
        numbers.push_back(element.get<double>());
    }
    return numbers;
}

std::optional<CViewerMessage> PoseOf(const CRecordedItem& item)
{
    const auto numbers = Numbers(item.value);
    if (!numbers || numbers->size() < 3) {
        return std::nullopt;
    }
    return CViewerMessage{"/viewer/pose", "foxglove.PoseInFrame",
                          PoseInFrame(item.time, (*numbers)[0], (*numbers)[1], (*numbers)[2])};
}

Json LineEntity(const CRecordedItem& item, const Json& points)
{
    const Json line{{"type", 0},
                    {"pose", {{"position", Point(0, 0)}, {"orientation", Turn(0)}}},
                    {"thickness", 3},
                    {"scale_invariant", true},
                    {"points", points},
                    {"color", {{"r", 0.0}, {"g", 1.0}, {"b", 0.0}, {"a", 1.0}}},
                    {"colors", Json::array()},
                    {"indices", Json::array()}};
    Json entity{
        {"timestamp", Stamp(item.time)}, {"frame_id", kField},     {"id", "line"},
        {"lifetime", Stamp(0)},          {"frame_locked", false},  {"metadata", Json::array()},
        {"arrows", Json::array()},       {"cubes", Json::array()}, {"spheres", Json::array()},
        {"cylinders", Json::array()},    {"lines", Json::array()}, {"triangles", Json::array()},
        {"texts", Json::array()},        {"models", Json::array()}};
    entity["lines"].push_back(line);
    return entity;
}

std::optional<CViewerMessage> DrawnLine(const CRecordedItem& item)
{
    const auto numbers = Numbers(item.value);
    if (!numbers) {
        return std::nullopt;
    }
    Json points = Json::array();
    for (std::size_t place = 1; place + 1 < numbers->size(); place += 2) {
        points.push_back(Point((*numbers)[place], (*numbers)[place + 1]));
    }
    Json entities = Json::array();
    entities.push_back(LineEntity(item, points));
    return CViewerMessage{"/viewer/line", "foxglove.SceneUpdate",
                          Json{{"deletions", Json::array()}, {"entities", entities}}};
}

/// The values of a sample's text by their tags: "1=51.5;2=-0.25".
std::map<int, double> SampleValues(const std::string& text)
{
    std::map<int, double> values;
    std::size_t begin = 0;
    while (begin < text.size() && values.size() < 100) {
        const std::size_t end = std::min(text.find(';', begin), text.size());
        const std::string entry = text.substr(begin, end - begin);
        const std::size_t equals = entry.find('=');
        if (equals != std::string::npos) {
            values[std::atoi(entry.c_str())] = std::strtod(entry.c_str() + equals + 1, nullptr);
        }
        begin = end + 1;
    }
    return values;
}

std::optional<CViewerMessage> Place(const CRecordedItem& item)
{
    if (!item.value.is_array() || item.value.size() != 1 || !item.value[0].is_string()) {
        return std::nullopt;
    }
    std::map<int, double> values = SampleValues(item.value[0].get<std::string>());
    const bool hasPlace = values.count(1) != 0 && values.count(2) != 0 &&
                          std::isfinite(values[1]) && std::isfinite(values[2]);
    if (!hasPlace) {
        return std::nullopt;
    }
    Json covariance = Json::array({0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0});
    const bool hasSigmas = values.count(12) + values.count(13) + values.count(14) == 3 &&
                           std::isfinite(values[12] + values[13] + values[14]);
    for (const int axis : {0, 1, 2}) {
        if (hasSigmas) {
            covariance[static_cast<std::size_t>(4 * axis)] = values[12 + axis] * values[12 + axis];
        }
    }
    return CViewerMessage{"/viewer/location", "foxglove.LocationFix",
                          Json{{"timestamp", Stamp(item.time)},
                               {"frame_id", "earth"},
                               {"latitude", values[1]},
                               {"longitude", values[2]},
                               {"altitude", std::isfinite(values[3]) ? values[3] : 0.0},
                               {"position_covariance", covariance},
                               {"position_covariance_type", hasSigmas ? 2 : 0}}};
}

} // namespace

Json PoseInFrame(std::uint64_t time, double east, double north, double heading)
{
    // A heading goes clockwise from north, a viewer's angle the other way from east.
    const Json pose{{"position", Point(east, north)}, {"orientation", Turn(kRightAngle - heading)}};
    return {{"timestamp", Stamp(time)}, {"frame_id", kField}, {"pose", pose}};
}

std::optional<CViewerMessage> ViewerMessageOf(const CRecordedItem& item)
{
    if (item.kind == ERecorded::Event && item.name == "cb_relative_position") {
        return PoseOf(item);
    }
    if (item.kind == ERecorded::Event && item.name == "cb_draw_points") {
        return DrawnLine(item);
    }
    if (item.kind == ERecorded::Notification && item.name == "SetPositionData") {
        return Place(item);
    }
    return std::nullopt;
}
