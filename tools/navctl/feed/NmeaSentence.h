#ifndef KESTROVE_TOOLS_NAVCTL_FEED_NMEASENTENCE_H
#define KESTROVE_TOOLS_NAVCTL_FEED_NMEASENTENCE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

/// A sentence as NMEA 0183 (National Marine Electronics Association, "Standard for Interfacing
/// Marine Electronic Devices") frames it: "$GPGGA,field,field*checksum". Its parts are views of the
/// text that it was read from.
struct NmeaSentence
{
    /// More fields than the longest sentence has; what follows them is only counted.
    static constexpr std::size_t kMostFields = 64;

    std::string_view talker; ///< who says it: "GP", "GN", ...; "P" for a maker's own
    std::string_view type;   ///< what it says: "GGA", "RMC", ...
    std::array<std::string_view, kMostFields> fields; ///< those behind the address
    std::size_t fieldCount = 0;

    /// A field; empty when the sentence is shorter.
    std::string_view Field(std::size_t index) const
    {
        return index < fieldCount && index < kMostFields ? fields[index] : std::string_view();
    }
};

/// Cuts a line into what can be sentences: a line may hold several that have run together.
///
/// @param line a line without its end.
/// @param take called with each piece, from its '$' or '!' on; and, as the first one, with what
///        stands before them, if there is anything but blanks.
template <typename Take>
void ForEachSentence(std::string_view line, Take take)
{
    constexpr std::string_view kBlanks = " \t\r";
    const auto nextStart = [line](std::size_t from) {
        const auto isStart = [](char character) { return character == '$' || character == '!'; };
        return static_cast<std::size_t>(
            std::find_if(line.begin() + static_cast<std::ptrdiff_t>(from), line.end(), isStart) -
            line.begin());
    };
    std::size_t start = nextStart(0);
    if (line.substr(0, start).find_first_not_of(kBlanks) != std::string_view::npos) {
        take(line.substr(0, start));
    }
    while (start < line.size()) {
        const std::size_t next = nextStart(start + 1);
        take(line.substr(start, next - start));
        start = next;
    }
}

/// Reads a sentence and verifies its checksum.
///
/// @param text one piece of ForEachSentence(); must live as long as the sentence is used.
/// @param sentence receives its parts.
/// @return what is wrong with it, the same words for the same fault, so that faults can be counted;
///         null for a sentence that is whole.
const char* ReadSentence(std::string_view text, NmeaSentence& sentence);

#endif
