#include "tests/doubles/Describe.h"

#include <array>
#include <charconv>

namespace Doubles {

namespace {

std::string DescribeAt(const BListC& list, int index)
{
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return "int " + std::to_string(list.GetInt64(index));
    case EBElementType::Double:
        return "double " + Describe(list.GetDouble(index));
    case EBElementType::Nothing:
        return "nothing";
    default:
        return Describe(*list.GetElement(index));
    }
}

std::string DescribeAtom(const BAtomC& atom)
{
    switch (atom.Type()) {
    case EBElementType::Integer:
        return "int " + std::to_string(atom.Int64Value());
    case EBElementType::Double:
        return "double " + Describe(atom.DoubleValue());
    case EBElementType::String:
        return "string \"" + atom.StringValue() + "\"";
    default:
        return "nothing";
    }
}

} // namespace

std::string Describe(double value)
{
    std::array<char, 32> text{};
    const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), end.ptr);
}

std::string Describe(const BElementC& element)
{
    if (const auto* atom = dynamic_cast<const BAtomC*>(&element)) {
        return DescribeAtom(*atom);
    }
    std::string text;
    if (const auto* list = dynamic_cast<const BListC*>(&element)) {
        for (int i = 0; i < list->Size(); ++i) {
            text += (i == 0 ? "" : ", ") + DescribeAt(*list, i);
        }
        return "[" + text + "]";
    }
    const auto& dictionary = dynamic_cast<const BDictionaryC&>(element);
    for (int i = 0; i < dictionary.Size(); ++i) {
        text +=
            (i == 0 ? "" : ", ") + dictionary.KeyAt(i) + ": " + Describe(*dictionary.ValueAt(i));
    }
    return "{" + text + "}";
}

} // namespace Doubles
