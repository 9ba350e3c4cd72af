#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDOPTIONS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDOPTIONS_H

#include <cstdint>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/navctl/files/LocalFrame.h"

/// The formats of files with position samples.
enum class EFeedFormat
{
    Nmea, ///< NMEA 0183 sentences
    Csv,  ///< comma-separated values with named columns
};

/// The command line of "feed".
struct FeedOptions
{
    std::string file; ///< "-" for standard input
    std::optional<EFeedFormat> format;
    std::optional<GeodeticPlace> origin;
    std::optional<double> interval;  ///< seconds
    std::optional<std::string> rate; ///< a factor, or "max"
    std::optional<std::int64_t> day; ///< days since 1970-01-01
    double secondsToReconnect = 10.0;
};

/// Adds the options to a command.
void AddFeedOptions(CLI::App& command, FeedOptions& options);

/// The factor to feed at; empty for samples that are sent as soon as they are there: with the rate
/// "max", and from standard input when no rate is given.
std::optional<double> FeedRate(const FeedOptions& options);

/// The format of a file: the one that the user names, else the one of its name's ending (".csv";
/// ".nmea", ".nma", ".ubx"), else the one that its first bytes look like.
///
/// @param firstBytes the beginning of the file, as far as it has come.
EFeedFormat FeedFormat(const FeedOptions& options, const std::string& firstBytes);

#endif
