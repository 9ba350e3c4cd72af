#include "pictures/PlotArea.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

const char* const kGridStyle = "stroke=\"#e3e3e3\"";
const char* const kMiddleAnchor = "text-anchor=\"middle\"";
/// Grid lines are about so far apart, pixels.
constexpr double kGridPixels = 38.0;
constexpr int kMostGridLines = 60;

/// Where the grid lines of a range lie that is so many pixels long.
std::vector<double> GridMarks(double low, double high, double pixels)
{
    const double step = RoundStep(high - low, std::max(1.0, pixels / kGridPixels));
    const double first = std::ceil(low / step - 1e-9);
    std::vector<double> marks;
    for (int i = 0; i < kMostGridLines && (first + i) * step <= high + 1e-9 * step; ++i) {
        marks.push_back((first + i) * step);
    }
    return marks;
}

} // namespace

void PlotArea::UseOneScale()
{
    const double scale = std::max((xHigh - xLow) / width, (yHigh - yLow) / height);
    const double middleX = (xLow + xHigh) / 2.0;
    const double middleY = (yLow + yHigh) / 2.0;
    xLow = middleX - scale * width / 2.0;
    xHigh = middleX + scale * width / 2.0;
    yLow = middleY - scale * height / 2.0;
    yHigh = middleY + scale * height / 2.0;
}

double RoundStep(double span, double count)
{
    const double rough = std::max(span / count, std::numeric_limits<double>::min());
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (rough <= factor * power) {
            return factor * power;
        }
    }
    return 10.0 * power;
}

std::string AxisNumber(double value)
{
    std::array<char, 64> text;
    const std::to_chars_result written =
        std::to_chars(text.data(), text.data() + text.size(), std::abs(value) < 1e-9 ? 0.0 : value,
                      std::chars_format::general, 10);
    return {text.data(), written.ptr};
}

void DrawAxes(CSvgWriter& svg, const PlotArea& area, const AxisNames& names)
{
    for (const double x : GridMarks(area.xLow, area.xHigh, area.width)) {
        svg.Line({area.X(x), area.top}, {area.X(x), area.Bottom()}, kGridStyle);
        svg.Text({area.X(x), area.Bottom() + 18.0}, AxisNumber(x), kMiddleAnchor);
    }
    for (const double y : GridMarks(area.yLow, area.yHigh, area.height)) {
        svg.Line({area.left, area.Y(y)}, {area.Right(), area.Y(y)}, kGridStyle);
        svg.Text({area.left - 8.0, area.Y(y) + 4.5}, AxisNumber(y), "text-anchor=\"end\"");
    }
    svg.Rectangle({area.left, area.top}, area.width, area.height, "fill=\"none\" stroke=\"#777\"");
    svg.Text({area.left + area.width / 2.0, area.Bottom() + 38.0}, names.x, kMiddleAnchor);
    svg.UprightText({area.left - 50.0, area.top + area.height / 2.0}, names.y);
}
