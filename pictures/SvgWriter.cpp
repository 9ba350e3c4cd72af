#include "pictures/SvgWriter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

bool IsFinite(const PicturePoint& point)
{
    return std::isfinite(point.x) && std::isfinite(point.y);
}

/// ` NAME="value"`.
std::string NumberAttribute(const char* name, double value)
{
    return std::string(" ") + name + "=\"" + PixelText(value) + "\"";
}

std::string Styled(const std::string& style)
{
    return style.empty() ? "" : " " + style;
}

std::string RectangleTag(const PicturePoint& corner, double width, double height,
                         const std::string& style)
{
    return "<rect" + NumberAttribute("x", corner.x) + NumberAttribute("y", corner.y) +
           NumberAttribute("width", width) + NumberAttribute("height", height) + Styled(style) +
           "/>\n";
}

/// `<title>` and `<desc>` with the attributes by which they are read aloud.
struct SpokenParts
{
    std::string attributes;
    std::string tags;
};

SpokenParts SpokenPartsOf(const PictureFrame& frame)
{
    SpokenParts parts;
    std::string names;
    for (const auto& [tag, text] :
         {std::pair<const char*, const std::string&>{"title", frame.title},
          std::pair<const char*, const std::string&>{"desc", frame.description}}) {
        if (text.empty()) {
            continue;
        }
        const std::string name = EscapedForXml(frame.name) + "-" + tag;
        names += (names.empty() ? "" : " ") + name;
        parts.tags += std::string("<") + tag + " id=\"" + name + "\">" + EscapedForXml(text) +
                      "</" + tag + ">\n";
    }
    if (!names.empty()) {
        parts.attributes = " role=\"img\" aria-labelledby=\"" + names + "\"";
    }
    return parts;
}

} // namespace

std::string PixelText(double value)
{
    std::array<char, 400> text; // the largest number has 309 digits
    const std::to_chars_result written =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 2);
    std::string number(text.data(), written.ptr);
    if (number.find('.') != std::string::npos) {
        number.erase(number.find_last_not_of('0') + 1);
        if (number.back() == '.') {
            number.pop_back();
        }
    }
    return number == "-0" ? "0" : number;
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
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += static_cast<unsigned char>(character) < 0x20 ? ' ' : character;
        }
    }
    return escaped;
}

CSvgWriter::CSvgWriter(std::string& text, const PictureFrame& frame)
    : m_text(text), m_name(EscapedForXml(frame.name))
{
    const SpokenParts spoken = SpokenPartsOf(frame);
    m_text += "<svg xmlns=\"http://www.w3.org/2000/svg\"" + NumberAttribute("width", frame.width) +
              NumberAttribute("height", frame.height) + " viewBox=\"0 0 " + PixelText(frame.width) +
              " " + PixelText(frame.height) + "\" font-family=\"sans-serif\"" +
              NumberAttribute("font-size", frame.letters) + " fill=\"#333\"" + spoken.attributes +
              ">\n" + spoken.tags;
    Rectangle({0.0, 0.0}, frame.width, frame.height, "fill=\"white\"");
}

CSvgWriter::~CSvgWriter()
{
    m_text += "</svg>\n";
}

void CSvgWriter::Polyline(const std::vector<PicturePoint>& points, const std::string& style)
{
    m_text += "<polyline fill=\"none\"" + Styled(style) + " points=\"";
    const char* between = "";
    for (const PicturePoint& point : points) {
        if (IsFinite(point)) {
            m_text += between + PixelText(point.x) + "," + PixelText(point.y);
            between = " ";
        }
    }
    m_text += "\"/>\n";
}

void CSvgWriter::Line(const PicturePoint& from, const PicturePoint& to, const std::string& style)
{
    if (IsFinite(from) && IsFinite(to)) {
        m_text += "<line" + NumberAttribute("x1", from.x) + NumberAttribute("y1", from.y) +
                  NumberAttribute("x2", to.x) + NumberAttribute("y2", to.y) + Styled(style) +
                  "/>\n";
    }
}

void CSvgWriter::Rectangle(const PicturePoint& corner, double width, double height,
                           const std::string& style)
{
    if (IsFinite(corner) && IsFinite({width, height})) {
        m_text += RectangleTag(corner, width, height, style);
    }
}

void CSvgWriter::Circle(const PicturePoint& middle, double radius, const std::string& style)
{
    if (IsFinite(middle)) {
        m_text += "<circle" + NumberAttribute("cx", middle.x) + NumberAttribute("cy", middle.y) +
                  NumberAttribute("r", radius) + Styled(style) + "/>\n";
    }
}

void CSvgWriter::Text(const PicturePoint& place, const std::string& text, const std::string& style)
{
    if (IsFinite(place)) {
        m_text += "<text" + NumberAttribute("x", place.x) + NumberAttribute("y", place.y) +
                  Styled(style) + ">" + EscapedForXml(text) + "</text>\n";
    }
}

void CSvgWriter::UprightText(const PicturePoint& place, const std::string& text)
{
    Text(place, text,
         "text-anchor=\"middle\" transform=\"rotate(-90 " + PixelText(place.x) + " " +
             PixelText(place.y) + ")\"");
}

void CSvgWriter::BeginClip(const PicturePoint& corner, double width, double height)
{
    const std::string name = m_name + "-clip" + std::to_string(++m_clips);
    m_text += "<clipPath id=\"" + name + "\">" + RectangleTag(corner, width, height, "") +
              "</clipPath>\n<g clip-path=\"url(#" + name + ")\">\n";
}

void CSvgWriter::EndClip()
{
    m_text += "</g>\n";
}

std::string DrawnPicture(const PictureFrame& frame, const std::function<void(CSvgWriter&)>& draw)
{
    std::string text;
    {
        CSvgWriter svg(text, frame);
        draw(svg);
    }
    return text;
}
