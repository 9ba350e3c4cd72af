#ifndef KESTROVE_PLATFORM_UTILITIES_H
#define KESTROVE_PLATFORM_UTILITIES_H

/// @file
/// Reading numbers and words.

#include <string>
#include <vector>

#include "core/Export.h"

namespace Core::Utilities {

/// Splits a text into its words.
///
/// @param text what to split.
/// @param separator what stands between words; repeated, leading and trailing ones make no empty
///        words.
/// @param parts receives the words in order, in place of what it held.
/// @param options 0; no other value has a meaning.
/// @return non-zero when there is at least one word; otherwise 0 and `parts` is empty.
KESTROVE_EXPORT int SplitString(const std::string& text, char separator,
                                std::vector<std::string>& parts, int options);

/// Splits a text at the first separator.
///
/// @param text what to split.
/// @param separator what stands between the two.
/// @param first receives what stands before it; the whole text when there is none.
/// @param rest receives what follows it; empty when there is none.
/// @return non-zero on success; 0 for an empty text, and both strings keep what they held.
KESTROVE_EXPORT int SplitString(const std::string& text, char separator, std::string& first,
                                std::string& rest);

/// Reads a decimal whole number with an optional sign. The whole text must be the number.
///
/// @param text what to read.
/// @param value receives the number.
/// @return non-zero and the number in `value`; 0 when the text is anything else or does not fit an
///         int, and `value` keeps what it held.
KESTROVE_EXPORT int ParseInt(const std::string& text, int& value);

/// Reads a decimal floating-point number with an optional sign; "inf" and "nan" are numbers. The
/// whole text must be the number. Does not depend on the locale.
///
/// @param text what to read.
/// @param value receives the number.
/// @return non-zero and the number in `value`; 0 when the text is anything else, and `value` keeps
///         what it held.
KESTROVE_EXPORT int ParseDouble(const std::string& text, double& value);

} // namespace Core::Utilities

#endif
