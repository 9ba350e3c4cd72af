// The extension module behind kestrove_navigation.simulation.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "bindings/python/Lists.h"
#include "bindings/python/SimulatedDrive.h"
#include "simulator/lines/WaylineForm.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

/// So many steps are taken before Ctrl-C is looked for: tens of milliseconds.
constexpr int kPiece = 30000;

/// Reads the values that the Python side has checked and put together.
class COptionReader
{
public:
    explicit COptionReader(const py::dict& options) : m_options(options) {}

    template <typename TValue>
    TValue Get(const char* name) const
    {
        return m_options[name].cast<TValue>();
    }
    double Number(const char* name) const { return Get<double>(name); }

    /// One of a few words.
    template <typename TValue>
    TValue Choice(const char* name, const std::map<std::string, TValue>& choices) const
    {
        return choices.at(Get<std::string>(name));
    }

private:
    const py::dict& m_options;
};

LineDefinition ReadLine(const py::sequence& listForm)
{
    std::string problem;
    const WaylinePtr wayline = ReadWayline(*ToList(listForm), problem);
    if (!wayline) {
        throw py::value_error("the line cannot be driven: " + problem);
    }
    const std::optional<LineDefinition> line = LineOf(*wayline, {});
    if (!line) {
        throw py::value_error("the line cannot be driven: it has no points of its own");
    }
    return *line;
}

SimulationOptions ReadWorld(const COptionReader& options)
{
    SimulationOptions world;
    world.seed = options.Get<std::uint64_t>("seed");
    world.speed = options.Number("speed");
    world.startPose = {{options.Number("x"), options.Number("y")},
                       NormaliseHeading(options.Number("heading"))};
    world.guide = options.Choice<EGuide>(
        "guide", {{"machine", EGuide::Machine}, {"implement", EGuide::Implement}});
    world.ground =
        options.Choice<EGround>("ground", {{"firm", EGround::Firm}, {"field", EGround::Field}});
    world.terrain.kind = options.Choice<ETerrain>(
        "terrain",
        {{"flat", ETerrain::Flat}, {"slope", ETerrain::Slope}, {"rolling", ETerrain::Rolling}});
    world.terrain.slope = options.Number("slope");
    world.treeLine = options.Get<std::optional<double>>("tree_line");
    world.receiver = options.Choice<EReceiver>(
        "receiver",
        {{"ideal", EReceiver::Ideal}, {"rtk", EReceiver::Rtk}, {"sbas", EReceiver::Sbas}});
    world.mounting.rate = options.Get<int>("rate");
    world.mounting.latency = options.Get<int>("latency_tenths");
    world.mounting.compensatesLean = options.Get<bool>("compensation");
    world.mounting.antenna = {options.Number("antenna_ahead"), options.Number("antenna_right"),
                              options.Number("antenna_up")};
    world.centreBias = options.Number("centre_bias");
    world.backlash = options.Number("backlash");
    world.hasTyres = options.Choice<bool>("tyres", {{"rigid", false}, {"dynamic", true}});
    world.implement = {options.Number("implement_behind"), options.Number("drawbar")};
    world.conditions.valve = {options.Number("steering_deadband"),
                              options.Number("steering_rate_right"),
                              options.Number("steering_rate_left")};
    return world;
}

DriveOptions ReadOptions(const py::sequence& line, const py::dict& given)
{
    const COptionReader options(given);
    DriveOptions read;
    read.world = ReadWorld(options);
    read.line = ReadLine(line);
    read.follow =
        options.Get<bool>("follow_nearest_pass") ? EFollow::NearestPass : EFollow::LineItself;
    read.implementWidth = options.Number("implement_width");
    read.lookAheadTime = options.Number("look_ahead_time");
    read.tuning = options.Get<std::array<double, kTuningParameters>>("tuning");
    read.leadSteps = options.Get<int>("lead_steps");
    read.steps = options.Get<int>("steps");
    return read;
}

/// Goes on without the GIL, so that other Python threads run and drive meanwhile.
bool RunPiece(CSimulatedDrive& drive)
{
    const py::gil_scoped_release withoutGil;
    return drive.Run(kPiece);
}

/// The rows, the figures, whether steering was engaged to the end, and why it was dropped.
py::tuple Drive(const py::sequence& line, const py::dict& options)
{
    CSimulatedDrive drive(ReadOptions(line, options));
    while (RunPiece(drive)) {
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
    const std::size_t columns = CSimulatedDrive::Columns().size();
    const py::array_t<double> rows({drive.Rows().size() / columns, columns}, drive.Rows().data());
    const DriveFigures figures = drive.Figures();
    return py::make_tuple(rows,
                          py::make_tuple(figures.error95, figures.meanError, figures.wayToLine,
                                         figures.overshoot, figures.implementError95,
                                         figures.implementMeanError),
                          drive.EngagedToTheEnd(), drive.DropReason());
}

} // namespace
} // namespace Kestrove::Python

PYBIND11_MODULE(_simulation, module)
{
    module.doc() = "The simulated machine of kestrove_navigation.simulation.";
    module.attr("COLUMNS") = py::tuple(py::cast(Kestrove::Python::CSimulatedDrive::Columns()));
    module.def("drive", &Kestrove::Python::Drive, py::arg("line"), py::arg("options"),
               "Drives along a line's list form, with options that have been checked.");
}
