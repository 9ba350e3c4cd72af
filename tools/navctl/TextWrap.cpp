#include "tools/navctl/TextWrap.h"

#include <algorithm>

namespace {

/// How many columns a text takes on a terminal: letters, not the bytes of UTF-8, and no escapes.
std::size_t ColumnsOf(const std::string& text)
{
    std::size_t columns = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] == '\033') {
            place = std::min(text.find('m', place), text.size());
        } else if ((static_cast<unsigned char>(text[place]) & 0xc0U) != 0x80U) {
            ++columns;
        }
    }
    return columns;
}

/// Puts the words of a text into lines.
///
/// @param line what stands on the first line already.
std::string Filled(std::string line, const std::string& text, std::size_t indent,
                   std::size_t columns)
{
    std::string filled;
    bool isFirst = true;
    std::size_t used = ColumnsOf(line);
    std::size_t begin = text.find_first_not_of(' ');
    while (begin != std::string::npos) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::string word = text.substr(begin, end - begin);
        const std::size_t width = ColumnsOf(word);
        if (!isFirst && used + 1 + width > columns) {
            filled += line + "\n";
            line = std::string(indent, ' ');
            used = indent;
            isFirst = true;
        }
        line += (isFirst ? "" : " ") + word;
        used += width + (isFirst ? 0 : 1);
        isFirst = false;
        begin = text.find_first_not_of(' ', end);
    }
    return filled + line;
}

std::size_t LongestWord(const std::string& text)
{
    std::size_t longest = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        longest = std::max(longest, ColumnsOf(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return longest;
}

/// How far a text is indented that is set too far in for the columns that there are.
constexpr std::size_t kLeastIndent = 4;

std::string WrappedLine(const std::string& line, std::size_t columns)
{
    if (ColumnsOf(line) <= columns) {
        return line;
    }
    const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
    if (start > columns / 2 && start > kLeastIndent) {
        return WrappedLine(std::string(kLeastIndent, ' ') + line.substr(start), columns);
    }
    const std::size_t gap = line.find("  ", start);
    const std::size_t second = gap == std::string::npos ? gap : line.find_first_not_of(' ', gap);
    const std::size_t hanging = start + 2 < columns / 2 ? start + 2 : 0;
    if (second == std::string::npos) {
        return Filled(line.substr(0, start), line, hanging, columns);
    }
    const std::size_t indent = ColumnsOf(line.substr(0, second));
    if (indent <= columns / 2 && indent + LongestWord(line.substr(second)) <= columns) {
        return Filled(line.substr(0, second), line.substr(second), indent, columns);
    }
    // The second column has no room beside the first.
    const std::size_t deeper = start + kLeastIndent < columns / 2 ? start + kLeastIndent : 0;
    return Filled(line.substr(0, start), line.substr(start, gap - start), hanging, columns) + "\n" +
           Filled(std::string(deeper, ' '), line.substr(second), deeper, columns);
}

} // namespace

std::string Wrapped(const std::string& text, std::size_t columns)
{
    std::string wrapped;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        wrapped += WrappedLine(text.substr(begin, end - begin), columns);
        if (end < text.size()) {
            wrapped += '\n';
        }
        begin = end + 1;
    }
    return wrapped;
}

std::string WrappedProse(const std::string& text, std::size_t columns)
{
    return ColumnsOf(text) <= columns ? text : Filled("", text, 0, columns);
}
