#ifndef KESTROVE_PICTURES_PLOTAREA_H
#define KESTROVE_PICTURES_PLOTAREA_H

#include <string>
#include <vector>

#include "pictures/SvgWriter.h"

/// Where values lie on a picture: a rectangle with axes that are linear.
struct PlotArea
{
    double left = 0.0; ///< pixels
    double top = 0.0;
    double width = 0.0;
    double height = 0.0;
    double xLow = 0.0; ///< the values at the edges
    double xHigh = 1.0;
    double yLow = 0.0;
    double yHigh = 1.0;

    double Right() const { return left + width; }
    double Bottom() const { return top + height; }
    double X(double value) const { return left + width * (value - xLow) / (xHigh - xLow); }
    double Y(double value) const { return top + height * (yHigh - value) / (yHigh - yLow); }
    PicturePoint At(double x, double y) const { return {X(x), Y(y)}; }
    /// A line through values as a line on the picture; `Points` have an x and a y.
    template <typename Points>
    std::vector<PicturePoint> Map(const Points& points) const
    {
        std::vector<PicturePoint> places;
        places.reserve(points.size());
        for (const auto& point : points) {
            places.push_back(At(point.x, point.y));
        }
        return places;
    }
    /// Has both axes show values on one scale: the middle stays, and all that is shown.
    void UseOneScale();
};

/// What is written beside the axes.
struct AxisNames
{
    std::string x;
    std::string y;
};

/// A round distance between grid lines: 1, 2 or 5 times a power of ten, such that `span` has about
/// `count` of them, and no more.
double RoundStep(double span, double count);

/// A value at a grid line, without zeros at the end and without a sign of zero.
std::string AxisNumber(double value);

/// Draws the frame, the grid and the numbers of an area, and names its axes.
void DrawAxes(CSvgWriter& svg, const PlotArea& area, const AxisNames& names);

#endif
