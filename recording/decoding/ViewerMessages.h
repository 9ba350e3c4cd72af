#ifndef KESTROVE_RECORDING_DECODING_VIEWERMESSAGES_H
#define KESTROVE_RECORDING_DECODING_VIEWERMESSAGES_H

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "recording/decoding/LinkItems.h"

/// A message in a form that common viewers of logs draw.
struct CViewerMessage
{
    std::string topic;
    std::string schema; ///< its name, which decides how it is drawn
    nlohmann::ordered_json value;
};

/// What a message of the link shows: the machine's pose of cb_relative_position, the line of
/// cb_draw_points, the place on earth of a position sample; nothing for others, and for those that
/// are not of the form of theirs.
std::optional<CViewerMessage> ViewerMessageOf(const CRecordedItem& item);

/// A pose in the field, as "foxglove.PoseInFrame": metres, and radians clockwise from north.
nlohmann::ordered_json PoseInFrame(std::uint64_t time, double east, double north, double heading);

#endif
