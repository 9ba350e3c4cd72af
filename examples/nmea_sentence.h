#ifndef KESTROVE_EXAMPLES_NMEA_SENTENCE_H
#define KESTROVE_EXAMPLES_NMEA_SENTENCE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// A sentence of a satellite receiver by the standard NMEA 0183, taken apart into its fields.
class CNmeaSentence
{
public:
    /// Takes a line apart.
    ///
    /// @return nothing when the line is not a sentence or its checksum is wrong.
    static std::optional<CNmeaSentence> Read(const std::string& line);

    /// The three letters that say what the sentence reports, whoever talks: "GGA" for "GPGGA".
    std::string Type() const;
    /// Whether a field is there and not empty; they count from 1.
    bool Has(std::size_t index) const;
    /// The first letter of a field; a blank when it is empty.
    char Letter(std::size_t index) const;
    /// A field as a number; `otherwise` when it is not one.
    double Number(std::size_t index, double otherwise = 0.0) const;
    /// Latitude or longitude in degrees, from a field "dddmm.mmmm" and the letter N, S, E or W
    /// behind it.
    double Degrees(std::size_t index) const;

private:
    std::vector<std::string> m_fields; // the first is talker and type
};

#endif
