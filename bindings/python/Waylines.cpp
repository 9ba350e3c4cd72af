#include "bindings/python/Waylines.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/Casters.h"
#include "bindings/python/Lists.h"
#include "bindings/python/TraceLogging.h"

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Core::Maths::Vector3;

/// The kinds, so that what is done for each is written once.
template <typename... Kinds>
struct KindList
{
    static WaylinePtr CopyOf(const CWayline& wayline)
    {
        WaylinePtr copy;
        const auto copyIfKind = [&](const auto* kind) {
            if (kind != nullptr) {
                copy = WaylinePtr(new std::decay_t<decltype(*kind)>(*kind));
            }
        };
        (copyIfKind(dynamic_cast<const Kinds*>(&wayline)), ...);
        return copy;
    }
    static py::object ToPython(const CWayline& wayline)
    {
        py::object result = py::none();
        const auto castIfKind = [&](const auto* kind) {
            if (kind != nullptr) {
                result = py::cast(*kind, py::return_value_policy::copy);
            }
        };
        (castIfKind(dynamic_cast<const Kinds*>(&wayline)), ...);
        return result;
    }
};
using AllKinds = KindList<CEmptyWayline, CABWayline, CAHeadingWayline, CCircleWayline,
                          CSplineWayline, CABCurveWayline, CPathWayline, CReplayWayline>;

py::list ListOf(const CWayline& wayline)
{
    const std::unique_ptr<BListC> list(wayline.ToBList());
    return ToPython(*list);
}

std::string Represent(const py::object& wayline)
{
    const auto name = py::type::of(wayline).attr("__name__").cast<std::string>();
    const auto& value = wayline.cast<const CWayline&>();
    return "<" + name + " " + py::repr(ListOf(value)).cast<std::string>() + ">";
}

bool AreEqual(const CWayline& left, const CWayline& right)
{
    return left.Type() == right.Type() && ListOf(left).equal(ListOf(right));
}

void DefineBase(py::module_& module)
{
    py::class_<CWayline>(module, "Wayline",
                         "A guidance line: what its eight kinds have in common.\n\n"
                         "Positions are metres (east, north, up), headings radians clockwise from "
                         "north. Waylines are equal when kind and values are; operations copy "
                         "them.")
        .def_property_readonly("type", &CWayline::Type, "The kind, a WaylineType.")
        .def_static("from_string", &CWayline::FromString, py::arg("text"),
                    py::call_guard<CTraceLogging>(),
                    "Builds the wayline of a text form; None for a text that no kind accepts.")
        .def_static(
            "from_list",
            [](const py::sequence& list) { return CWayline::FromBList(ToList(list).get()); },
            py::arg("list"),
            "Builds the wayline of a list form; None for a list that no kind accepts. Raises "
            "ValueError for a negative number of points.")
        .def("to_string", &CWayline::ToString,
             "Writes the text form; empty for a kind that has none. Values have six decimals.")
        .def("load_string", &CWayline::LoadString, py::arg("text"), py::call_guard<CTraceLogging>(),
             "Reads the text form and tells whether it was accepted. After False, values before "
             "the first unreadable one may have been taken over.")
        .def("to_list", &ListOf, "Writes the list form: the kind's code, then its values.")
        .def(
            "load_list",
            [](CWayline& wayline, const py::sequence& list) {
                return wayline.LoadBList(ToList(list).get());
            },
            py::arg("list"),
            "Reads the list form and tells whether it was accepted. Points are added to those that "
            "are there.")
        .def("__eq__", &AreEqual, py::arg("other"), py::is_operator())
        .def("__repr__", &Represent);
}

/// The class of a kind, with what all kinds have: a constructor without values, and pickling, by
/// which copy.copy() works, too.
template <typename Kind>
py::class_<Kind, CWayline> DefineKind(py::module_& module, const char* name, const char* summary)
{
    return py::class_<Kind, CWayline>(module, name, summary)
        .def(py::init<>())
        .def(py::pickle([](const Kind& wayline) { return ListOf(wayline); },
                        [](const py::list& list) {
                            auto wayline = std::make_unique<Kind>();
                            // Without points or values nothing is read, nor is it needed.
                            if (!wayline->LoadBList(ToList(list).get()) && list.size() > 2) {
                                throw py::value_error("not the list form of this kind");
                            }
                            return wayline;
                        }));
}

