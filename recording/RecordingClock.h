#ifndef KESTROVE_RECORDING_RECORDINGCLOCK_H
#define KESTROVE_RECORDING_RECORDINGCLOCK_H

#include <cstdint>
#include <string>

/// The time in nanoseconds since 1970 as this process took it when it first asked, plus what the
/// monotonic clock has counted since: a recording's times never go back.
std::uint64_t RecordingTime();

/// A time as 2026-11-22T10:15:30Z.
std::string RecordingTimeText(std::uint64_t nanoseconds);

#endif
