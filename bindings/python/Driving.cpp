#include "bindings/python/Driving.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include <pybind11/stl.h>

#include "bindings/python/Closable.h"
#include "testing/DrivingService.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Testing::CDrivingOptions;
using Testing::CDrivingService;
using Testing::CTrueState;
using Testing::EDrivingGround;
using Testing::EDrivingReceiver;

EDrivingGround GroundOf(const std::string& word)
{
    if (word == "firm") {
        return EDrivingGround::Firm;
    }
    if (word == "field") {
        return EDrivingGround::Field;
    }
    throw py::value_error("a ground is \"firm\" or \"field\"");
}

EDrivingReceiver ReceiverOf(const std::string& word)
{
    if (word == "ideal") {
        return EDrivingReceiver::Ideal;
    }
    if (word == "rtk") {
        return EDrivingReceiver::Rtk;
    }
    if (word == "sbas") {
        return EDrivingReceiver::Sbas;
    }
    throw py::value_error("a receiver is \"ideal\", \"rtk\" or \"sbas\"");
}

using CDriving = CClosable<CDrivingService>;

/// The places of testing.TrueState.
py::tuple StateOf(CDriving& service)
{
    const CTrueState state = service.Run([](CDrivingService& it) { return it.State(); });
    return py::make_tuple(state.time, state.x, state.y, state.heading, state.speed,
                          state.steeringAngle, state.crossTrackError,
                          state.implementCrossTrackError, state.pass, state.isEngaged,
                          state.isNavigationActive, state.dropReason);
}

std::unique_ptr<CDriving> Make(std::uint64_t seed, const std::string& ground,
                               const std::string& receiver, double x, double y, double heading,
                               double speed, double centreBias, double backlash)
{
    CDrivingOptions options;
    options.seed = seed;
    options.ground = GroundOf(ground);
    options.receiver = ReceiverOf(receiver);
    options.x = x;
    options.y = y;
    options.heading = heading;
    options.speed = speed;
    options.centreBias = centreBias;
    options.backlash = backlash;
    return std::make_unique<CDriving>("driving service", options);
}

} // namespace

void DefineDrivingService(py::module_& module)
{
    py::class_<CDriving>(module, "DrivingService",
                         "See kestrove_navigation.testing.DrivingService.")
        .def(py::init(&Make), py::arg("seed") = 1, py::arg("ground") = "firm",
             py::arg("receiver") = "rtk", py::arg("x") = 0.0, py::arg("y") = 0.0,
             py::arg("heading") = 0.0, py::arg("speed") = 0.0, py::arg("centre_bias") = 0.0,
             py::arg("backlash") = 0.0)
        .def(
            "advance",
            [](CDriving& self, double seconds) {
                return self.Run([&](CDrivingService& it) { return it.Advance(seconds); });
            },
            py::arg("seconds"),
            "Moves time on by whole steps of 0.02 s, 0 to 60 s, and gives the time then. What "
            "clients have sent before takes effect before; the events are there behind it. "
            "Raises a ValueError for any other number.")
        .def(
            "time", [](CDriving& self) { return self.Run([](auto& it) { return it.Time(); }); },
            "The time since the start, seconds.")
        .def("state", &StateOf, "How the machine really stands.")
        .def(
            "log", [](CDriving& self) { return self.Run([](auto& it) { return it.Log(); }); },
            "What the service has refused and dropped, and why, a line each.")
        .def("close", &CDriving::Close, "Ends the service: its listener and every connection.");
}

} // namespace Kestrove::Python
