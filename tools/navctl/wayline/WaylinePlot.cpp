#include "tools/navctl/wayline/WaylinePlot.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "pictures/PlotArea.h"
#include "tools/navctl/wayline/WaylineReport.h"
#include "tools/navctl/wayline/WaylineShape.h"

namespace {

constexpr double kLongestSide = 760.0;
constexpr double kShortestSide = 240.0;
constexpr double kLeft = 84.0;
constexpr double kRight = 24.0;
constexpr double kTop = 24.0;
constexpr double kBottom = 84.0;
/// From a point to the middle of its letter, pixels.
constexpr double kToLetter = 15.0;
/// Room around the points, as a share of the larger side.
constexpr double kMargin = 0.08;
/// A million kilometres: farther off there is nothing to see, and digits run out.
constexpr double kFarthest = 1e9;
constexpr std::size_t kMostMarkedPoints = 60;
constexpr std::array<const char*, 6> kColours{"#1f6fb2", "#c4572e", "#2f8f57",
                                              "#7d4fa8", "#a5781a", "#3d8f95"};

/// The part of the world that is shown, on one scale, in a picture whose longest side is given.
PlotArea PlotAreaOf(const WaylineBounds& bounds)
{
    const double width = bounds.highest.x - bounds.lowest.x;
    const double height = bounds.highest.y - bounds.lowest.y;
    const double larger = std::max(width, height);
    const double room = larger > 0.0 ? larger * kMargin : 1.0;
    const double scale = kLongestSide / (larger + 2.0 * room);
    PlotArea area{kLeft, kTop, std::max(kShortestSide, (width + 2.0 * room) * scale),
                  std::max(kShortestSide, (height + 2.0 * room) * scale)};
    area.xLow = (bounds.lowest.x + bounds.highest.x - area.width / scale) / 2.0;
    area.xHigh = area.xLow + area.width / scale;
    area.yLow = (bounds.lowest.y + bounds.highest.y - area.height / scale) / 2.0;
    area.yHigh = area.yLow + area.height / scale;
    return area;
}

PictureFrame FrameOf(const PlotArea& area, const WaylineList& list)
{
    PictureFrame frame;
    frame.width = area.Right() + kRight;
    frame.height = area.Bottom() + kBottom;
    frame.title = list.entries.size() == 1 ? WaylineWords(list.entries.front().content)
                                           : std::to_string(list.entries.size()) + " waylines";
    frame.letters = 12.0;
    return frame;
}

/// Draws waylines in an area.
class CWaylineDrawing
{
public:
    CWaylineDrawing(CSvgWriter& svg, const PlotArea& area) : m_svg(svg), m_area(area) {}

    void Draw(const WaylineList& list)
    {
        DrawAxes(m_svg, m_area, {"x, metres east", "y, metres north"});
        m_svg.BeginClip({m_area.left, m_area.top}, m_area.width, m_area.height);
        for (std::size_t i = 0; i < list.entries.size(); ++i) {
            DrawWayline(list.entries[i].content, kColours[i % kColours.size()]);
        }
        m_svg.EndClip();
        // Letters last, so that no line runs through them.
        for (std::size_t i = 0; i < list.entries.size(); ++i) {
            DrawLetters(list.entries[i].content, kColours[i % kColours.size()]);
        }
        DrawScaleBar();
    }

private:
    double Scale() const { return m_area.width / (m_area.xHigh - m_area.xLow); }

    void DrawWayline(const WaylineContent& content, const std::string& colour)
    {
        const std::string stroke = "stroke=\"" + colour + "\" stroke-width=\"2\"";
        if (const std::optional<double> heading = HeadingOf(content)) {
            const WaylinePoint& a = content.points[0];
            const double far = std::hypot(m_area.width, m_area.height) / Scale() * 2.0;
            const double x = far * std::sin(*heading);
            const double y = far * std::cos(*heading);
            m_svg.Polyline({m_area.At(a.x - x, a.y - y), m_area.At(a.x + x, a.y + y)},
                           stroke + " stroke-dasharray=\"7 5\" stroke-opacity=\"0.5\"");
        }
        if (content.kind != Kestrove::EWaylineTypeAHeading) {
            m_svg.Polyline(m_area.Map(Outline(content)), stroke + " stroke-linejoin=\"round\"");
        }
        if (content.points.size() > kMostMarkedPoints) {
            return;
        }
        for (const PicturePoint& place : m_area.Map(content.points)) {
            m_svg.Circle(place, 3.5, "fill=\"" + colour + "\"");
        }
    }

