#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYSCRIPT_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYSCRIPT_H

#include <chrono>
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
    /// Another client that advanced the service's clock meanwhile; 0 where there is none.
    std::uint64_t advancer = 0;
    /// Requests, notifications, replies and events, without their values: see ValueOf().
    std::vector<CRecordedItem> items;
};

/// Reads the script of one client of a recording.
///
/// @param client its number; 0 where the recording is an application's, or has one client alone.
/// @return nothing when there is no such script; the failure has been reported then.
std::optional<CReplayScript> ReadScript(CContext& context, const std::string& file,
                                        std::uint64_t client);

/// The value of a message of a script. A script keeps bytes alone: values may take many times as
/// much memory.
nlohmann::ordered_json ValueOf(const CRecordedItem& item);
/// How much later than another time a time is, at least 0 and at most ten years.
std::chrono::nanoseconds Later(std::uint64_t time, std::uint64_t than);

/// A reply as it was recorded, to the request of another number.
std::string WithNumber(const std::string& reply, std::uint64_t number);
/// The reply to a request that cannot be answered.
std::string ErrorReply(std::uint64_t number, const std::string& text);

#endif
