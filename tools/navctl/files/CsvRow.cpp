#include "tools/navctl/files/CsvRow.h"

#include <cmath>

#include "platform/Utilities.h"
#include "tools/fieldfiles/FileBytes.h"

namespace {

constexpr const char* kBlanksAroundValues = " \t";

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kBlanksAroundValues);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanksAroundValues) - first + 1);
}

/// Reads a value in double quotes.
///
/// @param place where the first double quote is; afterwards behind the last one.
bool ReadQuoted(const std::string& line, std::size_t& place, std::string& value)
{
    for (++place; place < line.size(); ++place) {
        if (line[place] != '"') {
            value += line[place];
        } else if (place + 1 < line.size() && line[place + 1] == '"') {
            value += '"';
            ++place;
        } else {
            ++place;
            return true;
        }
    }
    return false;
}

bool TakeEnding(std::string& name, const std::string& ending)
{
    if (name.size() <= ending.size() ||
        name.compare(name.size() - ending.size(), ending.size(), ending) != 0) {
        return false;
    }
    name.resize(name.size() - ending.size());
    return true;
}

} // namespace

bool SplitCsvLine(const std::string& line, std::vector<std::string>& values)
{
    values.clear();
    std::size_t place = 0;
    while (true) {
        std::string value;
        const std::size_t start =
            std::min(line.find_first_not_of(kBlanksAroundValues, place), line.size());
        if (start < line.size() && line[start] == '"') {
            place = start;
            if (!ReadQuoted(line, place, value)) {
                return false;
            }
            place = std::min(line.find_first_not_of(kBlanksAroundValues, place), line.size());
            if (place < line.size() && line[place] != ',') {
                return false;
            }
        } else {
            const std::size_t end = std::min(line.find(',', place), line.size());
            value = Trimmed(line.substr(place, end - place));
            place = end;
        }
        values.push_back(std::move(value));
        if (place == line.size()) {
            return true;
        }
        ++place;
    }
}

std::string CsvValue(const std::string& value)
{
    if (value.find_first_of(",\"\r\n") == std::string::npos) {
        return value;
    }
    std::string quoted = "\"";
    for (const char character : value) {
        quoted += character == '"' ? std::string("\"\"") : std::string(1, character);
    }
    return quoted + '"';
}

std::optional<double> FiniteNumber(const std::string& text)
{
    double value = 0.0;
    if (Core::Utilities::ParseDouble(text, value) == 0 || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

CCsvHeader::CCsvHeader(const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        Column column{name, LowerCase(name)};
        column.degrees = TakeEnding(column.bareName, "_deg");
        for (const char* unit : {"_mps", "_radps", "_rad", "_m", "_s"}) {
            if (TakeEnding(column.bareName, unit)) {
                break;
            }
        }
        m_columns.push_back(std::move(column));
    }
}

std::optional<CsvColumn> CCsvHeader::Find(std::initializer_list<const char*> names)
{
    for (const char* name : names) {
        for (std::size_t index = 0; index < m_columns.size(); ++index) {
            if (m_columns[index].bareName == name) {
                m_columns[index].used = true;
                return CsvColumn{index, m_columns[index].degrees};
            }
        }
    }
    return std::nullopt;
}

std::vector<std::string> CCsvHeader::Unused() const
{
    std::vector<std::string> names;
    for (const Column& column : m_columns) {
        if (!column.used) {
            names.push_back(column.name);
        }
    }
    return names;
}

std::string SeparatorHint(const std::string& line)
{
    if (line.find(',') != std::string::npos) {
        return {};
    }
    if (line.find(';') != std::string::npos) {
        return "; values are separated by commas, not by semicolons";
    }
    if (line.find('\t') != std::string::npos) {
        return "; values are separated by commas, not by tabs";
    }
    return {};
}