/// Makes three members one attribute, a point.
template <typename Kind>
void DefinePoint(py::class_<Kind, CWayline>& kind, const char* name, double Kind::*x,
                 double Kind::*y, double Kind::*z)
{
    kind.def_property(
        name,
        [=](const Kind& wayline) { return Vector3<double>(wayline.*x, wayline.*y, wayline.*z); },
        [=](Kind& wayline, const Vector3<double>& point) {
            wayline.*x = point.x;
            wayline.*y = point.y;
            wayline.*z = point.z;
        },
        "Metres east, north, up.");
}

template <typename Kind>
void DefinePoints(py::class_<Kind, CWayline>& kind)
{
    kind.def(py::init([](const py::object& points) {
                 return std::make_unique<Kind>(ReadPoints(points));
             }),
             py::arg("points"));
    kind.def_property(
        "points", [](const Kind& wayline) { return ToPython(wayline.points); },
        [](Kind& wayline, const py::object& points) { wayline.points = ReadPoints(points); },
        "The points in driving order, metres east, north, up. Reading gives a copy, an array of "
        "shape (n, 3) where there is NumPy and a list of Vector3 elsewhere; assign to change "
        "them.");
}

void DefineLines(py::module_& module)
{
    auto ab = DefineKind<CABWayline>(module, "AbWayline",
                                     "A straight line through two points, running from A to B.");
    ab.def(py::init<const Vector3<double>&, const Vector3<double>&>(), py::arg("point_a"),
           py::arg("point_b"));
    DefinePoint(ab, "point_a", &CABWayline::pointAX, &CABWayline::pointAY, &CABWayline::pointAZ);
    DefinePoint(ab, "point_b", &CABWayline::pointBX, &CABWayline::pointBY, &CABWayline::pointBZ);

    using AHeading = CAHeadingWayline;
    auto aHeading = DefineKind<AHeading>(module, "AHeadingWayline",
                                         "A straight line through a point in a given heading.");
    aHeading.def(py::init<const Vector3<double>&, double>(), py::arg("point_a"),
                 py::arg("heading"));
    DefinePoint(aHeading, "point_a", &AHeading::pointAX, &AHeading::pointAY, &AHeading::pointAZ);
    aHeading.def_readwrite("heading", &AHeading::heading, "Radians, clockwise from north.");
}

void DefineCircle(py::module_& module)
{
    using Circle = CCircleWayline;
    auto circle = DefineKind<Circle>(module, "CircleWayline",
                                     "A circle, given by three of its points in driving order.");
    circle.def(py::init<const Vector3<double>&, const Vector3<double>&, const Vector3<double>&>(),
               py::arg("first_point"), py::arg("second_point"), py::arg("third_point"));
    DefinePoint(circle, "first_point", &Circle::firstPointX, &Circle::firstPointY,
                &Circle::firstPointZ);
    DefinePoint(circle, "second_point", &Circle::secondPointX, &Circle::secondPointY,
                &Circle::secondPointZ);
    DefinePoint(circle, "third_point", &Circle::thirdPointX, &Circle::thirdPointY,
                &Circle::thirdPointZ);
}

} // namespace

WaylinePtr CopyOf(const CWayline& wayline)
{
    return AllKinds::CopyOf(wayline);
}

py::object ToPython(const WaylinePtr& wayline)
{
    return wayline ? AllKinds::ToPython(*wayline) : py::none();
}

void DefineWaylines(py::module_& module)
{
    DefineBase(module);
    DefineKind<CEmptyWayline>(module, "EmptyWayline",
                              "No line at all, as an object. It does not come back from its forms: "
                              "there None stands for no line.");
    DefineLines(module);
    DefineCircle(module);
    auto spline = DefineKind<CSplineWayline>(module, "SplineWayline",
                                             "The smooth curve through a sequence of points.");
    DefinePoints(spline);
    auto curve = DefineKind<CABCurveWayline>(module, "AbCurveWayline",
                                             "A driven line from A to B as a sequence of points.");
    DefinePoints(curve);
    DefineKind<CPathWayline>(module, "PathWayline",
                             "The line that the service recorded between two waypoints.");
    DefineKind<CReplayWayline>(module, "ReplayWayline",
                               "The last recorded drive, to be driven again.");
}

} // namespace Kestrove::Python
