#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDOPTIONS_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDOPTIONS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/navctl/feed/NmeaFields.h"
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
    std::optional<ENmeaType> burstBeginsWith;
    NmeaSigns signs;
    double secondsToReconnect = 10.0;
};

/// Adds the options to a command.
void AddFeedOptions(CLI::App& command, FeedOptions& options);

/// The factor to feed at; empty for samples that are sent as soon as they are there: with the rate
/// "max", and from standard input when no rate is given.
std::optional<double> FeedRate(const FeedOptions& options);

/// The words of --format.
const std::map<std::string, EFeedFormat>& FeedFormatNames();

/// The format of a file: the one that the user names, else the one of its name's ending (".csv";
/// ".nmea", ".nma", ".ubx").
///
/// @return nothing when neither shows it; then its beginning must.
std::optional<EFeedFormat> FeedFormatByName(const FeedOptions& options);

/// The format that the beginning of a file looks like: comma-separated values when the first line
/// names their columns, sentences when there is the start of one.
///
/// @param firstBytes the beginning of the file, as far as it has come. A stream may begin in the
///        middle of a line.
/// @return nothing when it is not one of them, so far. Lines that begin with "#" are remarks
///         and say nothing.
std::optional<EFeedFormat> FeedFormatByContent(const std::string& firstBytes);

/// The format that the options are for; nothing when none of them is for one alone.
std::optional<EFeedFormat> FeedFormatByOptions(const FeedOptions& options);

/// What is wrong with options that the format of the file has no use for, in words; empty when
/// nothing is.
std::string OptionOfOtherFormat(const FeedOptions& options, EFeedFormat format);

/// What a feed takes, and which sentences are there, for a file that should be one of values and
/// does not name its columns: words to follow others.
///
/// @param firstBytes the beginning of the file; empty where it is not known.
std::string TakenInsteadOfColumns(const std::string& firstBytes);

/// The same for a file that should be one of sentences and has none that can be used; empty when
/// there is nothing to add.
std::string TakenInsteadOfSentences(const std::string& firstBytes);

/// How many whole lines a beginning has that say something of the format.
std::size_t LinesThatSay(const std::string& firstBytes);

#endif
