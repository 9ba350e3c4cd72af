#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONPOSITIONS_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_GEOJSONPOSITIONS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
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

/// Builds the values of a file of JSON while it is parsed, in a time that grows with its length
/// alone. Positions are taken out of it, which as arrays of JSON would take several times the
/// memory: in their place stands their number. Within coordinates, a whole number of JSON is such a
/// number, since the others are made floating ones.
///
/// Its functions in small letters are what nlohmann's parser calls for what it meets; those throw
/// BadFeature for a file that has more than is read, or is nested deeper than any GeoJSON is:
/// values are copied and destroyed recursively. Of several members of a name the last one counts.
class CGeoJsonBuilder
{
public:
    using Json = nlohmann::ordered_json;

    /// @param most positions, beyond which a file is refused.
    explicit CGeoJsonBuilder(std::size_t most) : m_most(most) {}
    CGeoJsonBuilder(const CGeoJsonBuilder&) = delete; // it points into itself
    CGeoJsonBuilder& operator=(const CGeoJsonBuilder&) = delete;

    /// What was built; empties this.
    Json TakeRoot() { return std::move(m_root); }
    std::vector<Position> TakePositions() { return std::move(m_positions); }
    /// The byte at which this stops being JSON; nothing when it is.
    const std::optional<std::size_t>& BadByte() const { return m_badByte; }

    bool null() { return Add(nullptr); }
    bool boolean(bool value) { return Add(value); }
    bool number_integer(std::int64_t value) { return AddNumber(value); }
    bool number_unsigned(std::uint64_t value) { return AddNumber(value); }
    bool number_float(double value, const std::string&) { return Add(value); }
    bool string(std::string& value) { return Add(std::move(value)); }
    bool binary(Json::binary_t&) { return false; } // none of JSON's
    bool start_object(std::size_t) { return Open(Json::object()); }
    bool key(std::string& name);
    bool end_object();
    bool start_array(std::size_t) { return Open(Json::array()); }
    bool end_array();
    bool parse_error(std::size_t byte, const std::string& token, const Json::exception& problem);

private:
    template <typename Number>
    bool AddNumber(Number value)
    {
        return m_isInCoordinates ? Add(static_cast<double>(value)) : Add(value);
    }

    bool Add(Json value);
    bool Open(Json container);
    Json& Put(Json value);
    void Count();

    std::size_t m_most;
    Json m_root;
    std::vector<Json*> m_open; ///< the containers around the next value, the innermost last
    Json* m_member = nullptr;  ///< where the next value of an object goes
    std::vector<Position> m_positions;
    bool m_isInCoordinates = false;
    std::size_t m_kept = 0; ///< values, each of which takes far more memory than its text
    std::optional<std::size_t> m_badByte;
};

/// The positions that were taken out of a file.
class CPositions
{
public:
    using Json = nlohmann::ordered_json;

    explicit CPositions(std::vector<Position> positions = {}) : m_positions(std::move(positions)) {}

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
    std::vector<Position> m_positions;
};

#endif
