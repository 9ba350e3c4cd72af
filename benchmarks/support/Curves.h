#ifndef KESTROVE_BENCHMARKS_SUPPORT_CURVES_H
#define KESTROVE_BENCHMARKS_SUPPORT_CURVES_H

#include <cstddef>
#include <functional>
#include <vector>

#include "core/Vector3.h"

namespace Benchmarks {

using Points = std::vector<Core::Maths::Vector3<double>>;

/// A curve of `count` points, a metre apart and a little off the line.
Points DrivenPoints(std::size_t count, double height = 100.0);

/// The numbers of points that are measured: few where the run only shows that it works.
std::vector<std::size_t> PointCounts(bool isQuick);

/// Nanoseconds a point of `work`, which handles `count` points, repeated for a steady figure.
double NanosecondsAPoint(std::size_t count, const std::function<void()>& work);

/// Lets the process keep the memory that it has freed, so that no page faults are measured.
void KeepFreedMemory();

} // namespace Benchmarks

#endif
