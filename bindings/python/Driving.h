#ifndef KESTROVE_BINDINGS_PYTHON_DRIVING_H
#define KESTROVE_BINDINGS_PYTHON_DRIVING_H

#include <pybind11/pybind11.h>

namespace Kestrove::Python {

/// Adds the class DrivingService to the module behind kestrove_navigation.testing.
void DefineDrivingService(pybind11::module_& module);

} // namespace Kestrove::Python

#endif
