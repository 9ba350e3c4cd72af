#include "bindings/python/Points.h"

#include <cstring>
#include <string>
#include <utility>

#include <pybind11/numpy.h>

namespace py = pybind11;

namespace Kestrove::Python {
namespace {

using Core::Maths::Vector2;
using Core::Maths::Vector3;

py::object NamedTuple(const char* name)
{
    return py::module_::import("kestrove_navigation._values").attr(name);
}

bool LooksForNumPy()
{
    try {
        py::module_::import("numpy");
        return true;
    } catch (py::error_already_set& error) {
        if (!error.matches(PyExc_ImportError)) {
            throw;
        }
        return false;
    }
}

// Asked once: it is not found later either, and looking for it in vain takes long.
bool HasNumPy()
{
    static const bool found = LooksForNumPy();
    return found;
}

template <typename Point, std::size_t Dimensions>
py::object PointsToPython(const std::vector<Point>& points)
{
    // The components lie in memory as the rows of the array do.
    static_assert(sizeof(Point) == Dimensions * sizeof(double));
    if (HasNumPy()) {
        return py::array_t<double>({points.size(), Dimensions}, &points.data()->x);
    }
    py::list list(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        list[i] = ToPython(points[i]);
    }
    return py::object(std::move(list));
}

/// Reads an array of doubles without asking for each of its elements.
bool ReadArray(py::handle source, std::vector<Vector3<double>>& points)
{
    if (!py::isinstance<py::buffer>(source)) {
        return false;
    }
    const py::buffer_info array = py::reinterpret_borrow<py::buffer>(source).request();
    if (array.format != py::format_descriptor<double>::format() || array.ndim != 2 ||
        array.shape[1] != 3) {
        return false;
    }
    const auto* row = static_cast<const char*>(array.ptr);
    points.reserve(static_cast<std::size_t>(array.shape[0]));
    for (py::ssize_t i = 0; i < array.shape[0]; ++i, row += array.strides[0]) {
        const auto component = [&](py::ssize_t place) {
            double value = 0.0;
            std::memcpy(&value, row + place * array.strides[1], sizeof value);
            return value;
        };
        points.emplace_back(component(0), component(1), component(2));
    }
    return true;
}

} // namespace

py::object ToPython(const Vector2<double>& point)
{
    return NamedTuple("Vector2")(point.x, point.y);
}

py::object ToPython(const Vector3<double>& point)
{
    return NamedTuple("Vector3")(point.x, point.y, point.z);
}

py::object ToPython(const std::vector<Vector2<double>>& points)
{
    return PointsToPython<Vector2<double>, 2>(points);
}

py::object ToPython(const std::vector<Vector3<double>>& points)
{
    return PointsToPython<Vector3<double>, 3>(points);
}

bool ReadPoint(py::handle source, Vector3<double>& point)
{
    if (!py::isinstance<py::sequence>(source) || py::isinstance<py::str>(source)) {
        return false;
    }
    try {
        const auto sequence = py::reinterpret_borrow<py::sequence>(source);
        if (sequence.size() != 3) {
            return false;
        }
        const auto component = [&](std::size_t place) {
            return py::float_(py::object(sequence[place])).cast<double>();
        };
        point = Vector3<double>(component(0), component(1), component(2));
        return true;
    } catch (py::error_already_set&) {
        return false;
    }
}

std::vector<Vector3<double>> ReadPoints(py::handle source)
{
    std::vector<Vector3<double>> points;
    if (ReadArray(source, points)) {
        return points;
    }
    for (const py::handle item : source) {
        Vector3<double> point;
        if (!ReadPoint(item, point)) {
            throw py::value_error("point " + std::to_string(points.size()) +
                                  " is not three numbers");
        }
        points.push_back(point);
    }
    return points;
}

} // namespace Kestrove::Python
