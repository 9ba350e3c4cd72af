#include "examples/nmea_sentence.h"

#include <charconv>
#include <cmath>
#include <sstream>

std::optional<CNmeaSentence> CNmeaSentence::Read(const std::string& line)
{
    const std::size_t star = line.find('*');
    if (line.empty() || line[0] != '$' || star == std::string::npos || star + 3 > line.size()) {
        return std::nullopt;
    }
    unsigned int told = 0;
    const char* const digits = line.data() + star + 1;
    if (std::from_chars(digits, digits + 2, told, 16).ptr != digits + 2) {
        return std::nullopt;
    }
    const std::string text = line.substr(1, star - 1);
    unsigned int checksum = 0;
    for (const char character : text) {
        checksum ^= static_cast<unsigned char>(character);
    }
    CNmeaSentence sentence;
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        sentence.m_fields.push_back(field);
    }
    const bool isWhole = checksum == told && !text.empty() && sentence.m_fields[0].size() == 5;
    return isWhole ? std::optional(sentence) : std::nullopt;
}

std::string CNmeaSentence::Type() const
{
    return m_fields[0].substr(2);
}

bool CNmeaSentence::Has(std::size_t index) const
{
    return index < m_fields.size() && !m_fields[index].empty();
}

char CNmeaSentence::Letter(std::size_t index) const
{
    return Has(index) ? m_fields[index][0] : ' ';
}

double CNmeaSentence::Number(std::size_t index, double otherwise) const
{
    double value = otherwise;
    if (Has(index)) {
        const std::string& field = m_fields[index];
        std::from_chars(field.data(), field.data() + field.size(), value);
    }
    return value;
}

double CNmeaSentence::Degrees(std::size_t index) const
{
    const double number = Number(index);
    const double degrees = std::floor(number / 100.0);
    const double value = degrees + (number - degrees * 100.0) / 60.0;
    const char side = Letter(index + 1);
    return side == 'S' || side == 'W' ? -value : value;
}
