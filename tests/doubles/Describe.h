#ifndef KESTROVE_TESTS_DOUBLES_DESCRIBE_H
#define KESTROVE_TESTS_DOUBLES_DESCRIBE_H

#include <string>

#include "platform/BElement.h"

/// Needs nothing of the recording, so it serves with the bundled runtime too.
namespace Doubles {

/// An element written out with its types, in order: `[int 1, double 2.5, string "a", [int 3]]`.
std::string Describe(const BElementC& element);
/// A floating-point number in its shortest form that reads back to the same bits.
std::string Describe(double value);

} // namespace Doubles

#endif
