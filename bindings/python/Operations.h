#ifndef KESTROVE_BINDINGS_PYTHON_OPERATIONS_H
#define KESTROVE_BINDINGS_PYTHON_OPERATIONS_H

#include <pybind11/pybind11.h>

#include "bindings/python/Client.h"

namespace Kestrove::Python {

/// Adds the operations of the service to Python's NavigationClient, a method each.
void DefineOperations(pybind11::class_<CClient>& client);

} // namespace Kestrove::Python

#endif
