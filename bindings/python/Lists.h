#ifndef KESTROVE_BINDINGS_PYTHON_LISTS_H
#define KESTROVE_BINDINGS_PYTHON_LISTS_H

#include <memory>

#include <pybind11/pybind11.h>

#include "platform/BElement.h"

// List forms between Python and the library: ints, floats, texts, None, and lists of these.
namespace Kestrove::Python {

/// @param list a Python sequence.
/// @return the same as a list of the library.
/// @throws pybind11::type_error for an element of another type, pybind11::error_already_set for an
///         int that 64 bits do not hold.
std::unique_ptr<BListC> ToList(const pybind11::sequence& list);

/// @param list a list of the library.
/// @return the same as a Python list; what is not UTF-8 in a text is replaced.
pybind11::list ToPython(const BListC& list);

} // namespace Kestrove::Python

#endif
