#ifndef KESTROVE_TESTS_SIMULATOR_VALUES_H
#define KESTROVE_TESTS_SIMULATOR_VALUES_H

#include <memory>
#include <string>

#include "platform/BElement.h"

/// Reads a list as a person writes it: "[1, 2.5, 'text', [0, 1.0]]". A number without a point is an
/// int, one with a point, an exponent, or "nan" or "inf" is a double.
std::unique_ptr<BListC> ListFrom(const std::string& text);

/// Writes a value in the same way; "nil" for none. Doubles are rounded to six digits,
/// and what is nearer to zero than 1e-12 is zero.
std::string TextOf(const BElementC* value);

#endif
