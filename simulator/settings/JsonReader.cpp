#include "simulator/settings/JsonReader.h"

#include <utility>
#include <vector>

#include "simulator/aside/LongWork.h"

using nlohmann::json;

namespace {

/// Makes a document of what the parser finds. (The library's own way to look at a text while it is
/// read takes a time that grows with the square of the number of objects in a list.)
class CDocumentMaker final : public nlohmann::json_sax<json>
{
public:
    explicit CDocumentMaker(const JsonLimits& limits) : m_limits(limits) {}

    JsonDocument Take() { return std::move(m_document); }

    bool null() override { return Add(nullptr); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(number_integer_t value) override { return Add(value); }
    bool number_unsigned(number_unsigned_t value) override { return Add(value); }
    bool number_float(number_float_t value, const string_t&) override { return Add(value); }
    bool string(string_t& value) override { return Add(std::move(value)); }
    bool binary(binary_t& value) override { return Add(std::move(value)); }
    bool start_object(std::size_t) override { return Open(json::object()); }
    bool end_object() override { return End(); }
    bool start_array(std::size_t) override { return Open(json::array()); }
    bool end_array() override { return End(); }
    bool key(string_t& name) override
    {
        json& object = *m_open.back();
        if (!m_document.twice && object.contains(name)) {
            m_document.twice = name;
        }
        m_place = &object[name];
        return IsWithinLimits();
    }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override
    {
        return false;
    }

private:
    bool IsWithinLimits()
    {
        EndWorkIfStopped();
        if (m_open.size() > m_limits.nesting) {
            m_document.excess = JsonDocument::EExcess::Nesting;
        } else if (++m_values > m_limits.values) {
            m_document.excess = JsonDocument::EExcess::Values;
        }
        return m_document.excess == JsonDocument::EExcess::None;
    }
    bool Add(json value)
    {
        m_last = &Place();
        *m_last = std::move(value);
        return IsWithinLimits();
    }
    bool Open(json empty)
    {
        const bool goesOn = Add(std::move(empty));
        m_open.push_back(m_last);
        return goesOn;
    }
    bool End()
    {
        m_open.pop_back();
        return true;
    }
    /// Where the next value belongs. What is open stays where it is: nothing is added beside it.
    json& Place()
    {
        if (m_open.empty()) {
            return m_document.value;
        }
        json& open = *m_open.back();
        return open.is_array() ? open.emplace_back() : *m_place;
    }

    JsonLimits m_limits;
    JsonDocument m_document;
    std::vector<json*> m_open; ///< the lists and objects that have begun, the innermost last
    json* m_place = nullptr;   ///< for the value of the last name
    json* m_last = nullptr;
    std::size_t m_values = 0;
};

} // namespace

JsonDocument ReadJson(const std::string& text, const JsonLimits& limits)
{
    CDocumentMaker maker(limits);
    // The parser takes a byte 0 for the end.
    const bool isRead = text.find('\0') == std::string::npos && json::sax_parse(text, &maker);
    JsonDocument document = maker.Take();
    if (!isRead) {
        document.value = json::value_t::discarded;
    }
    return document;
}
