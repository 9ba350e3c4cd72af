#include "simulator/KeptValues.h"

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "simulator/ServiceLog.h"

namespace {

constexpr const char* kSettingsKey = "settings";

std::string Shown(const nlohmann::json& value)
{
    if (value.is_structured()) {
        return value.is_array() ? "a list" : "an object";
    }
    return Printable(value.dump());
}

/// A document, and the first name in it that an object has twice: there the parser takes the last
/// value, other readers the first, and whoever has edited the file may mean either.
struct Document
{
    nlohmann::json value; ///< discarded where the text is none
    std::optional<std::string> twice;
};

Document Parsed(const std::string& text)
{
    Document document;
    std::vector<std::set<std::string>> open; // the names in each object that has begun
    const auto look = [&](int, nlohmann::json::parse_event_t event, const nlohmann::json& name) {
        if (event == nlohmann::json::parse_event_t::object_start) {
            open.emplace_back();
        } else if (event == nlohmann::json::parse_event_t::object_end) {
            open.pop_back();
        } else if (event == nlohmann::json::parse_event_t::key &&
                   !open.back().insert(name.get<std::string>()).second && !document.twice) {
            document.twice = name.get<std::string>();
        }
        return true;
    };
    document.value = nlohmann::json::parse(text, look, false);
    return document;
}

} // namespace

std::string ParseKeptValues(const std::string& text, KeptValues& values)
{
    if (text.empty()) {
        values.clear(); // made beforehand, to have an owner and a mode
        return {};
    }
    // The parser takes a byte 0 for the end.
    const bool isText = text.find('\0') == std::string::npos;
    const Document parsed = isText ? Parsed(text) : Document();
    const nlohmann::json& document = parsed.value;
    if (!document.is_object() || !document.contains(kSettingsKey) ||
        !document[kSettingsKey].is_object()) {
        return "it is no JSON object with an object \"settings\"";
    }
    if (parsed.twice) {
        return "\"" + Printable(*parsed.twice) + "\" is there twice";
    }
    KeptValues found;
    for (const auto& entry : document[kSettingsKey].items()) {
        if (entry.value().is_boolean()) {
            found[entry.key()] = entry.value().get<bool>();
        } else if (entry.value().is_number()) {
            found[entry.key()] = entry.value().get<double>();
        } else {
            return "\"" + Printable(entry.key()) + "\" is " + Shown(entry.value()) +
                   ", allowed is a number, true or false";
        }
    }
    values = std::move(found);
    return {};
}

std::string KeptValuesText(const KeptValues& values)
{
    nlohmann::json settings = nlohmann::json::object();
    for (const auto& [name, value] : values) {
        std::visit([&entry = settings[name]](auto plain) { entry = plain; }, value);
    }
    return nlohmann::json{{kSettingsKey, settings}}.dump(2) + "\n";
}
