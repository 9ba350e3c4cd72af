#ifndef KESTROVE_SIMULATOR_GUIDANCE_LINEBUILDER_H
#define KESTROVE_SIMULATOR_GUIDANCE_LINEBUILDER_H

#include <cstddef>
#include <string>

#include "simulator/guidance/LineDefinition.h"
#include "simulator/guidance/LineShape.h"

/// A shape, or why the values make none.
struct BuiltLine
{
    LineShapePtr shape; ///< null when refused
    std::string reason; ///< empty unless refused; names the value
};

/// So many points are measured to find out how long their line takes.
constexpr std::size_t kMostMeasured = 1000;

/// How many points the shape of a definition has to be made of, about: how long that takes. Of a
/// line of more than kMostMeasured points it is known that they are many, and no more is looked at.
std::size_t WorkOf(const LineDefinition& line);

/// Makes the shape that a definition describes.
///
/// @param curveFilterSize over how many points driven lines are smoothed.
BuiltLine BuildLine(const LineDefinition& line, int curveFilterSize);

#endif
