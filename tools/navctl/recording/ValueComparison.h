#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_VALUECOMPARISON_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_VALUECOMPARISON_H

#include <string>

#include <nlohmann/json.hpp>

/// The first place at which two values differ, in words: "[3]: 1.5 in place of 1.25, 0.25 more";
/// empty where they agree. An integer and a double of the same value agree, and so do two that are
/// not a number.
///
/// @param expected, found the values.
/// @param tolerance by how much numbers may differ.
std::string DifferenceOf(const nlohmann::ordered_json& expected,
                         const nlohmann::ordered_json& found, double tolerance);

/// A value as a short text for people: NaN as "nan", texts quoted, and cut to some length with
/// "..." behind.
std::string ShortText(const nlohmann::ordered_json& value, std::size_t most = 120);

#endif
