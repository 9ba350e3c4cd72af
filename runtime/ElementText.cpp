#include "runtime/ElementText.h"

#include <sstream>

namespace {

std::string NumberText(double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

std::string TextAt(const BListC& list, int index)
{
    if (const BElementC* const element = list.GetElement(index)) {
        return TextOf(*element);
    }
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return std::to_string(list.GetInt64(index));
    case EBElementType::Double:
        return NumberText(list.GetDouble(index));
    default:
        return "nothing";
    }
}

std::string ListText(const BListC& list)
{
    std::string text;
    for (int index = 0; index < list.Size(); ++index) {
        text += (index == 0 ? "" : ", ") + TextAt(list, index);
    }
    return text;
}

std::string DictionaryText(const BDictionaryC& dictionary)
{
    std::string text;
    for (int index = 0; index < dictionary.Size(); ++index) {
        text += (index == 0 ? "" : ", ") + dictionary.KeyAt(index) + ": " +
                TextOf(*dictionary.ValueAt(index));
    }
    return text;
}

} // namespace

std::string TextOf(const BElementC& element)
{
    switch (element.Type()) {
    case EBElementType::Integer:
        return std::to_string(static_cast<const BAtomC&>(element).Int64Value());
    case EBElementType::Double:
        return NumberText(static_cast<const BAtomC&>(element).DoubleValue());
    case EBElementType::String:
        return static_cast<const BAtomC&>(element).StringValue();
    case EBElementType::List:
        return ListText(static_cast<const BListC&>(element));
    case EBElementType::Dictionary:
        return DictionaryText(static_cast<const BDictionaryC&>(element));
    case EBElementType::Nothing:
        break;
    }
    return "nothing";
}
