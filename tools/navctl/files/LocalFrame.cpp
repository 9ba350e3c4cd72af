#include "tools/navctl/files/LocalFrame.h"

#include <cmath>
#include <vector>

#include <GeographicLib/LocalCartesian.hpp>

#include "tools/navctl/files/Angle.h"
#include "tools/navctl/files/CsvRow.h"

using Core::Maths::Vector3;

bool operator==(const GeodeticPlace& left, const GeodeticPlace& right)
{
    return left.latitude == right.latitude && left.longitude == right.longitude &&
           left.height == right.height;
}

std::string ImpossiblePlace(const GeodeticPlace& place)
{
    if (!(std::abs(place.latitude) <= 90.0)) {
        return "latitude " + std::to_string(place.latitude) + " is not within -90 to 90";
    }
    if (!(std::abs(place.longitude) <= 180.0)) {
        return "longitude " + std::to_string(place.longitude) + " is not within -180 to 180";
    }
    if (!(std::abs(place.height) <= 100000.0)) {
        return "height " + std::to_string(place.height) + " is not within 100 km";
    }
    return {};
}

std::optional<GeodeticPlace> ParsePlace(const std::string& text, std::string& problem)
{
    std::vector<std::string> words;
    SplitCsvLine(text, words);
    if (words.size() != 2 && words.size() != 3) {
        problem = "\"" + text + "\" is not LAT,LON,HEIGHT";
        return std::nullopt;
    }
    GeodeticPlace place;
    double* const values[] = {&place.latitude, &place.longitude, &place.height};
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::optional<double> value = FiniteNumber(words[i]);
        if (!value) {
            problem = "\"" + words[i] + "\" in \"" + text + "\" is no number";
            return std::nullopt;
        }
        *values[i] = *value;
    }
    problem = ImpossiblePlace(place);
    return problem.empty() ? std::optional(place) : std::nullopt;
}

class CLocalFrame::Projection : public GeographicLib::LocalCartesian
{
public:
    explicit Projection(const GeodeticPlace& origin)
        : LocalCartesian(origin.latitude, origin.longitude, origin.height)
    {
    }
};

CLocalFrame::CLocalFrame(const GeodeticPlace& origin)
    : m_origin(origin), m_projection(std::make_unique<Projection>(origin))
{
}

CLocalFrame::~CLocalFrame() = default;
CLocalFrame::CLocalFrame(CLocalFrame&& other) noexcept = default;

Vector3<double> CLocalFrame::ToLocal(const GeodeticPlace& place) const
{
    Vector3<double> position;
    m_projection->Forward(place.latitude, place.longitude, place.height, position.x, position.y,
                          position.z);
    return position;
}

GeodeticPlace CLocalFrame::ToGeodetic(const Vector3<double>& position) const
{
    GeodeticPlace place;
    m_projection->Reverse(position.x, position.y, position.z, place.latitude, place.longitude,
                          place.height);
    return place;
}

double CLocalFrame::ToTrueHeading(const Vector3<double>& position, double heading) const
{
    GeodeticPlace place;
    // Its columns are east, north and up at the place, in the frame's axes.
    std::vector<double> axes(9);
    m_projection->Reverse(position.x, position.y, position.z, place.latitude, place.longitude,
                          place.height, axes);
    const double x = std::sin(heading);
    const double y = std::cos(heading);
    return NormalisedHeading(std::atan2(axes[0] * x + axes[3] * y, axes[1] * x + axes[4] * y));
}
