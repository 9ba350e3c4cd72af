#include "examples/drive_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <string>

#include "pictures/PlotArea.h"

namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 720;
constexpr double kBand = 2.5; // centimetres

const std::array<std::string, 3> kColours = {"#1f66b0", "#d0661a", "#2b8a4a"};
const std::string kPassStyle = R"(stroke="#888" stroke-width="1" stroke-dasharray="5 4")";
const std::string kBandStyle = R"(fill="#2b8a4a" fill-opacity="0.16")";
const std::string kCaption = R"(font-size="15" font-weight="bold")";

const std::string& Colour(std::size_t leg)
{
    return kColours[leg % kColours.size()];
}

std::string LegStyle(std::size_t leg)
{
    return "stroke=\"" + Colour(leg) + R"(" stroke-width="2" stroke-linejoin="round")";
}

PointsC Track(const SDriveLeg& leg)
{
    PointsC points;
    for (const SDriveSample& sample : leg.samples) {
        points.push_back(sample.position);
    }
    return points;
}

/// The errors of a leg (centimetres) over time (seconds).
PointsC Errors(const SDriveLeg& leg)
{
    PointsC points;
    for (const SDriveSample& sample : leg.samples) {
        points.emplace_back(sample.time, 100.0 * sample.crossTrackError);
    }
    return points;
}

/// The area for the drive seen from above: as much as is needed, with one scale for both axes.
PlotArea MapArea(const CDriveRecord& record)
{
    PlotArea area{80.0, 112.0, 360.0, 520.0};
    PointsC all;
    for (const SDriveLeg& leg : record.Legs()) {
        const PointsC track = Track(leg);
        all.insert(all.end(), track.begin(), track.end());
    }
    if (all.empty()) {
        return area;
    }
    const auto byX = [](const auto& left, const auto& right) { return left.x < right.x; };
    const auto byY = [](const auto& left, const auto& right) { return left.y < right.y; };
    const auto [west, east] = std::minmax_element(all.begin(), all.end(), byX);
    const auto [south, north] = std::minmax_element(all.begin(), all.end(), byY);
    const double kMargin = 12.0; // metres
    area.xLow = west->x - kMargin;
    area.xHigh = east->x + kMargin;
    area.yLow = south->y - kMargin;
    area.yHigh = north->y + kMargin;
    area.UseOneScale();
    return area;
}

