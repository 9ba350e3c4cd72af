#ifndef KESTROVE_WAYLINE_NUMBERTEXT_H
#define KESTROVE_WAYLINE_NUMBERTEXT_H

#include <cstddef>
#include <string>

namespace Kestrove {

/// Appends `number` in decimal.
void AppendInteger(std::string& text, std::size_t number);

/// Appends a blank and `number` with six decimals: the bytes of printf's " %lf" in the C locale,
/// whatever the locale. Numbers of every size are written whole; what is not a number reads "inf",
/// "-inf", "nan" or "-nan".
void AppendBlankAndDouble(std::string& text, double number);

} // namespace Kestrove

#endif
