#include "platform/ObjectStore.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "platform/Utilities.h"

namespace {

template <typename Number>
void Append(std::string& text, Number value)
{
    // Room for the longest double, "-2.2250738585072014e-308", and every int.
    std::array<char, 32> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

template <typename Number>
void AppendPair(std::string& text, unsigned int tag, Number value)
{
    if (!text.empty()) {
        text += ';';
    }
    Append(text, tag);
    text += '=';
    Append(text, value);
}

/// Reads "tag=value" into `values`; false when it is not such a pair or the tag is there already.
bool TakePair(std::string_view pair, std::map<unsigned int, std::string>& values)
{
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos) {
        return false;
    }
    unsigned int tag = 0;
    const auto result = std::from_chars(pair.data(), pair.data() + equals, tag);
    const bool isTag = result.ec == std::errc() && result.ptr == pair.data() + equals;
    return isTag && values.emplace(tag, pair.substr(equals + 1)).second;
}

/// A NaN has no sign in the text.
double WithoutNanSign(double value)
{
    return std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

} // namespace

namespace Core::IO {

ObjectStore::ObjectStore() = default;
ObjectStore::~ObjectStore() = default;

void ObjectStore::SetOutputMode()
{
    m_reading = false;
    m_text.clear();
    m_values.clear();
}

bool ObjectStore::SetInputMode(const std::string& text)
{
    m_reading = true;
    m_text = text;
    m_values.clear();
    std::string_view remaining(text);
    while (!remaining.empty()) {
        const std::size_t end = remaining.find(';');
        const bool last = end == std::string_view::npos;
        // A separator promises a further pair.
        if (!TakePair(remaining.substr(0, end), m_values) || end + 1 == remaining.size()) {
            m_text.clear();
            m_values.clear();
            return false;
        }
        remaining = last ? std::string_view() : remaining.substr(end + 1);
    }
    return true;
}

bool ObjectStore::ProcessDouble(double& value, unsigned int tag)
{
    if (!m_reading) {
        AppendPair(m_text, tag, WithoutNanSign(value));
        return true;
    }
    const auto found = m_values.find(tag);
    return found != m_values.end() && Utilities::ParseDouble(found->second, value) != 0;
}

bool ObjectStore::ProcessInt(int& value, unsigned int tag)
{
    if (!m_reading) {
        AppendPair(m_text, tag, value);
        return true;
    }
    const auto found = m_values.find(tag);
    return found != m_values.end() && Utilities::ParseInt(found->second, value) != 0;
}

std::string ObjectStore::AsString() const
{
    return m_text;
}

} // namespace Core::IO
