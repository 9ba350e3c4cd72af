#include "simulator/settings/JsonLines.h"

#include <iterator>
#include <vector>

#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

/// Goes through a text and counts the lines that lie behind it.
class CountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* place, std::size_t& line) : m_place(place), m_line(&line) {}

    reference operator*() const { return *m_place; }
    CountingIterator& operator++()
    {
        *m_line += *m_place == '\n' ? 1 : 0;
        ++m_place;
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return m_place == other.m_place; }
    bool operator!=(const CountingIterator& other) const { return m_place != other.m_place; }

private:
    const char* m_place;
    std::size_t* m_line;
};

/// Notes where things begin. Brackets and the end of a name are reported before anything behind
/// them is read, so that the line is theirs.
class CLineFinder final : public nlohmann::json_sax<json>
{
public:
    explicit CLineFinder(const std::size_t& line) : m_line(line) {}

    JsonLines Take() { return std::move(m_lines); }

    bool null() override { return End(); }
    bool boolean(bool) override { return End(); }
    bool number_integer(number_integer_t) override { return End(); }
    bool number_unsigned(number_unsigned_t) override { return End(); }
    bool number_float(number_float_t, const string_t&) override { return End(); }
    bool string(string_t&) override { return End(); }
    bool binary(binary_t&) override { return End(); }
    bool start_object(std::size_t) override { return Open(false); }
    bool end_object() override { return Close(); }
    bool start_array(std::size_t) override { return Open(true); }
    bool end_array() override { return Close(); }
    bool key(string_t& name) override
    {
        m_open.back().place = '/' + name;
        const bool isNew = m_lines.places.emplace(Place(), m_line).second;
        if (!isNew && m_lines.twice == 0) {
            m_lines.twice = m_line;
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override
    {
        m_lines.fault = m_line;
        return false;
    }

private:
    struct Level
    {
        bool isList;
        std::size_t index;
        std::string place;
    };

    std::string Place() const
    {
        std::string place;
        for (const Level& level : m_open) {
            place += level.place;
        }
        return place;
    }
    bool Open(bool isList)
    {
        m_lines.places.emplace(Place(), m_line);
        m_open.push_back({isList, 0, isList ? "/0" : ""});
        return true;
    }
    bool Close()
    {
        m_open.pop_back();
        return End();
    }
    bool End()
    {
        if (!m_open.empty() && m_open.back().isList) {
            m_open.back().place = '/' + std::to_string(++m_open.back().index);
        }
        return true;
    }

    const std::size_t& m_line;
    JsonLines m_lines;
    std::vector<Level> m_open;
};

} // namespace

std::size_t JsonLines::LineOf(std::string place) const
{
    for (;;) {
        const auto found = places.find(place);
        if (found != places.end()) {
            return found->second;
        }
        if (place.empty()) {
            return 1;
        }
        place.erase(place.rfind('/'));
    }
}

JsonLines FindJsonLines(const std::string& text)
{
    std::size_t line = 1;
    CLineFinder finder(line);
    json::sax_parse(CountingIterator(text.data(), line),
                    CountingIterator(text.data() + text.size(), line), &finder);
    return finder.Take();
}
