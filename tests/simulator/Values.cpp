#include "tests/simulator/Values.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

/// Reads values one after the other. The texts stand in the tests, so that nothing in them is
/// wrong.
class CReader
{
public:
    explicit CReader(const std::string& text) : m_text(text) {}

    std::unique_ptr<BListC> ReadList()
    {
        auto list = std::make_unique<BListC>(nullptr);
        ++m_at;
        for (Skip(); m_text[m_at] != ']'; Skip()) {
            ReadInto(*list);
        }
        ++m_at;
        return list;
    }

private:
    void Skip()
    {
        while (m_text[m_at] == ' ' || m_text[m_at] == ',') {
            ++m_at;
        }
    }

    void ReadInto(BListC& list)
    {
        if (m_text[m_at] == '[') {
            return list.Add(ReadList().release());
        }
        if (m_text[m_at] == '\'') {
            return list.AddString(ReadText());
        }
        const std::string word = ReadWord();
        if (word == "nil") {
            list.AddNothing();
        } else if (word.find_first_of(".enif") != std::string::npos) {
            list.AddDouble(std::strtod(word.c_str(), nullptr));
        } else {
            list.AddInt64(std::strtoll(word.c_str(), nullptr, 10));
        }
    }

    std::string ReadText()
    {
        const std::size_t end = m_text.find('\'', m_at + 1);
        const std::string text = m_text.substr(m_at + 1, end - m_at - 1);
        m_at = end + 1;
        return text;
    }

    std::string ReadWord()
    {
        const std::size_t end = m_text.find_first_of(", ]", m_at);
        const std::string word = m_text.substr(m_at, end - m_at);
        m_at = end;
        return word;
    }

    const std::string& m_text;
    std::size_t m_at = 0;
};

std::string TextOfDouble(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", std::abs(value) < 1e-12 ? 0.0 : value);
    const std::string shown = text;
    return shown.find_first_of(".enif") == std::string::npos ? shown + ".0" : shown;
}

std::string TextOfListElement(const BListC& list, int index)
{
    switch (list.TypeAt(index)) {
    case EBElementType::Integer:
        return std::to_string(list.GetInt64(index));
    case EBElementType::Double:
        return TextOfDouble(list.GetDouble(index));
    case EBElementType::String:
        return "'" + list.GetString(index) + "'";
    default:
        return TextOf(list.GetElement(index));
    }
}

} // namespace

std::unique_ptr<BListC> ListFrom(const std::string& text)
{
    return CReader(text).ReadList();
}

std::string TextOf(const BElementC* value)
{
    if (value == nullptr || value->Type() == EBElementType::Nothing) {
        return "nil";
    }
    if (const auto* list = dynamic_cast<const BListC*>(value)) {
        std::string text = "[";
        for (int index = 0; index < list->Size(); ++index) {
            text += (index > 0 ? ", " : "") + TextOfListElement(*list, index);
        }
        return text + "]";
    }
    BListC single(nullptr);
    const auto& atom = dynamic_cast<const BAtomC&>(*value);
    if (atom.Type() == EBElementType::Integer) {
        single.AddInt64(atom.Int64Value());
    } else if (atom.Type() == EBElementType::Double) {
        single.AddDouble(atom.DoubleValue());
    } else {
        single.AddString(atom.StringValue());
    }
    return TextOfListElement(single, 0);
}
