#include "testing/Value.h"

#include <array>
#include <charconv>
#include <utility>

namespace Kestrove::Testing {
namespace {

std::string ShortestText(double value)
{
    std::array<char, 32> text{};
    const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), end.ptr);
}

std::string Quoted(const std::string& text)
{
    const char* const digits = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte >= 0x7f) {
            quoted += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
        } else if (character == '"' || character == '\\') {
            quoted += {'\\', character};
        } else {
            quoted += character;
        }
    }
    return quoted + '"';
}

std::string DescribeElement(const BListC& list, int index)
{
    if (const BElementC* const element = list.GetElement(index)) {
        return Describe(*element);
    }
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return "int " + std::to_string(list.GetInt64(index));
    case EBElementType::Double:
        return "double " + ShortestText(list.GetDouble(index));
    default:
        return "nothing";
    }
}

std::string DescribeList(const BListC& list)
{
    std::string text = "[";
    for (int index = 0; index < list.Size(); ++index) {
        text += (index == 0 ? "" : ", ") + DescribeElement(list, index);
    }
    return text + ']';
}

std::string DescribeDictionary(const BDictionaryC& dictionary)
{
    std::string text = "{";
    for (int index = 0; index < dictionary.Size(); ++index) {
        text += (index == 0 ? "" : ", ") + Quoted(dictionary.KeyAt(index)) + ": " +
                Describe(*dictionary.ValueAt(index));
    }
    return text + '}';
}

std::unique_ptr<BElementC> CopyElement(const BElementC& element)
{
    if (const auto* const list = dynamic_cast<const BListC*>(&element)) {
        return Copy(*list);
    }
    if (const auto* const dictionary = dynamic_cast<const BDictionaryC*>(&element)) {
        auto copy = std::make_unique<BDictionaryC>(nullptr);
        for (int index = 0; index < dictionary->Size(); ++index) {
            copy->Add(dictionary->KeyAt(index), CopyElement(*dictionary->ValueAt(index)).release());
        }
        return copy;
    }
    const auto& atom = static_cast<const BAtomC&>(element);
    switch (atom.Type()) {
    case EBElementType::Integer:
        return std::make_unique<BAtomC>(atom.Int64Value());
    case EBElementType::Double:
        return std::make_unique<BAtomC>(atom.DoubleValue());
    case EBElementType::String:
        return std::make_unique<BAtomC>(atom.StringValue());
    default:
        return std::make_unique<BAtomC>();
    }
}

} // namespace

CValue::CValue(int value) : m_type(EBElementType::Integer), m_integer(value) {}
CValue::CValue(double value) : m_type(EBElementType::Double), m_double(value) {}
CValue::CValue(const char* value) : CValue(std::string(value)) {}
CValue::CValue(std::string value) : m_type(EBElementType::String), m_string(std::move(value)) {}
CValue::CValue(std::initializer_list<CValue> elements)
    : m_type(EBElementType::List), m_elements(elements)
{
}

CValue CValue::List(std::vector<CValue> elements)
{
    CValue list(EBElementType::List);
    list.m_elements = std::move(elements);
    return list;
}

CValue CValue::Nothing()
{
    return CValue(EBElementType::Nothing);
}

std::unique_ptr<BElementC> CValue::ToElement() const
{
    switch (m_type) {
    case EBElementType::Integer:
        return std::make_unique<BAtomC>(m_integer);
    case EBElementType::Double:
        return std::make_unique<BAtomC>(m_double);
    case EBElementType::String:
        return std::make_unique<BAtomC>(m_string);
    case EBElementType::List:
        return ToList(m_elements);
    default:
        return std::make_unique<BAtomC>();
    }
}

std::unique_ptr<BListC> ToList(const std::vector<CValue>& elements)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (const CValue& element : elements) {
        list->Add(element.ToElement().release());
    }
    return list;
}

std::string Describe(const BElementC& value)
{
    switch (value.Type()) {
    case EBElementType::Integer:
        return "int " + std::to_string(static_cast<const BAtomC&>(value).Int64Value());
    case EBElementType::Double:
        return "double " + ShortestText(static_cast<const BAtomC&>(value).DoubleValue());
    case EBElementType::String:
        return Quoted(static_cast<const BAtomC&>(value).StringValue());
    case EBElementType::List:
        return DescribeList(static_cast<const BListC&>(value));
    case EBElementType::Dictionary:
        return DescribeDictionary(static_cast<const BDictionaryC&>(value));
    default:
        return "nothing";
    }
}

std::unique_ptr<BListC> Copy(const BListC& list)
{
    auto copy = std::make_unique<BListC>(nullptr);
    copy->Reserve(list.Size());
    for (int index = 0; index < list.Size(); ++index) {
        if (const BElementC* const element = list.GetElement(index)) {
            copy->Add(CopyElement(*element).release());
        } else if (list.TypeAt(index) == EBElementType::Integer) {
            copy->AddInt64(list.GetInt64(index));
        } else if (list.TypeAt(index) == EBElementType::Double) {
            copy->AddDouble(list.GetDouble(index));
        } else {
            copy->AddNothing();
        }
    }
    return copy;
}

} // namespace Kestrove::Testing
