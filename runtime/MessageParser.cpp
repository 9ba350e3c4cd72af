#include "runtime/MessageParser.h"

#include <algorithm>
#include <cstring>

#include "runtime/BigEndian.h"

namespace {

/// How many bytes the head of a value takes: its kind, and the number or the length behind it. A
/// kind that is never used, or of an extension type, is its own head.
std::size_t HeadSize(unsigned kind)
{
    switch (kind) {
    case 0xc4: // bytes, a text, a whole number
    case 0xd9:
    case 0xcc:
    case 0xd0:
        return 2;
    case 0xc5: // bytes, a text, a list, a dictionary, a whole number
    case 0xda:
    case 0xdc:
    case 0xde:
    case 0xcd:
    case 0xd1:
        return 3;
    case 0xc6: // likewise, and a float
    case 0xdb:
    case 0xdd:
    case 0xdf:
    case 0xce:
    case 0xd2:
    case 0xca:
        return 5;
    case 0xcf: // a whole number, a double
    case 0xd3:
    case 0xcb:
        return 9;
    default:
        return 1;
    }
}

std::uint32_t Length(const char* head, std::size_t size)
{
    switch (size) {
    case 2:
        return static_cast<std::uint32_t>(BigEndian::Load<1>(head + 1));
    case 3:
        return static_cast<std::uint32_t>(BigEndian::Load<2>(head + 1));
    default:
        return static_cast<std::uint32_t>(BigEndian::Load<4>(head + 1));
    }
}

float LoadFloat(const char* bytes)
{
    const auto bits = static_cast<std::uint32_t>(BigEndian::Load<4>(bytes));
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

void MessageParserC::Init()
{
    m_levels.clear();
    m_isText = false;
    m_textLeft = 0;
    m_builder.Init();
}

MessageParserC::EResult MessageParserC::Parse(const char* bytes, std::size_t size, std::size_t most,
                                              std::size_t& parsed)
{
    parsed = 0;
    while (parsed < size) {
        bool isOver = true; // whether the value ends here
        if (!m_isText) {
            const unsigned kind = static_cast<unsigned char>(bytes[parsed]);
            const std::size_t headSize = HeadSize(kind);
            if (size - parsed < headSize) {
                return EResult::NeedMore;
            }
            StartValue();
            if (!ReadHead(kind, bytes + parsed, isOver)) {
                return EResult::Bad;
            }
            parsed += headSize;
            if (m_isText && std::uint64_t{parsed} + m_textLeft > most) {
                m_builder.RefuseLength();
                return EResult::Bad;
            }
        }
        if (m_isText) {
            const std::size_t count = std::min<std::size_t>(size - parsed, m_textLeft);
            if (!ReadText(bytes + parsed, count)) {
                return EResult::Bad;
            }
            parsed += count;
            isOver = !m_isText;
        }
        if (isOver && EndValue()) {
            return EResult::Complete;
        }
    }
    return EResult::NeedMore;
}

/// Prepares the builder for what comes next.
void MessageParserC::StartValue()
{
    if (m_levels.size() == 1) {
        m_builder.StartField();
    } else if (!m_levels.empty() && m_levels.back().isDictionary && m_levels.back().left % 2 == 0) {
        m_builder.StartKey();
    }
}

bool MessageParserC::ReadHead(unsigned kind, const char* head, bool& isOver)
{
    if (kind <= 0x7f) {
        return m_builder.TakePositive(kind);
    }
    if (kind >= 0xe0) {
        return m_builder.TakeNegative(static_cast<signed char>(kind));
    }
    if (kind <= 0x9f) {
        return StartLevel(kind & 0x0f, kind <= 0x8f, isOver);
    }
    const bool isShortText = kind <= 0xbf;
    if (isShortText || (kind >= 0xc4 && kind <= 0xc6) || (kind >= 0xd9 && kind <= 0xdb)) {
        StartText(isShortText ? kind & 0x1f : Length(head, HeadSize(kind)));
        return true;
    }
    if (kind >= 0xdc) {
        return StartLevel(Length(head, HeadSize(kind)), kind >= 0xde, isOver);
    }
    return ReadNumber(kind, head);
}

bool MessageParserC::ReadNumber(unsigned kind, const char* head)
{
    const char* const bytes = head + 1;
    switch (kind) {
    case 0xc0:
        return m_builder.TakeNothing();
    case 0xc2:
    case 0xc3:
        return m_builder.TakeTruth(kind == 0xc3);
    case 0xca:
        return m_builder.TakeDouble(static_cast<double>(LoadFloat(bytes)));
    case 0xcb:
        return m_builder.TakeDouble(BigEndian::LoadDouble(bytes));
    case 0xcc:
        return m_builder.TakePositive(BigEndian::Load<1>(bytes));
    case 0xcd:
        return m_builder.TakePositive(BigEndian::Load<2>(bytes));
    case 0xce:
        return m_builder.TakePositive(BigEndian::Load<4>(bytes));
    case 0xcf:
        return m_builder.TakePositive(BigEndian::Load<8>(bytes));
    case 0xd0:
        return m_builder.TakeNegative(static_cast<std::int8_t>(BigEndian::Load<1>(bytes)));
    case 0xd1:
        return m_builder.TakeNegative(static_cast<std::int16_t>(BigEndian::Load<2>(bytes)));
    case 0xd2:
        return m_builder.TakeNegative(static_cast<std::int32_t>(BigEndian::Load<4>(bytes)));
    case 0xd3:
        return m_builder.TakeNegative(static_cast<std::int64_t>(BigEndian::Load<8>(bytes)));
    case 0xc1:
        return m_builder.RefuseBytes();
    default:
        return m_builder.RefuseExtension();
    }
}

std::uint64_t MessageParserC::LeastMissing() const
{
    std::uint64_t missing = 0;
    for (const auto& level : m_levels) {
        missing += level.left - 1; // the one that is open, or comes next, counts once, at the end
    }
    return m_levels.empty() ? 0 : missing + (m_isText ? m_textLeft : 1);
}

void MessageParserC::StartText(std::uint32_t length)
{
    m_isText = true;
    m_textLength = length;
    m_textLeft = length;
}

bool MessageParserC::ReadText(const char* bytes, std::size_t count)
{
    const bool isWhole = count == m_textLength;
    m_textLeft -= static_cast<std::uint32_t>(count);
    m_isText = m_textLeft > 0;
    if (isWhole) {
        return m_builder.TakeText(bytes, count);
    }
    return m_builder.AddText(bytes, count, m_textLength) && (m_isText || m_builder.EndText());
}

bool MessageParserC::StartLevel(std::uint32_t count, bool isDictionary, bool& isOver)
{
    isOver = false;
    if (!(isDictionary ? m_builder.StartDictionary(count) : m_builder.StartList(count))) {
        return false;
    }
    m_levels.push_back({std::uint64_t{count} * (isDictionary ? 2U : 1U), isDictionary});
    isOver = count == 0;
    if (isOver) {
        // Nothing comes that could end it; as a value it ends like any other.
        m_levels.pop_back();
        m_builder.EndContainer();
    }
    return true;
}

/// Counts a value that has ended, and all that end with it.
///
/// @return true at the end of the message.
bool MessageParserC::EndValue()
{
    while (!m_levels.empty()) {
        --m_levels.back().left;
        if (m_levels.back().left > 0) {
            return false;
        }
        m_levels.pop_back();
        m_builder.EndContainer();
    }
    return true;
}
