#include "tools/navctl/wayline/WaylinePlot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

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
constexpr int kMostGridLines = 30;
/// A million kilometres: farther off there is nothing to see, and digits run out.
constexpr double kFarthest = 1e9;
constexpr std::size_t kMostMarkedPoints = 60;
constexpr std::array<const char*, 6> kColours{"#1f6fb2", "#c4572e", "#2f8f57",
                                              "#7d4fa8", "#a5781a", "#3d8f95"};

struct Pixel
{
    double x = 0.0;
    double y = 0.0;
};

std::string Short(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::string EscapedForXml(const std::string& text)
{
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            // Control characters may not stand in XML.
            escaped += static_cast<unsigned char>(character) < 0x20 ? ' ' : character;
        }
    }
    return escaped;
}

/// Where metres lie on the picture.
class CPlotArea
{
public:
    explicit CPlotArea(const WaylineBounds& bounds)
    {
        const double width = bounds.highest.x - bounds.lowest.x;
        const double height = bounds.highest.y - bounds.lowest.y;
        const double larger = std::max(width, height);
        const double room = larger > 0.0 ? larger * kMargin : 1.0;
        const double scale = kLongestSide / (larger + 2.0 * room);
        m_width = std::max(kShortestSide, (width + 2.0 * room) * scale);
        m_height = std::max(kShortestSide, (height + 2.0 * room) * scale);
        m_scale = scale;
        m_lowestX = (bounds.lowest.x + bounds.highest.x - m_width / scale) / 2.0;
        m_lowestY = (bounds.lowest.y + bounds.highest.y - m_height / scale) / 2.0;
    }

    Pixel At(double x, double y) const
    {
        return {kLeft + (x - m_lowestX) * m_scale, kTop + m_height - (y - m_lowestY) * m_scale};
    }
    double Right() const { return kLeft + m_width; }
    double Bottom() const { return kTop + m_height; }
    double Width() const { return m_width; }
    double Height() const { return m_height; }
    double Scale() const { return m_scale; }
    double LowestX() const { return m_lowestX; }
    double LowestY() const { return m_lowestY; }
    double Diagonal() const { return std::hypot(m_width, m_height) / m_scale; }

private:
    double m_width = 0.0;
    double m_height = 0.0;
    double m_scale = 1.0;
    double m_lowestX = 0.0;
    double m_lowestY = 0.0;
};

/// Writes one picture.
class CPlotWriter
{
public:
    explicit CPlotWriter(const CPlotArea& area) : m_area(area) {}

    std::string Draw(const WaylineList& list)
    {
        Begin(list);
        DrawGrid();
        m_svg += "<g clip-path=\"url(#area)\">\n";
        for (std::size_t i = 0; i < list.entries.size(); ++i) {
            DrawWayline(list.entries[i].content, kColours[i % kColours.size()]);
        }
        m_svg += "</g>\n";
        // Letters last, so that no line runs through them.
        for (std::size_t i = 0; i < list.entries.size(); ++i) {
            DrawLetters(list.entries[i].content, kColours[i % kColours.size()]);
        }
        DrawScaleBar();
        m_svg += "</svg>\n";
        return m_svg;
    }

private:
    void Begin(const WaylineList& list)
    {
        const std::string width = Short(m_area.Right() + kRight);
        const std::string height = Short(m_area.Bottom() + kBottom);
        const std::string title = list.entries.size() == 1
                                      ? WaylineWords(list.entries.front().content)
                                      : std::to_string(list.entries.size()) + " waylines";
        m_svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
                height + "\" viewBox=\"0 0 " + width + " " + height +
                "\" font-family=\"sans-serif\" font-size=\"12\">\n<title>" + EscapedForXml(title) +
                "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n" +
                "<clipPath id=\"area\">" + Frame("") + "</clipPath>\n";
    }

    std::string Frame(const std::string& style) const
    {
        return "<rect x=\"" + Short(kLeft) + "\" y=\"" + Short(kTop) + "\" width=\"" +
               Short(m_area.Width()) + "\" height=\"" + Short(m_area.Height()) + "\" " + style +
               "/>";
    }

    void Line(const Pixel& from, const Pixel& to, const std::string& style)
    {
        m_svg += "<line x1=\"" + Short(from.x) + "\" y1=\"" + Short(from.y) + "\" x2=\"" +
                 Short(to.x) + "\" y2=\"" + Short(to.y) + "\" " + style + "/>\n";
    }

    void Text(const Pixel& at, const std::string& text, const std::string& style)
    {
        m_svg += "<text x=\"" + Short(at.x) + "\" y=\"" + Short(at.y) + "\" " + style + ">" +
                 EscapedForXml(text) + "</text>\n";
    }

