#include "simulator/KeptValues.h"

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/JsonReader.h"
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

} // namespace

std::string ParseKeptValues(const std::string& text, KeptValues& values)
{
    if (text.empty()) {
        values.clear(); // made beforehand, to have an owner and a mode
        return {};
    }
    const JsonDocument parsed = ReadJson(text);
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
