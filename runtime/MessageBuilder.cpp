#include "runtime/MessageBuilder.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

/// About what a value costs that is a node of its own.
constexpr std::size_t kNodeBytes = 96;

constexpr std::uint32_t kNotificationFields = 3;
constexpr std::uint32_t kRequestFields = 4; // and of a response

} // namespace

void MessageBuilderC::init()
{
    m_message = MessageC();
    m_begun.reset();
    m_depth = 0;
    m_elements = 0;
    m_field = EField::Before;
    m_inKey = false;
}

bool MessageBuilderC::Refuse(const char* problem)
{
    m_problem = problem;
    return false;
}

void MessageBuilderC::parse_error(std::size_t /*parsedOffset*/, std::size_t /*errorOffset*/)
{
    m_problem = "bytes that are no MessagePack";
}

MessageBuilderC::EField MessageBuilderC::NextField() const
{
    const MessageC::EKind kind = m_message.kind;
    switch (m_field) {
    case EField::Before:
        return EField::Kind;
    case EField::Kind:
        return kind == MessageC::EKind::Notification ? EField::Method : EField::Number;
    case EField::Number:
        return kind == MessageC::EKind::Response ? EField::Error : EField::Method;
    case EField::Method:
        return EField::Arguments;
    default:
        return EField::Result;
    }
}

bool MessageBuilderC::start_array_item()
{
    if (m_depth == 0) {
        m_field = NextField();
    }
    return true;
}

bool MessageBuilderC::visit_boolean(bool value)
{
    if (m_depth == 0 && WantsNumber()) {
        return Refuse("a message whose kind or number is a truth value");
    }
    return TakeInteger(value ? 1 : 0);
}

bool MessageBuilderC::visit_positive_integer(std::uint64_t value)
{
    if (m_depth == 0 && WantsNumber()) {
        return TakeNumber(value);
    }
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        // Beyond the whole numbers that a value can hold; the double is the nearest.
        return visit_float64(static_cast<double>(value));
    }
    return TakeInteger(static_cast<std::int64_t>(value));
}

bool MessageBuilderC::visit_negative_integer(std::int64_t value)
{
    if (m_depth == 0 && WantsNumber()) {
        // A response under a negative number answers nothing that was asked and is dropped by its
        // number like any other; a request under one could not be answered.
        if (value < 0 && m_message.kind != MessageC::EKind::Response) {
            return Refuse("a message whose kind or number is negative");
        }
        return TakeNumber(static_cast<std::uint64_t>(value));
    }
    return TakeInteger(value);
}

bool MessageBuilderC::TakeNumber(std::uint64_t value)
{
    if (m_field == EField::Number) {
        m_message.id = value;
        return true;
    }
    if (value > 2) {
        return Refuse("a message of an unknown kind");
    }
    m_message.kind = static_cast<MessageC::EKind>(value);
    const bool isNotification = m_message.kind == MessageC::EKind::Notification;
    return m_fieldCount == (isNotification ? kNotificationFields : kRequestFields) ||
           Refuse("a message with the wrong number of fields");
}

bool MessageBuilderC::TakeInteger(std::int64_t value)
{
    if (m_depth > 0 && m_open[m_depth - 1].list != nullptr) {
        m_message.memory += kSlotBytes;
        m_open[m_depth - 1].list->AddInt64(value);
        return true;
    }
    return TakeElement(std::make_unique<BAtomC>(value));
}

bool MessageBuilderC::visit_float64(double value)
{
    if (m_depth > 0 && m_open[m_depth - 1].list != nullptr) {
        m_message.memory += kSlotBytes;
        m_open[m_depth - 1].list->AddDouble(value);
        return true;
    }
    return TakeElement(std::make_unique<BAtomC>(value));
}

bool MessageBuilderC::visit_str(const char* text, std::uint32_t length)
{
    // The parser gives a null pointer with an empty text.
    if (m_depth == 0 && m_field == EField::Method) {
        m_message.method.assign(length == 0 ? "" : text, length);
        return true;
    }
    if (m_inKey) {
        m_key.assign(length == 0 ? "" : text, length);
        m_inKey = false;
        return true;
    }
    m_message.memory += length;
    return TakeElement(std::make_unique<BAtomC>(std::string(length == 0 ? "" : text, length)));
}

bool MessageBuilderC::visit_ext(const char* /*bytes*/, std::uint32_t /*length*/)
{
    return Refuse("a value of an extension type");
}

bool MessageBuilderC::TakeElement(std::unique_ptr<BElementC> element)
{
    if (m_inKey) {
        return Refuse("a dictionary with a key that is no text");
    }
    if (m_depth == 0) {
        return TakeFieldValue(std::move(element));
    }
    m_message.memory += kNodeBytes;
    const Container& container = m_open[m_depth - 1];
    if (container.list != nullptr) {
        container.list->Add(element.release());
    } else {
        m_message.memory += m_key.size();
        container.dictionary->Add(m_key, element.release());
    }
    return true;
}

bool MessageBuilderC::TakeFieldValue(std::unique_ptr<BElementC> element)
{
    switch (m_field) {
    case EField::Error:
        m_message.error = std::move(element);
        return true;
    case EField::Result:
        m_message.result = std::move(element);
        return true;
    case EField::Arguments:
        if (dynamic_cast<BListC*>(element.get()) == nullptr) {
            return Refuse("a message whose arguments are no list");
        }
        m_message.arguments.reset(static_cast<BListC*>(element.release()));
        return true;
    case EField::Method:
        return Refuse("a message whose name is no text");
    case EField::Before:
        return Refuse("a value that is no message");
    default:
        return Refuse("a message whose kind or number is no whole number");
    }
}

bool MessageBuilderC::CountElements(std::size_t count)
{
    m_elements += count;
    return m_elements <= kMostElements || Refuse("a message of more than 4194304 elements");
}

bool MessageBuilderC::Open(std::unique_ptr<BElementC> element, Container container)
{
    if (m_depth == kDeepestNesting) {
        return Refuse("a message nested deeper than 64 levels");
    }
    // Placed before it is filled, so that whatever comes later, it has an owner.
    if (!TakeElement(std::move(element))) {
        return false;
    }
    m_open[m_depth] = container;
    ++m_depth;
    return true;
}

bool MessageBuilderC::start_array(std::uint32_t count)
{
    if (m_depth == 0 && m_field == EField::Before) {
        m_fieldCount = count;
        return count == kNotificationFields || count == kRequestFields ||
               Refuse("a list that is no message");
    }
    auto list = m_begun == nullptr ? std::make_unique<BListC>(nullptr) : std::move(m_begun);
    BListC* const opened = list.get();
    const auto begun = static_cast<std::size_t>(opened->Size());
    m_message.memory += kSlotBytes * begun;
    if (!CountElements(begun + count) || !Open(std::move(list), {opened, nullptr})) {
        return false;
    }
    const std::size_t room = std::min<std::size_t>(count, m_roomAhead);
    m_roomAhead -= room;
    opened->Reserve(static_cast<int>(begun + room));
    return true;
}

bool MessageBuilderC::start_map(std::uint32_t count)
{
    auto dictionary = std::make_unique<BDictionaryC>(nullptr);
    BDictionaryC* const opened = dictionary.get();
    return CountElements(count) && Open(std::move(dictionary), {nullptr, opened});
}

bool MessageBuilderC::end_array()
{
    if (m_depth > 0) {
        --m_depth;
    }
    return true;
}

bool MessageBuilderC::start_map_key()
{
    m_inKey = true;
    return true;
}