    void DrawGrid()
    {
        const double step =
            RoundStep(std::max(m_area.Width(), m_area.Height()) / m_area.Scale(), 8);
        const std::string line = "stroke=\"#e3e3e3\"";
        const double highestX = m_area.LowestX() + m_area.Width() / m_area.Scale();
        const double highestY = m_area.LowestY() + m_area.Height() / m_area.Scale();
        const double firstX = std::ceil(m_area.LowestX() / step);
        for (int i = 0; i < kMostGridLines && (firstX + i) * step <= highestX; ++i) {
            const double at = m_area.At((firstX + i) * step, 0.0).x;
            Line({at, kTop}, {at, m_area.Bottom()}, line);
            Text({at, m_area.Bottom() + 18.0}, Metres((firstX + i) * step),
                 "text-anchor=\"middle\"");
        }
        const double firstY = std::ceil(m_area.LowestY() / step);
        for (int i = 0; i < kMostGridLines && (firstY + i) * step <= highestY; ++i) {
            const double at = m_area.At(0.0, (firstY + i) * step).y;
            Line({kLeft, at}, {m_area.Right(), at}, line);
            Text({kLeft - 8.0, at + 4.0}, Metres((firstY + i) * step), "text-anchor=\"end\"");
        }
        m_svg += Frame("fill=\"none\" stroke=\"#777777\"") + "\n";
        Text({kLeft + m_area.Width() / 2.0, m_area.Bottom() + 40.0}, "x, metres east",
             "text-anchor=\"middle\"");
        const std::string x = Short(20.0);
        const std::string y = Short(kTop + m_area.Height() / 2.0);
        Text({20.0, kTop + m_area.Height() / 2.0}, "y, metres north",
             "text-anchor=\"middle\" transform=\"rotate(-90 " + x + " " + y + ")\"");
    }

    void Polyline(const std::vector<WaylinePoint>& points, const std::string& style)
    {
        m_svg += "<polyline fill=\"none\" " + style + " points=\"";
        for (const WaylinePoint& point : points) {
            const Pixel at = m_area.At(point.x, point.y);
            m_svg += Short(at.x) + "," + Short(at.y) + " ";
        }
        m_svg += "\"/>\n";
    }

    void DrawWayline(const WaylineContent& content, const std::string& colour)
    {
        const std::string stroke = "stroke=\"" + colour + "\" stroke-width=\"2\"";
        if (const std::optional<double> heading = HeadingOf(content)) {
            const WaylinePoint& a = content.points[0];
            const double far = m_area.Diagonal() * 2.0;
            const double x = far * std::sin(*heading);
            const double y = far * std::cos(*heading);
            Polyline({{a.x - x, a.y - y, 0.0}, {a.x + x, a.y + y, 0.0}},
                     stroke + " stroke-dasharray=\"7 5\" stroke-opacity=\"0.5\"");
        }
        if (content.kind != Kestrove::EWaylineTypeAHeading) {
            Polyline(Outline(content), stroke + " stroke-linejoin=\"round\"");
        }
        if (content.points.size() > kMostMarkedPoints) {
            return;
        }
        for (const WaylinePoint& point : content.points) {
            const Pixel at = m_area.At(point.x, point.y);
            m_svg += "<circle cx=\"" + Short(at.x) + "\" cy=\"" + Short(at.y) +
                     "\" r=\"3.5\" fill=\"" + colour + "\"/>\n";
        }
    }

    /// Writes a letter beside a point.
    ///
    /// @param x,y the side, in metres; of any length, but not 0.
    void Letter(const WaylinePoint& point, double x, double y, const std::string& letter,
                const std::string& colour)
    {
        const Pixel at = m_area.At(point.x, point.y);
        const double length = std::hypot(x, y);
        // A white rim keeps the letter readable on a line.
        Text({at.x + kToLetter * x / length, at.y - kToLetter * y / length + 5.0}, letter,
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
        const Pixel at = m_area.At((bounds->lowest.x + bounds->highest.x) / 2.0,
                                   (bounds->lowest.y + bounds->highest.y) / 2.0);
        Text(at, content.name,
             "text-anchor=\"middle\" fill=\"" + colour +
                 "\" stroke=\"white\" stroke-width=\"3\" paint-order=\"stroke\"");
    }

    void DrawScaleBar()
    {
        const double metres = RoundStep(m_area.Width() / m_area.Scale(), 5);
        const double y = m_area.Bottom() + 58.0;
        const double end = kLeft + metres * m_area.Scale();
        Line({kLeft, y}, {end, y}, "stroke=\"black\" stroke-width=\"2\"");
        for (const double x : {kLeft, end}) {
            Line({x, y - 4.0}, {x, y + 4.0}, "stroke=\"black\" stroke-width=\"2\"");
        }
        Text({end + 8.0, y + 4.0}, Metres(metres) + " m", "");
    }

    const CPlotArea& m_area;
    std::string m_svg;
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
    const CPlotArea area(*all);
    return CPlotWriter(area).Draw(list);
}
