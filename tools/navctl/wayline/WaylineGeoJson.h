#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEGEOJSON_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINEGEOJSON_H

#include <optional>
#include <string>

#include "tools/navctl/files/TextSink.h"
#include "tools/navctl/wayline/GeoJsonFile.h"
#include "tools/navctl/wayline/WaylineList.h"

/// Reads GeoJSON (RFC 7946): a FeatureCollection, a Feature or a geometry. A feature that
/// WriteWaylineGeoJson() has written comes back as the same wayline. Any other LineString is a
/// wayline of the kind of its property "kind" or, without one, of the one asked for.
///
/// The frame is that of the origin asked for; without one, of the first origin that the file gives.
/// Areas beside lines are counted and passed over.
///
/// @param text the whole file.
WaylineList ReadWaylineGeoJson(const std::string& text, const WaylineReading& reading);

/// Whether a feature of the file says where its local frame is. Without that it has places on the
/// earth alone, as files of fields have.
///
/// @return true for what is no GeoJSON, too.
bool NamesOrigin(const std::string& text);

/// A wayline whose values stand in full in the properties of a feature.
struct OwnWayline
{
    WaylineContent content;
    GeodeticPlace origin; ///< of its local frame
};

/// The wayline of a feature that WriteWaylineGeoJson() has written.
///
/// @param positions those of the feature's geometry.
/// @return nothing when the geometry alone says where the wayline is.
/// @throws BadFeature when its properties make none, or say something else than its geometry.
std::optional<OwnWayline> ReadOwnWayline(const CGeoJsonFile::Json& feature,
                                         const Positions& positions);

/// Writes a FeatureCollection piece by piece, a feature a wayline: as its geometry the wayline's
/// outline, for a path and a replay none; as its properties the kind, the origin and, of the kinds
/// with a fixed number of values, those in full.
///
/// @param origin where the waylines' local frame is.
/// @param isOneLine whether it stands on one line; otherwise each position has a line of its own.
/// @param sink takes the pieces.
void WriteWaylineGeoJson(const WaylineList& list, const GeodeticPlace& origin, bool isOneLine,
                         const TextSink& sink);

#endif
