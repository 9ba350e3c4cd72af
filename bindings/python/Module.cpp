// The extension module behind the package kestrove_navigation.

#include <pybind11/pybind11.h>

#include "bindings/python/Client.h"
#include "bindings/python/EventQueue.h"
#include "bindings/python/Waylines.h"

PYBIND11_MODULE(_navigation, module)
{
    module.doc() = "The client and the waylines of the package kestrove_navigation.";
    Kestrove::Python::DefineWaylines(module);
    Kestrove::Python::DefineEventIterator(module);
    Kestrove::Python::DefineClient(module);
}
