#include "tests/api/HeaderText.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// One blank for every run of white space, and none at the ends and behind an opening bracket.
std::string Collapsed(const std::string& text)
{
    std::string result;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        const bool joined = result.empty() || result.back() == '(';
        result += (joined ? "" : " ") + word;
    }
    return result;
}

std::string WithoutComments(const std::string& text)
{
    std::string result;
    for (const std::string& line : LinesOf(text)) {
        result += line.substr(0, line.find("//")) + "\n";
    }
    return result;
}

std::vector<std::string> Cells(std::string line)
{
    line.erase(std::remove(line.begin(), line.end(), '`'), line.end());
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');) {
        cells.push_back(Collapsed(cell));
    }
    return cells;
}

} // namespace

std::string SourceFile(const std::string& path)
{
    std::ifstream file(std::string(KESTROVE_SOURCE_DIRECTORY) + "/" + path);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<std::string> PublicOperations()
{
    const std::string header = WithoutComments(SourceFile("api/NavigationAPI.h"));
    const std::size_t begin = header.find("public:") + std::string("public:").size();
    std::istringstream section(header.substr(begin, header.find("private:") - begin));
    std::vector<std::string> operations;
    for (std::string text; std::getline(section, text, ';');) {
        const std::string declaration = Collapsed(text);
        const bool isSpecial =
            declaration.rfind("CNavigationAPI(", 0) == 0 || declaration[0] == '~';
        if (!declaration.empty() && !isSpecial) {
            operations.push_back(declaration);
        }
    }
    return operations;
}

std::vector<std::vector<std::string>> TableBelow(const std::string& text,
                                                 const std::string& heading)
{
    const std::vector<std::string> lines = LinesOf(text);
    auto line = std::find(lines.begin(), lines.end(), heading);
    const auto isRow = [](const std::string& candidate) { return candidate.rfind('|', 0) == 0; };
    line = std::find_if(line, lines.end(), isRow);
    std::vector<std::vector<std::string>> rows;
    for (; line != lines.end() && isRow(*line); ++line) {
        rows.push_back(Cells(*line));
    }
    // The column titles and the rule below them.
    rows.erase(rows.begin(), rows.begin() + std::min<std::ptrdiff_t>(
                                                2, static_cast<std::ptrdiff_t>(rows.size())));
    return rows;
}
