#include "tools/navctl/operations/ValueText.h"

#include <charconv>

std::string NumberText(double value)
{
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return std::string(text, end);
}

std::string ValueText(const Json& value)
{
    if (value.is_null()) {
        return "none";
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.contains("text")) {
        return ValueText(value["text"]);
    }
    if (value.is_number_float()) {
        return NumberText(value.get<double>());
    }
    if (!value.is_structured()) {
        return value.dump();
    }
    std::string text;
    for (const Json& element : value) {
        text += (text.empty() ? "" : " ") + ValueText(element);
    }
    return text;
}
