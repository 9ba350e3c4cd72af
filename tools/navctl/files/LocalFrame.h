#ifndef KESTROVE_TOOLS_NAVCTL_FILES_LOCALFRAME_H
#define KESTROVE_TOOLS_NAVCTL_FILES_LOCALFRAME_H

#include <memory>
#include <optional>
#include <string>

#include "core/Vector3.h"

/// A place on the earth, WGS 84.
struct GeodeticPlace
{
    double latitude = 0.0;  ///< degrees
    double longitude = 0.0; ///< degrees
    double height = 0.0;    ///< metres above the ellipsoid
};

/// Whether two places have the same numbers.
bool operator==(const GeodeticPlace& left, const GeodeticPlace& right);

/// Reads "LAT,LON,HEIGHT"; the height may be left out and is then 0.
///
/// @param problem receives what is wrong with the text.
/// @return nothing when it is not a place on the earth.
std::optional<GeodeticPlace> ParsePlace(const std::string& text, std::string& problem);

/// What keeps the numbers from being a place on the earth; empty when they are one.
std::string ImpossiblePlace(const GeodeticPlace& place);

/// The local frame of waylines: metres, x east, y north and z up at the origin, the plane that
/// touches the ellipsoid there. The same one as the bundled service has.
class CLocalFrame
{
public:
    explicit CLocalFrame(const GeodeticPlace& origin);
    ~CLocalFrame();
    CLocalFrame(CLocalFrame&& other) noexcept;

    const GeodeticPlace& Origin() const { return m_origin; }
    Core::Maths::Vector3<double> ToLocal(const GeodeticPlace& place) const;
    GeodeticPlace ToGeodetic(const Core::Maths::Vector3<double>& position) const;
    /// A heading of the frame as seen from a place in it: away from the origin, north is another
    /// direction.
    ///
    /// @param position metres.
    /// @param heading radians, clockwise from the frame's y axis.
    /// @return radians, clockwise from north at the place, in [0, 2 pi).
    double ToTrueHeading(const Core::Maths::Vector3<double>& position, double heading) const;

private:
    class Projection;
    GeodeticPlace m_origin;
    std::unique_ptr<Projection> m_projection;
};

#endif
