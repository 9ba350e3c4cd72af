#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEASENTENCE_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEASENTENCE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A sentence as NMEA 0183 (National Marine Electronics Association, "Standard for Interfacing
/// Marine Electronic Devices") frames it: "$GPGGA,field,field*checksum".
struct NmeaSentence
{
    std::string talker;              ///< who says it: "GP", "GN", ...; "P" for a maker's own
    std::string type;                ///< what it says: "GGA", "RMC", ...
    std::vector<std::string> fields; ///< the fields behind the address

    /// A field; empty when the sentence is shorter.
    const std::string& Field(std::size_t index) const;
};

/// Cuts a line into what can be sentences: a line may hold several that have run together.
///
/// @param line a line without its end.
/// @return the pieces, each from its '$' or '!' on; and, as the first one, what stands before
///         them, if there is anything but blanks.
std::vector<std::string_view> SentencesIn(std::string_view line);

/// Reads a sentence and verifies its checksum.
///
/// @param text one piece of SentencesIn().
/// @param problem receives what is wrong with it; the same words for the same fault, so that faults
///        can be counted.
/// @return nothing for a sentence that is broken.
std::optional<NmeaSentence> ReadSentence(std::string_view text, std::string& problem);

#endif
