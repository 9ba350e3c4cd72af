#include "bindings/python/TraceLogging.h"

#include <pybind11/pybind11.h>

#include "bindings/python/Text.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

void Log(const std::string& line)
{
    const py::gil_scoped_acquire gil;
    try {
        const py::object logger =
            py::module_::import("logging").attr("getLogger")("kestrove_navigation");
        logger.attr("debug")("%s", ToPythonText(line));
    } catch (py::error_already_set& error) {
        // Of a filter, say: the call that traces goes on.
        error.discard_as_unraisable("a trace line of kestrove_navigation");
    }
}

} // namespace

CTraceLogging::CTraceLogging() : m_outer(SetTraceTaker(&Log)) {}

} // namespace Kestrove::Python
