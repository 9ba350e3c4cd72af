#ifndef KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINELIST_H
#define KESTROVE_TOOLS_NAVCTL_WAYLINE_WAYLINELIST_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/files/LocalFrame.h"
#include "tools/navctl/wayline/WaylineContent.h"

/// What a file of waylines is read with.
struct WaylineReading
{
    std::optional<GeodeticPlace> origin; ///< of the local frame to read into
    /// What points are that have no kind with them.
    Kestrove::EWaylineType kind = Kestrove::EWaylineTypeABCurve;
};

/// The waylines of a file.
struct WaylineList
{
    struct Entry
    {
        std::uint64_t number = 0; ///< its line in the file; where that has fields and in GeoJSON,
                                  ///< which of the file's lines it is, as `list` shows it
        WaylineContent content;
        std::string field; ///< the name of its field; empty without one
    };
    std::vector<Entry> entries;
    std::vector<std::string> problems;   ///< each with its place in the file
    std::optional<GeodeticPlace> origin; ///< of the frame, where the reading has used one
    bool isOriginChosen = false;         ///< nobody has named the origin: it is a place of the file
    bool lacksOrigin = false; ///< there are places in it, and neither the file nor the reading has
                              ///< an origin
    std::size_t boundaries = 0; ///< areas that were passed over
};

/// Whether this many points make a wayline of the kind.
///
/// @return why not; empty when they do.
std::string PointCountProblem(Kestrove::EWaylineType kind, std::size_t count);

#endif
