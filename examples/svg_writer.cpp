#include "examples/svg_writer.h"

#include <cmath>
#include <ostream>
#include <sstream>
#include <vector>

namespace {

const char* const kGrid = R"(stroke="#e4e4e4")";
const char* const kMiddle = R"(text-anchor="middle")";

std::string Escaped(const std::string& text)
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
            escaped += character;
        }
    }
    return escaped;
}

/// A round distance of grid lines, about so many pixels apart.
double GridStep(double range, double pixels)
{
    constexpr double kApart = 45.0;
    const double rough = range * kApart / pixels;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough) {
            return factor * power;
        }
    }
    return 10.0 * power;
}

/// Where the grid lines of a range lie that is so many pixels long.
std::vector<double> GridMarks(double low, double high, double pixels)
{
    const double step = GridStep(high - low, pixels);
    const auto first = static_cast<long>(std::ceil(low / step));
    const auto last = static_cast<long>(std::floor(high / step));
    std::vector<double> marks;
    for (long number = first; number <= last; ++number) {
        marks.push_back(static_cast<double>(number) * step);
    }
    return marks;
}

std::string Number(double value)
{
    std::ostringstream text;
    text << (std::abs(value) < 1e-9 ? 0.0 : value);
    return text.str();
}

} // namespace

CSvgWriter::CSvgWriter(std::ostream& stream, int width, int height) : m_stream(stream)
{
    m_stream << R"(<?xml version="1.0" encoding="UTF-8"?>)" << '\n'
             << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << width << R"(" height=")"
             << height << R"(" viewBox="0 0 )" << width << ' ' << height
             << R"(" font-family="sans-serif" font-size="13" fill="#333">)" << '\n';
    Rectangle(0, 0, width, height, R"(fill="white")");
}

CSvgWriter::~CSvgWriter()
{
    m_stream << "</svg>\n";
}

void CSvgWriter::Polyline(const PointsC& points, const std::string& style)
{
    std::ostringstream places;
    places.setf(std::ios::fixed);
    places.precision(2);
    for (const auto& point : points) {
        places << point.x << ',' << point.y << ' ';
    }
    m_stream << R"(<polyline fill="none" )" << style << R"( points=")" << places.str() << "\"/>\n";
}

void CSvgWriter::Line(double x1, double y1, double x2, double y2, const std::string& style)
{
    m_stream << "<line x1=\"" << x1 << "\" y1=\"" << y1 << "\" x2=\"" << x2 << "\" y2=\"" << y2
             << "\" " << style << "/>\n";
}

void CSvgWriter::Rectangle(double x, double y, double width, double height,
                           const std::string& style)
{
    m_stream << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << width << "\" height=\""
             << height << "\" " << style << "/>\n";
}

void CSvgWriter::Circle(double x, double y, double radius, const std::string& style)
{
    m_stream << "<circle cx=\"" << x << "\" cy=\"" << y << "\" r=\"" << radius << "\" " << style
             << "/>\n";
}

void CSvgWriter::Text(double x, double y, const std::string& text, const std::string& style)
{
    m_stream << "<text x=\"" << x << "\" y=\"" << y << "\" " << style << '>' << Escaped(text)
             << "</text>\n";
}

void CSvgWriter::BeginClip(double x, double y, double width, double height)
{
    ++m_clips;
    m_stream << "<clipPath id=\"clip" << m_clips << "\">";
    Rectangle(x, y, width, height, "");
    m_stream << "</clipPath>\n<g clip-path=\"url(#clip" << m_clips << ")\">\n";
}

void CSvgWriter::EndClip()
{
    m_stream << "</g>\n";
}

PointsC SPlotArea::Map(const PointsC& points) const
{
    PointsC places;
    places.reserve(points.size());
    for (const auto& point : points) {
        places.emplace_back(X(point.x), Y(point.y));
    }
    return places;
}

void DrawAxes(CSvgWriter& svg, const SPlotArea& area, const std::string& xName,
              const std::string& yName)
{
    const double right = area.left + area.width;
    const double bottom = area.top + area.height;
    for (const double x : GridMarks(area.xLow, area.xHigh, area.width)) {
        svg.Line(area.X(x), area.top, area.X(x), bottom, kGrid);
        svg.Text(area.X(x), bottom + 18, Number(x), kMiddle);
    }
    for (const double y : GridMarks(area.yLow, area.yHigh, area.height)) {
        svg.Line(area.left, area.Y(y), right, area.Y(y), kGrid);
        svg.Text(area.left - 8, area.Y(y) + 4.5, Number(y), R"(text-anchor="end")");
    }
    svg.Rectangle(area.left, area.top, area.width, area.height, R"(fill="none" stroke="#777")");
    svg.Text(area.left + area.width / 2, bottom + 38, xName, kMiddle);
    const double nameX = area.left - 44;
    const double nameY = area.top + area.height / 2;
    svg.Text(nameX, nameY, yName,
             std::string(kMiddle) + " transform=\"rotate(-90 " + Number(nameX) + ' ' +
                 Number(nameY) + ")\"");
}
