#include "report/ReportPictures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "pictures/PlotArea.h"
#include "report/ReportTables.h"

namespace {

constexpr double kPictureWidth = 720.0;
constexpr double kPlotLeft = 80.0;
constexpr double kPlotWidth = 620.0;
constexpr double kUnderPlot = 50.0; // for numbers and names of the axis
constexpr double kToCentimetres = 100.0;
constexpr double kToDegrees = 180.0 / 3.14159265358979323846;
/// At least so much is shown to both sides, centimetres.
constexpr double kLeastShown = 5.0;
/// So many are in sight, the others beyond the edge.
constexpr double kShareShown = 0.98;
constexpr double kBarCount = 40.0;
constexpr double kBandCentimetres = 2.5;

// Told apart by those who see red and green alike; lines differ in more than colour beside that.
const std::string kMachineStyle = "stroke=\"#0072b2\" stroke-width=\"1.4\"";
const std::string kImplementStyle = "stroke=\"#d55e00\" stroke-width=\"1.4\"";
const std::string kImplementBars = "stroke=\"#d55e00\" stroke-width=\"2\" stroke-dasharray=\"6 3\"";
const std::string kMachineBars = "fill=\"#0072b2\" fill-opacity=\"0.45\"";
const std::string kEngagedWay = "stroke=\"#0072b2\" stroke-width=\"3\" stroke-linejoin=\"round\"";
const std::string kFreeWay = "stroke=\"#777\" stroke-width=\"1.5\" stroke-dasharray=\"4 4\"";
const std::string kBandFill = "fill=\"#009e73\" fill-opacity=\"0.15\"";
const std::string kPlotName = "font-size=\"14\" font-weight=\"bold\"";

/// How far to both sides errors are shown, centimetres, in round numbers.
double ShownCentimetres(const CDriveReport& report)
{
    double shown = kLeastShown;
    for (const CErrorFigures* figures : {&report.Machine(), &report.Implement()}) {
        const double most = figures->Histogram().NotExceededBy(kShareShown) * kToCentimetres;
        shown = std::max(shown, 1.1 * most);
    }
    const double step = RoundStep(shown, 5.0);
    return std::ceil(shown / step) * step;
}

std::string PercentText(std::uint64_t part, std::uint64_t all)
{
    return FixedText(100.0 * static_cast<double>(part) / static_cast<double>(all), 1) + " %";
}

/// Says how many errors lie beyond the edge of a plot.
std::string BeyondText(const CErrorFigures& figures, const std::string& whose, double shown)
{
    if (figures.Count() == 0) {
        return {};
    }
    const std::uint64_t within =
        figures.Histogram().CountWithin(-shown / kToCentimetres, shown / kToCentimetres);
    return within == figures.Count()
               ? std::string()
               : " Of " + whose + " errors, " +
                     PercentText(figures.Count() - within, figures.Count()) +
                     " are beyond the edge, the largest at " +
                     FixedText(figures.Summary().worst * kToCentimetres, 1) + " cm.";
}

/// Draws a curve, without what lies between spans that nothing came in.
void DrawCurve(CSvgWriter& svg, const PlotArea& area, const CBoundedCurve& curve, double unit,
               const std::string& style)
{
    std::vector<PicturePoint> piece;
    const auto end = [&] {
        if (!piece.empty()) {
            svg.Polyline(area.Map(std::exchange(piece, {})), style);
        }
    };
    constexpr std::size_t kEmptyOfABreak = 3;
    std::size_t empty = 0;
    for (std::size_t i = 0; i < curve.Spans().size(); ++i) {
        const CBoundedCurve::Span& span = curve.Spans()[i];
        if (span.isEmpty) {
            if (++empty >= kEmptyOfABreak) {
                end();
            }
            continue;
        }
        empty = 0;
        const double time = curve.BeginOf(i) + curve.SpanSeconds() / 2.0;
        piece.push_back({time, span.low * unit});
        if (span.high > span.low) {
            piece.push_back({time, span.high * unit});
        }
    }
    end();
}

PlotArea TimeArea(const CDriveReport& report, double top, double height, double shown)
{
    PlotArea area{kPlotLeft, top, kPlotWidth, height};
    area.xLow = report.FirstTime();
    area.xHigh = std::max(report.LastTime(), report.FirstTime() + 1e-3);
    area.yLow = -shown;
    area.yHigh = shown;
    return area;
}

PictureFrame NamedFrame(const char* name, double height, const std::string& title,
                        const std::string& description)
{
    PictureFrame frame;
    frame.width = kPictureWidth;
    frame.height = height;
    frame.title = title;
    frame.description = description;
    frame.name = name;
    return frame;
}

void DrawErrorPlot(CSvgWriter& svg, const PlotArea& area, const CBoundedCurve& curve,
                   const std::string& name, const std::string& style)
{
    svg.Text({area.left, area.top - 8.0}, name, kPlotName);
    DrawAxes(svg, area, {"time (s)", "right of the line (cm)"});
    svg.BeginClip({area.left, area.top}, area.width, area.height);
    svg.Rectangle({area.left, area.Y(kBandCentimetres)}, area.width,
                  area.Y(-kBandCentimetres) - area.Y(kBandCentimetres), kBandFill);
    DrawCurve(svg, area, curve, kToCentimetres, style);
    svg.EndClip();
}

ReportPicture ErrorsOverTime(const CDriveReport& report)
{
    constexpr double kPlotHeight = 190.0;
    const double shown = ShownCentimetres(report);
    const bool hasImplement = report.Implement().Count() > 0;
    const double below = kPlotHeight + kUnderPlot + 28.0;
    ReportPicture picture{"Error over time", "", ""};
    picture.caption = "Cross-track error while steering was engaged; the band is 2.5 cm to both "
                      "sides of the line. Of each " +
                      FixedText(report.MachineCurve().SpanSeconds(), 1) +
                      " s the lowest and the highest are drawn." +
                      BeyondText(report.Machine(), "the machine's", shown) +
                      BeyondText(report.Implement(), "the implement's", shown);
    picture.svg =
        DrawnPicture(NamedFrame("errors", (hasImplement ? 2.0 : 1.0) * below + 6.0, picture.title,
                                picture.caption),
                     [&](CSvgWriter& svg) {
                         DrawErrorPlot(svg, TimeArea(report, 26.0, kPlotHeight, shown),
                                       report.MachineCurve(), "Machine", kMachineStyle);
                         if (hasImplement) {
                             DrawErrorPlot(svg, TimeArea(report, 26.0 + below, kPlotHeight, shown),
                                           report.ImplementCurve(), "Implement", kImplementStyle);
                         }
                     });
    return picture;
}

/// How many per cent of the errors are in each bar.
std::vector<double> SharesOf(const CErrorFigures& figures, double shown, double bar)
{
    std::vector<double> shares;
    for (double low = -shown; low < shown - bar / 2.0 && figures.Count() > 0; low += bar) {
        const std::uint64_t count =
            figures.Histogram().CountWithin(low / kToCentimetres, (low + bar) / kToCentimetres);
        shares.push_back(100.0 * static_cast<double>(count) / static_cast<double>(figures.Count()));
    }
    return shares;
}

void DrawBars(CSvgWriter& svg, const PlotArea& area, const std::vector<double>& machine,
              const std::vector<double>& implement, double bar)
{
    for (std::size_t i = 0; i < machine.size(); ++i) {
        const double low = area.xLow + static_cast<double>(i) * bar;
        svg.Rectangle({area.X(low), area.Y(machine[i])}, area.X(low + bar) - area.X(low) - 1.0,
                      area.Bottom() - area.Y(machine[i]), kMachineBars);
    }
    std::vector<PicturePoint> steps;
    for (std::size_t i = 0; i < implement.size(); ++i) {
        const double low = area.xLow + static_cast<double>(i) * bar;
        steps.push_back(area.At(low, implement[i]));
        steps.push_back(area.At(low + bar, implement[i]));
    }
    if (!steps.empty()) {
        svg.Polyline(steps, kImplementBars);
    }
}

ReportPicture HistogramPicture(const CDriveReport& report)
{
    const double shown = ShownCentimetres(report);
    const double bar = RoundStep(2.0 * shown, kBarCount);
    const std::vector<double> machine = SharesOf(report.Machine(), shown, bar);
    const std::vector<double> implement = SharesOf(report.Implement(), shown, bar);
    double highest = 1.0;
    for (const auto* shares : {&machine, &implement}) {
        for (const double share : *shares) {
            highest = std::max(highest, share);
        }
    }
    ReportPicture picture{"How often which error came", "", ""};
    picture.caption = "Bars: the machine" +
                      std::string(implement.empty() ? "" : "; dashed line: the implement") +
                      ". Each stands for " + FixedText(bar, 2) + " cm." +
                      BeyondText(report.Machine(), "the machine's", shown) +
                      BeyondText(report.Implement(), "the implement's", shown);
    picture.svg = DrawnPicture(
        NamedFrame("histogram", 290.0, picture.title, picture.caption), [&](CSvgWriter& svg) {
            PlotArea area{kPlotLeft, 20.0, kPlotWidth, 220.0, -shown, shown, 0.0, 1.1 * highest};
            DrawAxes(svg, area, {"left of the line, right of the line (cm)", "of the samples (%)"});
            DrawBars(svg, area, machine, implement, bar);
        });
    return picture;
}

PlotArea MapArea(const CDriveReport& report)
{
    PlotArea area{kPlotLeft, 20.0, kPlotWidth, 400.0};
    const auto& places = report.Way().Places();
    area.xLow = area.xHigh = places.front().x;
    area.yLow = area.yHigh = places.front().y;
    for (const CBoundedWay::Place& place : places) {
        area.xLow = std::min(area.xLow, place.x);
        area.xHigh = std::max(area.xHigh, place.x);
        area.yLow = std::min(area.yLow, place.y);
        area.yHigh = std::max(area.yHigh, place.y);
    }
    const double room =
        std::max(1.0, 0.04 * std::max(area.xHigh - area.xLow, area.yHigh - area.yLow));
    area.xLow -= room;
    area.xHigh += room;
    area.yLow -= room;
    area.yHigh += room;
    area.UseOneScale();
    return area;
}

/// Draws the pieces of the way that were driven with steering engaged, or the others.
void DrawWay(CSvgWriter& svg, const PlotArea& area, const std::vector<CBoundedWay::Place>& places,
             bool isEngaged)
{
    std::vector<PicturePoint> piece;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (i > 0 && places[i].isEngaged == isEngaged && piece.empty()) {
            piece.push_back({places[i - 1].x, places[i - 1].y});
        }
        if (places[i].isEngaged == isEngaged) {
            piece.push_back({places[i].x, places[i].y});
        }
        if ((places[i].isEngaged != isEngaged || i + 1 == places.size()) && piece.size() > 1) {
            svg.Polyline(area.Map(piece), isEngaged ? kEngagedWay : kFreeWay);
        }
        if (places[i].isEngaged != isEngaged) {
            piece.clear();
        }
    }
}