    /// Writes a letter beside a point.
    ///
    /// @param x,y the side, in metres; of any length, but not 0.
    void Letter(const WaylinePoint& point, double x, double y, const std::string& letter,
                const std::string& colour)
    {
        const PicturePoint at = m_area.At(point.x, point.y);
        const double length = std::hypot(x, y);
        // A white rim keeps the letter readable on a line.
        m_svg.Text({at.x + kToLetter * x / length, at.y - kToLetter * y / length + 5.0}, letter,
                   "text-anchor=\"middle\" font-weight=\"bold\" font-size=\"14\" fill=\"" + colour +
                       "\" stroke=\"white\" stroke-width=\"3\" paint-order=\"stroke\"");
    }

    /// At an end of a curve, on the side where the curve is not.
    void EndLetter(const WaylinePoint& end, const WaylinePoint& neighbour,
                   const std::string& letter, const std::string& colour)
    {
        const double x = end.x - neighbour.x;
        const double y = end.y - neighbour.y;
        const bool isElsewhere = x != 0.0 || y != 0.0;
        Letter(end, isElsewhere ? x : 1.0, isElsewhere ? y : 1.0, letter, colour);
    }

    void DrawLetters(const WaylineContent& content, const std::string& colour)
    {
        const std::vector<WaylinePoint>& points = content.points;
        if (points.empty()) {
            return;
        }
        if (content.kind == Kestrove::EWaylineTypeCircle) {
            for (std::size_t i = 0; i < points.size(); ++i) {
                Letter(points[i], 1.0, 1.0, std::to_string(i + 1), colour);
            }
        } else if (const std::optional<double> heading = HeadingOf(content)) {
            // Straight lines go on past their points: to their right.
            for (std::size_t i = 0; i < points.size(); ++i) {
                Letter(points[i], std::cos(*heading), -std::sin(*heading), i == 0 ? "A" : "B",
                       colour);
            }
        } else {
            EndLetter(points.front(), points[points.size() > 1 ? 1 : 0], "A", colour);
            if (points.size() > 1) {
                EndLetter(points.back(), points[points.size() - 2], "B", colour);
            }
        }
        DrawName(content, colour);
    }

    void DrawName(const WaylineContent& content, const std::string& colour)
    {
        if (content.name.empty()) {
            return;
        }
        const std::optional<WaylineBounds> bounds = BoundsOf(content);
        const PicturePoint at = m_area.At((bounds->lowest.x + bounds->highest.x) / 2.0,
                                          (bounds->lowest.y + bounds->highest.y) / 2.0);
        m_svg.Text(at, content.name,
                   "text-anchor=\"middle\" fill=\"" + colour +
                       "\" stroke=\"white\" stroke-width=\"3\" paint-order=\"stroke\"");
    }

    void DrawScaleBar()
    {
        const double metres = RoundStep(m_area.width / Scale(), 5);
        const double y = m_area.Bottom() + 58.0;
        const double end = kLeft + metres * Scale();
        m_svg.Line({kLeft, y}, {end, y}, "stroke=\"black\" stroke-width=\"2\"");
        for (const double x : {kLeft, end}) {
            m_svg.Line({x, y - 4.0}, {x, y + 4.0}, "stroke=\"black\" stroke-width=\"2\"");
        }
        m_svg.Text({end + 8.0, y + 4.0}, Metres(metres) + " m");
    }

    CSvgWriter& m_svg;
    const PlotArea& m_area;
};

void Grow(std::optional<WaylineBounds>& all, const WaylineBounds& one)
{
    if (!all) {
        all = one;
        return;
    }
    all->lowest.x = std::min(all->lowest.x, one.lowest.x);
    all->lowest.y = std::min(all->lowest.y, one.lowest.y);
    all->highest.x = std::max(all->highest.x, one.highest.x);
    all->highest.y = std::max(all->highest.y, one.highest.y);
}

} // namespace

std::string WaylinePlot(const WaylineList& list)
{
    std::optional<WaylineBounds> all;
    for (const WaylineList::Entry& entry : list.entries) {
        if (const std::optional<WaylineBounds> bounds = BoundsOf(entry.content)) {
            Grow(all, *bounds);
        }
    }
    if (!all) {
        return {};
    }
    for (const double edge : {all->lowest.x, all->lowest.y, all->highest.x, all->highest.y}) {
        if (!(std::abs(edge) <= kFarthest)) {
            return {};
        }
    }
    const PlotArea area = PlotAreaOf(*all);
    return DrawnPicture(FrameOf(area, list),
                        [&](CSvgWriter& svg) { CWaylineDrawing(svg, area).Draw(list); });
}
