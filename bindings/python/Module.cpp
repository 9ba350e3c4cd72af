// The extension module behind the package kestrove_navigation.

#include <string>

#include <pybind11/pybind11.h>

#include "bindings/python/Client.h"
#include "bindings/python/EventKinds.h"
#include "bindings/python/EventQueue.h"
#include "bindings/python/Waylines.h"
#include "core/Version.h"

namespace {

std::string Version()
{
    return std::to_string(KESTROVE_VERSION_MAJOR) + '.' + std::to_string(KESTROVE_VERSION_MINOR) +
           '.' + std::to_string(KESTROVE_VERSION_PATCH);
}

/// The operation that takes the callable for the events of a class, by the class's name.
pybind11::dict EventOperations()
{
    pybind11::dict operations;
    for (const Kestrove::Python::EventKind& kind : Kestrove::Python::kEventKinds) {
        operations[kind.type] = kind.operation;
    }
    return operations;
}

} // namespace

PYBIND11_MODULE(_navigation, module)
{
    module.doc() = "The client and the waylines of the package kestrove_navigation.";
    module.attr("__version__") = Version();
    module.attr("EVENT_OPERATIONS") = EventOperations();
    Kestrove::Python::DefineWaylines(module);
    Kestrove::Python::DefineEventIterator(module);
    Kestrove::Python::DefineClient(module);
}
