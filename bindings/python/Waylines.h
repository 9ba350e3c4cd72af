#ifndef KESTROVE_BINDINGS_PYTHON_WAYLINES_H
#define KESTROVE_BINDINGS_PYTHON_WAYLINES_H

#include <pybind11/pybind11.h>

#include "wayline/Wayline.h"

// The classes of the eight kinds of waylines. A Python object holds its own wayline; what crosses
// to the library and back is a copy.
namespace Kestrove::Python {

/// @param wayline a wayline of any kind.
/// @return the only owner of a copy.
WaylinePtr CopyOf(const CWayline& wayline);

/// @param wayline a wayline or null.
/// @return a new object of the kind's class with a copy of the wayline; None for null.
pybind11::object ToPython(const WaylinePtr& wayline);

/// Adds the classes to the module.
void DefineWaylines(pybind11::module_& module);

} // namespace Kestrove::Python

#endif
