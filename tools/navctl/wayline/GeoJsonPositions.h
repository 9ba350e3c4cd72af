#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONPOSITIONS_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONPOSITIONS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/navctl/files/LocalFrame.h"

/// Thrown out of the reading of a feature; the text is its problem.
struct BadFeature
{
    std::string text;
};

inline double NumberIn(const nlohmann::ordered_json& value, const std::string& what)
{
    if (!value.is_number() || !std::isfinite(value.get<double>())) {
        throw BadFeature{what + " is no number"};
    }
    return value.get<double>();
}

struct Position
{
    GeodeticPlace place;
    bool hasHeight = false;
};

/// A position as it stands in the file.
inline Position PositionIn(const nlohmann::ordered_json& value)
{
    if (!value.is_array() || value.size() < 2) {
        throw BadFeature{"a position is no array of longitude, latitude and height"};
    }
    Position position;
    position.place.longitude = NumberIn(value[0], "a longitude");
    position.place.latitude = NumberIn(value[1], "a latitude");
    position.hasHeight = value.size() > 2;
    if (position.hasHeight) {
        position.place.height = NumberIn(value[2], "a height");
    }
    return position;
}

/// Takes the positions out of a file while it is parsed, which as arrays of JSON would take several
/// times the memory: in their place stands their number. Within coordinates, a whole number of JSON
/// is such a number, since the others are made floating ones.
class CPositions
{
public:
    using Json = nlohmann::ordered_json;

    /// @param most beyond which a file is refused.
    explicit CPositions(std::size_t most) : m_most(most) {}

    /// What the parser calls for every value. Has it refuse a file that is nested deeper than any
    /// GeoJSON is: values are copied and destroyed recursively.
    bool Take(int depth, Json::parse_event_t event, Json& parsed)
    {
        if (depth > kDeepest) {
            throw BadFeature{"it is nested deeper than " + std::to_string(kDeepest) + " levels"};
        }
        Count(event);
        if (event == Json::parse_event_t::key) {
            m_isInCoordinates = parsed == "coordinates";
        } else if (m_isInCoordinates && event == Json::parse_event_t::value && parsed.is_number()) {
            parsed = parsed.get<double>();
        } else if (m_isInCoordinates && event == Json::parse_event_t::array_end &&
                   IsPosition(parsed)) {
            if (m_positions.size() >= m_most) {
                throw BadFeature{"it has more places than are read"};
            }
            m_positions.push_back(PositionIn(parsed));
            m_kept -= parsed.size();
            parsed = m_positions.size() - 1;
        }
        return true;
    }

    /// The position that a value stands for or is.
    Position Of(const Json& value) const
    {
        if (value.is_number_unsigned()) {
            return m_positions.at(value.get<std::size_t>());
        }
        const auto isTaken = [](const Json& part) { return part.is_number_unsigned(); };
        if (value.is_array() && std::any_of(value.begin(), value.end(), isTaken)) {
            throw BadFeature{"a position is no array of longitude, latitude and height"};
        }
        return PositionIn(value);
    }

private:
    static bool IsPosition(const Json& array)
    {
        const auto isNumber = [](const Json& value) { return value.is_number_float(); };
        return array.size() >= 2 && std::all_of(array.begin(), array.end(), isNumber);
    }

    /// Counts what is kept as values of JSON, each of which takes far more memory than its text.
    void Count(Json::parse_event_t event)
    {
        using EEvent = Json::parse_event_t;
        const bool isKept = event == EEvent::value || event == EEvent::array_start ||
                            event == EEvent::object_start || event == EEvent::key;
        if (isKept && ++m_kept > kMostKept) {
            throw BadFeature{"it has more values than are read"};
        }
    }

    static constexpr int kDeepest = 64;
    static constexpr std::size_t kMostKept = 5000000;

    std::size_t m_most;
    std::vector<Position> m_positions;
    bool m_isInCoordinates = false;
    std::size_t m_kept = 0;
};

#endif
