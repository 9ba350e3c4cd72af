#ifndef KESTROVE_BINDINGS_PYTHON_POINTS_H
#define KESTROVE_BINDINGS_PYTHON_POINTS_H

#include <vector>

#include <pybind11/pybind11.h>

#include "core/Vector2.h"
#include "core/Vector3.h"

// Points between Python and the library. Sequences of points are NumPy arrays where there is NumPy,
// and lists of named tuples elsewhere; both are copies.
namespace Kestrove::Python {

/// @param point,points metres.
/// @return a new Vector2 or Vector3 of the package; an array of shape (n, 2) or (n, 3) or a list.
pybind11::object ToPython(const Core::Maths::Vector2<double>& point);
pybind11::object ToPython(const Core::Maths::Vector3<double>& point);
pybind11::object ToPython(const std::vector<Core::Maths::Vector2<double>>& points);
pybind11::object ToPython(const std::vector<Core::Maths::Vector3<double>>& points);

/// Reads a sequence of three numbers.
///
/// @param source any Python object.
/// @param point receives the numbers; untouched on failure.
/// @return whether it was such a sequence; no Python error is left behind.
bool ReadPoint(pybind11::handle source, Core::Maths::Vector3<double>& point);

/// Reads a sequence of points: an array of shape (n, 3) or anything that gives sequences of three
/// numbers when it is iterated.
///
/// @param source any Python object.
/// @return the points.
/// @throws pybind11::value_error when it has other rows, pybind11::error_already_set when it cannot
///         be iterated.
std::vector<Core::Maths::Vector3<double>> ReadPoints(pybind11::handle source);

} // namespace Kestrove::Python

#endif
