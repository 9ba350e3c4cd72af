#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYSCRIPT_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYSCRIPT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recording/reading/RecordedLink.h"
#include "tools/navctl/Context.h"

/// What one application and its service said to each other, in the order of the recording.
struct CReplayScript
{
    std::uint64_t start = 0; ///< when it connected, nanoseconds since 1970
    /// Requests, notifications, replies and events.
    std::vector<CRecordedItem> items;
};

/// Reads the script of one client of a recording.
///
/// @param client its number; 0 where the recording is an application's, or has one client alone.
/// @return nothing when there is no such script; the failure has been reported then.
std::optional<CReplayScript> ReadScript(CContext& context, const std::string& file,
                                        std::uint64_t client);

/// A reply as it was recorded, to the request of another number.
std::string WithNumber(const std::string& reply, std::uint64_t number);
/// The reply to a request that cannot be answered.
std::string ErrorReply(std::uint64_t number, const std::string& text);

#endif
