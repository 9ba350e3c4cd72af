#ifndef KESTROVE_WAYLINE_NUMBERTEXT_H
#define KESTROVE_WAYLINE_NUMBERTEXT_H

#include <cstddef>
#include <initializer_list>
#include <string>

namespace Kestrove {

/// Appends `number` in decimal.
void AppendInteger(std::string& text, std::size_t number);

/// Appends a blank and a number with six decimals for each of `numbers`: the bytes of printf's
/// " %lf" in the C locale, whatever the locale. Numbers of every size are written whole; what is
/// not a number reads "inf", "-inf", "nan" or "-nan".
void AppendBlanksAndDoubles(std::string& text, std::initializer_list<double> numbers);

} // namespace Kestrove

#endif
