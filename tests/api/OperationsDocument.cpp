#include "tests/api/OperationsDocument.h"

#include <gtest/gtest.h>

#include "tests/api/HeaderText.h"

std::map<std::string, Cells> DocumentedOperations()
{
    std::map<std::string, Cells> operations;
    const std::string document = SourceFile("docs/operations.md");
    for (const char* heading :
         {"## Steering and navigation", "## Waylines and waypoints",
          "## Offsets, nudge and implement", "## Position feed", "## Controller tuning"}) {
        for (const Cells& cells : TableBelow(document, heading)) {
            EXPECT_EQ(cells.size(), static_cast<std::size_t>(kColumns)) << cells[0];
            EXPECT_TRUE(operations.emplace(cells[kOperation], cells).second) << cells[0];
        }
    }
    return operations;
}

std::vector<Cells> DocumentedEvents()
{
    std::vector<Cells> events = TableBelow(SourceFile("docs/operations.md"), "## Events");
    for (const Cells& cells : events) {
        EXPECT_EQ(cells.size(), static_cast<std::size_t>(kEventColumns)) << cells[0];
    }
    return events;
}

std::string FirstWord(const std::string& text)
{
    return text.substr(0, text.find_first_of(" ,:"));
}

Cells Elements(const std::string& list)
{
    Cells elements;
    std::string element;
    int depth = 0;
    for (const char character : list.substr(1, list.size() - 2)) {
        depth += std::string("<{[(").find(character) != std::string::npos ? 1 : 0;
        depth -= std::string(">}])").find(character) != std::string::npos ? 1 : 0;
        if (character == ',' && depth == 0) {
            elements.push_back(element);
            element.clear();
        } else if (character != ' ' || !element.empty()) {
            element += character;
        }
    }
    if (!element.empty()) {
        elements.push_back(element);
    }
    return elements;
}

std::string Joined(const Cells& parts)
{
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

bool Parameter::IsOut() const
{
    return type.back() == '&' && type.rfind("const ", 0) != 0;
}

std::string Parameter::WireType() const
{
    if (type == "float" || type == "const Core::Maths::Vector3<double>&") {
        return "double";
    }
    const bool isNumbered = type == "bool" || type.rfind("Kestrove::E", 0) == 0;
    return isNumbered ? "int" : type;
}

std::vector<Parameter> ParametersOf(const std::string& operation)
{
    std::vector<Parameter> parameters;
    for (const std::string& text : Elements(operation.substr(operation.find('(')))) {
        const std::size_t blank = text.rfind(' ');
        parameters.push_back({text.substr(0, blank), text.substr(blank + 1)});
    }
    return parameters;
}

Cells OutParametersOf(const std::string& operation)
{
    Cells names;
    for (const Parameter& parameter : ParametersOf(operation)) {
        if (parameter.IsOut()) {
            names.push_back(parameter.name);
        }
    }
    return names;
}

std::string ResultTypeOf(const std::string& operation)
{
    return operation.substr(0, operation.rfind(' ', operation.find('(')));
}
