#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDREPORT_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDREPORT_H

#include <string>

#include "tools/navctl/Context.h"
#include "tools/navctl/feed/FeedRun.h"

/// What a feed did, as JSON.
///
/// @param result what it did.
/// @param reader where the samples came from.
/// @param code,reason the exit code and, when it is not 0, the reason.
Json FeedJson(const FeedResult& result, const CSampleReader& reader, EExitCode code,
              const std::string& reason);

/// The part of it that does not depend on how the feed ended.
Json FeedCounts(const FeedResult& result, const CSampleReader& reader);

/// What has come while there was nothing to send: words to follow others.
///
/// @param reader where the samples come from.
/// @param bytes how much it has read.
/// @return nothing when what has come may give a sample yet.
std::string FoundSoFar(const CSampleReader& reader, std::uint64_t bytes);

/// Why a feed had nothing to send: what it would need, and what it has found instead.
std::string NothingToSend(const CSampleReader& reader);

/// What a feed did, in words; a line and one for each reason to skip something.
std::string FeedText(const FeedResult& result, const CSampleReader& reader);

#endif
