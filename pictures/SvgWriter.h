#ifndef KESTROVE_PICTURES_SVGWRITER_H
#define KESTROVE_PICTURES_SVGWRITER_H

#include <functional>
#include <string>
#include <vector>

/// A place on a picture, pixels from its upper left corner, or a value that a plot shows.
struct PicturePoint
{
    double x = 0.0;
    double y = 0.0;
};

/// What a picture begins with.
struct PictureFrame
{
    double width = 0.0; ///< pixels
    double height = 0.0;
    std::string title;         ///< for who hears it; empty for none
    std::string description{}; ///< what is seen on it, in words; empty for none
    /// In front of the names within the picture, which must differ where one page has several.
    std::string name{"picture"};
    double letters = 13.0; ///< size of the letters, pixels
};

/// Writes the elements of an SVG picture. Every text is escaped, and every number finite: what is
/// not finite is left out with the element that it belongs to.
///
/// `style` of an element holds further attributes as they are to stand there, such as its colour.
/// Thread safety: none.
class CSvgWriter
{
public:
    /// Begins a picture on a white ground.
    ///
    /// @param text receives the picture at its end; must outlive this object.
    CSvgWriter(std::string& text, const PictureFrame& frame);
    /// Ends the picture.
    ~CSvgWriter();
    CSvgWriter(const CSvgWriter&) = delete;
    CSvgWriter& operator=(const CSvgWriter&) = delete;

    /// A line through the points; points that are not finite are left out.
    void Polyline(const std::vector<PicturePoint>& points, const std::string& style);
    void Line(const PicturePoint& from, const PicturePoint& to, const std::string& style);
    void Rectangle(const PicturePoint& corner, double width, double height,
                   const std::string& style);
    void Circle(const PicturePoint& middle, double radius, const std::string& style);
    /// `style` says also how the text is anchored.
    void Text(const PicturePoint& place, const std::string& text, const std::string& style = "");
    /// A text from bottom to top, its middle at the place.
    void UprightText(const PicturePoint& place, const std::string& text);
    /// What follows is only seen inside the rectangle, until EndClip().
    void BeginClip(const PicturePoint& corner, double width, double height);
    void EndClip();

private:
    std::string& m_text;
    const std::string m_name;
    int m_clips = 0;
};

/// A whole picture.
///
/// @param draw draws it.
std::string DrawnPicture(const PictureFrame& frame, const std::function<void(CSvgWriter&)>& draw);

/// A number of pixels: at most two decimals, none that are zeros at the end.
std::string PixelText(double value);

/// A text as it may stand between the tags, and in the attributes, of XML and HTML. Control
/// characters, which may not stand there, become blanks.
std::string EscapedForXml(const std::string& text);

#endif