ReportPicture MapPicture(const CDriveReport& report)
{
    const auto& places = report.Way().Places();
    ReportPicture picture{"Map", "",
                          "Thick line: steering engaged. Dashed, thin: not engaged. The circle is "
                          "where the drive begins, the square where it ends."};
    picture.svg = DrawnPicture(
        NamedFrame("map", 470.0, picture.title, picture.caption), [&](CSvgWriter& svg) {
            const PlotArea area = MapArea(report);
            DrawAxes(svg, area, {"east (m)", "north (m)"});
            svg.BeginClip({area.left, area.top}, area.width, area.height);
            DrawWay(svg, area, places, false);
            DrawWay(svg, area, places, true);
            svg.EndClip();
            svg.Circle(area.At(places.front().x, places.front().y), 5.0,
                       "fill=\"white\" stroke=\"black\" stroke-width=\"2\"");
            const PicturePoint end = area.At(places.back().x, places.back().y);
            svg.Rectangle({end.x - 4.5, end.y - 4.5}, 9.0, 9.0,
                          "fill=\"white\" stroke=\"black\" stroke-width=\"2\"");
        });
    return picture;
}

ReportPicture SteeringPicture(const CDriveReport& report)
{
    const double greatest = report.Steering().greatestAngle * kToDegrees;
    const double shown = std::max(1.0, 1.1 * greatest);
    ReportPicture picture{"Steering angle", "",
                          "Positive to the right, while steering was engaged. Of each " +
                              FixedText(report.SteeringCurve().SpanSeconds(), 1) +
                              " s the lowest and the highest are drawn."};
    picture.svg = DrawnPicture(
        NamedFrame("steering", 240.0, picture.title, picture.caption), [&](CSvgWriter& svg) {
            const PlotArea area = TimeArea(report, 20.0, 170.0, shown);
            DrawAxes(svg, area, {"time (s)", "angle (degrees)"});
            svg.BeginClip({area.left, area.top}, area.width, area.height);
            DrawCurve(svg, area, report.SteeringCurve(), kToDegrees, kMachineStyle);
            svg.EndClip();
        });
    return picture;
}

} // namespace

std::vector<ReportPicture> PicturesOf(const CDriveReport& report)
{
    std::vector<ReportPicture> pictures{MapPicture(report), ErrorsOverTime(report),
                                        HistogramPicture(report)};
    if (!report.SteeringCurve().Spans().empty()) {
        pictures.push_back(SteeringPicture(report));
    }
    return pictures;
}