void DrawMapLegend(CSvgWriter& svg, const PlotArea& area, const CDriveRecord& record)
{
    const double left = area.left + area.width - 184;
    const double rows = static_cast<double>(record.Legs().size()) + 1.0;
    double y = area.top + area.height - 20.0 * rows - 14;
    svg.Rectangle({left, y}, 174, 20.0 * rows + 6, R"(fill="white" stroke="#bbb")");
    y += 13;
    for (std::size_t leg = 0; leg < record.Legs().size(); ++leg, y += 20) {
        svg.Line({left + 8, y}, {left + 34, y}, LegStyle(leg));
        svg.Text({left + 42, y + 4.5}, record.Legs()[leg].name);
    }
    svg.Line({left + 8, y}, {left + 34, y}, kPassStyle);
    svg.Text({left + 42, y + 4.5}, "line to follow");
}

void DrawMap(CSvgWriter& svg, const CDriveRecord& record)
{
    const PlotArea area = MapArea(record);
    svg.Text({area.left, area.top - 14}, "Seen from above", kCaption);
    DrawAxes(svg, area, {"east (m)", "north (m)"});
    svg.BeginClip({area.left, area.top}, area.width, area.height);
    const auto& legs = record.Legs();
    for (const SDriveLeg& leg : legs) {
        // The first points may still be those of the line before; each reaches 150 m ahead.
        if (leg.passes.size() > 1) {
            svg.Polyline(area.Map(leg.passes[1]), kPassStyle);
            svg.Polyline(area.Map(leg.passes.back()), kPassStyle);
        }
    }
    for (std::size_t leg = 0; leg < legs.size(); ++leg) {
        svg.Polyline(area.Map(Track(legs[leg])), LegStyle(leg));
    }
    svg.EndClip();
    for (std::size_t leg = 0; leg < legs.size(); ++leg) {
        if (!legs[leg].samples.empty()) {
            const auto& start = legs[leg].samples.front().position;
            svg.Circle(area.At(start.x, start.y), 4, "fill=\"" + Colour(leg) + '"');
        }
    }
    DrawMapLegend(svg, area, record);
}

/// The name of each leg above its part of the time, and where it begins.
void DrawLegMarks(CSvgWriter& svg, const PlotArea& area, const CDriveRecord& record)
{
    for (std::size_t leg = 0; leg < record.Legs().size(); ++leg) {
        const SDriveLeg& drawn = record.Legs()[leg];
        if (drawn.samples.empty()) {
            continue;
        }
        const double start = area.X(drawn.samples.front().time);
        if (leg > 0) {
            svg.Line({start, area.top}, {start, area.Bottom()},
                     R"(stroke="#777" stroke-dasharray="2 3")");
        }
        svg.Text(
            {start + 3, area.top + 17}, drawn.name,
            R"(font-size="10.5" stroke="white" stroke-width="3" paint-order="stroke" style="fill:)" +
                Colour(leg) + '"');
    }
}

void DrawErrors(CSvgWriter& svg, const PlotArea& area, const CDriveRecord& record)
{
    DrawAxes(svg, area, {"time (s)", "cross-track error (cm)"});
    svg.BeginClip({area.left, area.top}, area.width, area.height);
    svg.Rectangle({area.left, area.Y(kBand)}, area.width, area.Y(-kBand) - area.Y(kBand),
                  kBandStyle);
    svg.Line({area.left, area.Y(0)}, {area.Right(), area.Y(0)}, R"(stroke="#777")");
    for (std::size_t leg = 0; leg < record.Legs().size(); ++leg) {
        svg.Polyline(area.Map(Errors(record.Legs()[leg])), LegStyle(leg));
    }
    svg.EndClip();
    DrawLegMarks(svg, area, record);
}

/// The values of the error plots: the whole time, and errors up to the greatest.
PlotArea ErrorArea(const CDriveRecord& record)
{
    PlotArea area{540.0, 112.0, 620.0, 240.0};
    area.yLow = -20.0;
    area.yHigh = 20.0;
    for (const SDriveLeg& leg : record.Legs()) {
        for (const auto& error : Errors(leg)) {
            area.xHigh = std::max(area.xHigh, error.x);
            area.yLow = std::min(area.yLow, 1.15 * error.y);
            area.yHigh = std::max(area.yHigh, 1.15 * error.y);
        }
    }
    return area;
}

void DrawBandLegend(CSvgWriter& svg, const PlotArea& area)
{
    const double right = area.left + area.width;
    svg.Rectangle({right - 150, area.top - 25}, 22, 12, kBandStyle);
    svg.Text({right, area.top - 14}, "within 2.5 cm of it", R"(text-anchor="end")");
}

void DrawAll(CSvgWriter& svg, const CDriveRecord& record)
{
    svg.Text({36, 40}, "A simulated machine, steered onto a line, nudged, and along a curve",
             R"(font-size="21" font-weight="bold")");
    svg.Text({36, 64}, "The error is positive when the machine is to the right of its line.");
    DrawMap(svg, record);

    PlotArea area = ErrorArea(record);
    svg.Text({area.left, area.top - 14}, "Distance from the line", kCaption);
    DrawBandLegend(svg, area);
    DrawErrors(svg, area, record);

    constexpr double kNear = 10.0; // centimetres
    area.top = 432.0;
    area.height = 200.0;
    area.yLow = -kNear;
    area.yHigh = kNear;
    svg.Text({area.left, area.top - 14}, "The same, near the line", kCaption);
    DrawErrors(svg, area, record);
}

} // namespace

void DrawPicture(std::ostream& stream, const CDriveRecord& record)
{
    PictureFrame frame;
    frame.width = kWidth;
    frame.height = kHeight;
    frame.title = "A simulated drive: seen from above, and its cross-track error over time";
    stream << DrawnPicture(frame, [&record](CSvgWriter& svg) { DrawAll(svg, record); });
}
