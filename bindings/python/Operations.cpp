#include "bindings/python/Operations.h"

namespace py = pybind11;

namespace Kestrove::Python {

py::object NudgeReply(int status, const Core::Maths::Vector3<double>& nudge)
{
    const auto values = py::module_::import("kestrove_navigation._values");
    const py::object vector = status == -1 ? py::object(py::none()) : ToPython(nudge);
    return values.attr("NudgeReply")(status, vector);
}

WaylinePtr WaylineOf(CClient& client, WaylinePtr (CNavigationAPI::*operation)())
{
    return client.Operate([&](CNavigationAPI& api) { return (api.*operation)(); },
                          [](const LinkErrorC& error) {
                              return error.code != ELinkError::NoError &&
                                     error.code != ELinkError::NoValue;
                          });
}

py::object TuningLimitsOf(CClient& client, ETuningParameter parameter,
                          bool (CNavigationAPI::*operation)(ETuningParameter, double&, double&,
                                                            double&))
{
    double lowest = 0.0;
    double start = 0.0;
    double highest = 0.0;
    const bool succeeded = client.Operate(
        [&](CNavigationAPI& api) { return (api.*operation)(parameter, lowest, start, highest); });
    if (!succeeded) {
        return py::none();
    }
    const auto values = py::module_::import("kestrove_navigation._values");
    return values.attr("TuningLimits")(lowest, start, highest);
}

} // namespace Kestrove::Python
