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

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.rfind(start, 0) == 0;
}

/// An operation is the same whether the compiler warns of a result that is dropped or not.
std::string WithoutAttribute(const std::string& text)
{
    const std::string attribute = "[[nodiscard]] ";
    return StartsWith(text, attribute) ? text.substr(attribute.size()) : text;
}

/// Puts declarations together from the lines of a class, one after the other.
class CDeclarationReader
{
public:
    void Take(const std::string& line)
    {
        if (StartsWith(line, "///")) {
            TakeComment(Collapsed(line.substr(3)));
        } else if (!StartsWith(line, "//") && !line.empty()) {
            TakeCode(line);
        } else if (m_text.empty()) {
            m_comment.clear();
        }
    }
    std::vector<Declaration> Declarations() const { return m_declarations; }

private:
    void TakeComment(const std::string& text)
    {
        // The marks of a group begin and end it, and belong to no declaration.
        if (StartsWith(text, "@{") || StartsWith(text, "@}")) {
            m_comment.clear();
        } else {
            m_comment += text + " ";
        }
    }
    void TakeCode(const std::string& line)
    {
        m_text += line + " ";
        if (line.back() == ';') {
            m_text.erase(m_text.find_last_of(';'));
            m_declarations.push_back({Collapsed(m_comment), WithoutAttribute(Collapsed(m_text))});
            m_comment.clear();
            m_text.clear();
        }
    }

    std::string m_comment;
    std::string m_text;
    std::vector<Declaration> m_declarations;
};

std::vector<std::string> CellsOf(std::string line)
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

std::vector<Declaration> PublicDeclarations()
{
    const std::string header = SourceFile("api/NavigationAPI.h");
    const std::size_t begin = header.find("public:") + std::string("public:").size();
    CDeclarationReader reader;
    for (const std::string& line : LinesOf(header.substr(begin, header.find("private:") - begin))) {
        reader.Take(Collapsed(line));
    }
    std::vector<Declaration> operations;
    for (const Declaration& declaration : reader.Declarations()) {
        if (!StartsWith(declaration.text, "CNavigationAPI(") &&
            !StartsWith(declaration.text, "~")) {
            operations.push_back(declaration);
        }
    }
    return operations;
}

std::vector<std::string> PublicOperations()
{
    std::vector<std::string> operations;
    for (const Declaration& declaration : PublicDeclarations()) {
        operations.push_back(declaration.text);
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
        rows.push_back(CellsOf(*line));
    }
    // The column titles and the rule below them.
    rows.erase(rows.begin(), rows.begin() + std::min<std::ptrdiff_t>(
                                                2, static_cast<std::ptrdiff_t>(rows.size())));
    return rows;
}
