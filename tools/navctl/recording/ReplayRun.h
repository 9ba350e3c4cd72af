#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYRUN_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYRUN_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/navctl/Context.h"
#include "tools/navctl/recording/ReplayScript.h"

/// The command line of serve and play.
struct CReplayOptions
{
    std::string file;
    std::uint64_t client = 0; ///< 0: the only one
    bool lenient = false;     ///< arguments are not compared
    bool stepped = false;     ///< in the order of the recording, whatever the time
    bool once = false;        ///< ends when the application has left
    double rate = 1.0;        ///< how much faster than recorded
    double tolerance = 0.0;   ///< by how much numbers may differ
};

/// Mismatches that are kept for the JSON value.
constexpr std::size_t kMostTold = 1000;
/// How long nobody looks whether the command has been interrupted.
constexpr int kLongestWaitMilliseconds = 200;

/// Answers an application as the recorded service did.
void RunServe(CContext& context, const CReplayOptions& options, CReplayScript script);
/// Sends what the recorded application sent, and compares what comes.
void RunPlay(CContext& context, const CReplayOptions& options, CReplayScript script);

#endif
