#ifndef KESTROVE_EXAMPLES_SVG_WRITER_H
#define KESTROVE_EXAMPLES_SVG_WRITER_H

#include <iosfwd>
#include <string>

#include "examples/drive_record.h"

/// Writes the elements of an SVG picture; places are pixels from its upper left corner.
class CSvgWriter
{
public:
    /// Begins a picture of the given size on a white ground.
    CSvgWriter(std::ostream& stream, int width, int height);
    /// Ends the picture.
    ~CSvgWriter();
    CSvgWriter(const CSvgWriter&) = delete;
    CSvgWriter& operator=(const CSvgWriter&) = delete;

    /// A line through the points; `style` holds further attributes, such as its colour.
    void Polyline(const PointsC& points, const std::string& style);
    void Line(double x1, double y1, double x2, double y2, const std::string& style);
    void Rectangle(double x, double y, double width, double height, const std::string& style);
    void Circle(double x, double y, double radius, const std::string& style);
    /// `text` is escaped; `style` says also how it is anchored.
    void Text(double x, double y, const std::string& text, const std::string& style = "");
    /// What follows is only seen inside the rectangle, until EndClip().
    void BeginClip(double x, double y, double width, double height);
    void EndClip();

private:
    std::ostream& m_stream;
    int m_clips = 0;
};

/// Where values lie on the picture: a rectangle with axes that are linear.
struct SPlotArea
{
    double left = 0.0, top = 0.0, width = 0.0, height = 0.0; ///< pixels
    double xLow = 0.0, xHigh = 1.0, yLow = 0.0, yHigh = 1.0; ///< values at the edges

    double X(double value) const { return left + width * (value - xLow) / (xHigh - xLow); }
    double Y(double value) const { return top + height * (yHigh - value) / (yHigh - yLow); }
    PointsC Map(const PointsC& points) const;
};

/// Draws the frame, the grid and the numbers of an area, and names its axes.
void DrawAxes(CSvgWriter& svg, const SPlotArea& area, const std::string& xName,
              const std::string& yName);

#endif
