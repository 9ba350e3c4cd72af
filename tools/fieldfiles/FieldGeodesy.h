#ifndef KESTROVE_TOOLS_FIELDFILES_FIELDGEODESY_H
#define KESTROVE_TOOLS_FIELDFILES_FIELDGEODESY_H

#include "tools/fieldfiles/FieldFile.h"
#include "tools/navctl/files/LocalFrame.h"
#include "tools/navctl/wayline/WaylineContent.h"

/// A place of a file with a height: its own or, without one, this.
///
/// @param otherwiseHeight metres above the ellipsoid.
GeodeticPlace PlaceOf(const FieldPlace& place, double otherwiseHeight);

/// Makes a place of what a file has.
///
/// @param latitude, longitude degrees; a longitude of up to a turn beyond 180 is the same place
///        within.
/// @throws CFieldFileProblem when it is not a place on the earth.
FieldPlace CheckedPlace(double latitude, double longitude,
                        const std::optional<double>& height = std::nullopt);

/// The wayline that a line of a file is in a local frame. A place without a height is at the height
/// of the origin, where the service takes a machine without a height to be.
WaylineContent ToWayline(const FieldLine& line, const CLocalFrame& frame);

/// The line of a file that a wayline is.
///
/// @throws CFieldFileProblem for a kind without points, by its name.
FieldLine FromWayline(const WaylineContent& content, const CLocalFrame& frame);

/// The local frame at a place, at its own height, or on the ellipsoid.
CLocalFrame FrameAt(const FieldPlace& place);

/// A circle on the ground.
struct GroundCircle
{
    FieldPlace centre;
    double radius = 0.0;      ///< metres
    bool isClockwise = false; ///< in driving order
};

/// The circle of a line of that kind.
///
/// @throws CFieldFileProblem when the three places lie on one line.
GroundCircle CircleOf(const FieldLine& line);

/// Three places on a circle, in driving order.
///
/// @param firstBearing, turn where the first place is, and how far around the third one, radians;
///        the bearing clockwise from north at the centre.
std::vector<FieldPlace> PlacesOnCircle(const GroundCircle& circle, double firstBearing,
                                       double turn);

/// The course of a line as a map shows it, see Outline(): of an A-plus-heading line A and a place
/// 100 m ahead, of a circle all the way round.
std::vector<FieldPlace> OutlineOf(const FieldLine& line);

/// What a boundary encloses, without its holes, and the length of its exterior.
struct GroundArea
{
    double squareMetres = 0.0;
    double perimeter = 0.0; ///< metres
};
GroundArea AreaOf(const FieldBoundary& boundary);

/// Whether a ring runs counter-clockwise.
bool IsCounterClockwise(const std::vector<FieldPlace>& ring);

/// Whether a place lies within a ring, which is not closed.
bool IsWithin(const FieldPlace& place, const std::vector<FieldPlace>& ring);

/// Whether two places are the same but for a tenth of a millimetre; heights do not count.
bool IsSamePlace(const FieldPlace& left, const FieldPlace& right);

#endif
