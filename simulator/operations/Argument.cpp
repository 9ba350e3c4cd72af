#include "simulator/operations/Argument.h"

namespace {

constexpr int kMostTypesShown = 12;

const char* TypeName(EBElementType type)
{
    switch (type) {
    case EBElementType::Nothing:
        return "nothing";
    case EBElementType::Integer:
        return "int";
    case EBElementType::Double:
        return "double";
    case EBElementType::String:
        return "text";
    case EBElementType::List:
        return "list";
    case EBElementType::Dictionary:
        return "dictionary";
    }
    return "unknown";
}

} // namespace

const std::string& Argument<std::string>::Read(const BListC& list, int index)
{
    const std::string& text = list.GetString(index);
    if (text.size() > kLongestTextArgument) {
        throw UnusableArgument("a text of " + std::to_string(text.size()) +
                               " bytes is too long, allowed is " +
                               std::to_string(kLongestTextArgument));
    }
    return text;
}

std::string DescribeTypes(const BListC& list)
{
    std::vector<const char*> names;
    for (int index = 0; index < list.Size() && index < kMostTypesShown; ++index) {
        names.push_back(TypeName(list.TypeAt(index)));
    }
    if (list.Size() > kMostTypesShown) {
        names.push_back("...");
    }
    return DescribeTypes(names);
}

std::string DescribeTypes(const std::vector<const char*>& names)
{
    std::string text = "[";
    for (const char* name : names) {
        if (text.size() > 1) {
            text += ", ";
        }
        text += name;
    }
    return text + "]";
}
