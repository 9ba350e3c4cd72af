#include "runtime/MessageBuilder.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "runtime/ListAccess.h"
#include "runtime/MessageCost.h"

namespace {

constexpr std::uint32_t kNotificationFields = 3;
constexpr std::uint32_t kRequestFields = 4; // and of a response

/// By how much rooms grow at once: while the last move of the longest list goes on, its first part,
/// the whole and the texts that came with it fit into what a message may take.
constexpr std::size_t kGrowth = 32;

static_assert(MessageBuilderC::kSlotBytes == sizeof(BListAccessC::Slot));

} // namespace

std::size_t MessageBuilderC::RoomFor(std::size_t needed, std::size_t announced)
{
    const std::size_t last = announced / kGrowth; // behind it comes the last move
    return needed > last ? std::max(needed, announced) : std::min(needed * kGrowth, last);
}

void MessageBuilderC::Init()
{
    m_message = MessageC();
    m_begun.reset();
    m_open.clear();
    m_elements = 0;
    m_held = 0;
    m_field = EField::Before;
    m_inKey = false;
    m_key = std::string();
    m_text = std::string();
}

bool MessageBuilderC::Refuse(const char* problem)
{
    m_problem = problem;
    return false;
}

bool MessageBuilderC::Claim(std::size_t bytes)
{
    if (bytes > kMostMemory - m_held) {
        return Refuse("a message whose values take more than 96 MiB");
    }
    m_held += bytes;
    return true;
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

bool MessageBuilderC::TakeNothing()
{
    if (OpenList() != nullptr && !m_inKey) {
        m_message.memory += kSlotBytes;
        return MakePlace(m_open.back()) && (OpenList()->Add(nullptr), true);
    }
    return TakeNode(nullptr);
}

bool MessageBuilderC::TakeTruth(bool value)
{
    if (WantsNumber()) {
        return Refuse("a message whose kind or number is a truth value");
    }
    return TakeInteger(value ? 1 : 0);
}

bool MessageBuilderC::TakePositive(std::uint64_t value)
{
    if (WantsNumber()) {
        return TakeNumber(value);
    }
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        // Beyond the whole numbers that a value can hold; the double is the nearest.
        return TakeDouble(static_cast<double>(value));
    }
    return TakeInteger(static_cast<std::int64_t>(value));
}

bool MessageBuilderC::TakeNegative(std::int64_t value)
{
    if (WantsNumber()) {
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
    if (BListC* const list = OpenList()) {
        m_message.memory += kSlotBytes;
        return MakePlace(m_open.back()) && (BListAccessC::AddInteger(*list, value), true);
    }
    return Claim(MessageCost::kAtomBytes) && TakeNode(std::make_unique<BAtomC>(value));
}

bool MessageBuilderC::TakeDouble(double value)
{
    if (BListC* const list = OpenList()) {
        m_message.memory += kSlotBytes;
        return MakePlace(m_open.back()) && (BListAccessC::AddDouble(*list, value), true);
    }
    return Claim(MessageCost::kAtomBytes) && TakeNode(std::make_unique<BAtomC>(value));
}

/// Makes room for one more element.
bool MessageBuilderC::MakePlace(Container& container)
{
    const bool isList = container.list != nullptr;
    const std::size_t size =
        static_cast<std::size_t>(isList ? container.list->Size() : container.dictionary->Size());
    const std::size_t room = isList ? BListAccessC::SlotsOf(*container.list).capacity()
                                    : BListAccessC::RoomOf(*container.dictionary);
    return size < room || MakeRoom(container, RoomFor(size + 1, container.announced));
}

bool MessageBuilderC::MakeRoom(Container& container, std::size_t room)
{
    const bool isList = container.list != nullptr;
    const std::size_t bytesEach = isList ? kSlotBytes : MessageCost::kEntryBytes;
    const std::size_t before = isList ? BListAccessC::SlotsOf(*container.list).capacity()
                                      : BListAccessC::RoomOf(*container.dictionary);
    // For a moment there are both.
    if (room <= before || !Claim(MessageCost::RoomBytes(room, bytesEach))) {
        return room <= before;
    }
    if (isList) {
        container.list->Reserve(static_cast<int>(room));
    } else {
        BListAccessC::Reserve(*container.dictionary, room);
    }
    m_held -= MessageCost::RoomBytes(before, bytesEach);
    return true;
}

/// Takes a value that is a node of its own, whose bytes have been claimed; null for "nothing".
bool MessageBuilderC::TakeNode(std::unique_ptr<BElementC> element)
{
    if (m_inKey) {
        return Refuse("a dictionary with a key that is no text");
    }
    if (m_open.empty()) {
        return TakeFieldValue(std::move(element));
    }
    Container& container = m_open.back();
    if (!MakePlace(container)) {
        return false;
    }
    if (container.list != nullptr) {
        m_message.memory += kSlotBytes + MessageCost::NodeBytes(*element);
        container.list->Add(element.release());
        return true;
    }
    if (element == nullptr) {
        if (!Claim(MessageCost::kAtomBytes)) {
            return false;
        }
        element = std::make_unique<BAtomC>();
    }
    m_message.memory += MessageCost::kEntryBytes + MessageCost::TextBytes(m_key.capacity()) +
                        MessageCost::NodeBytes(*element);
    BListAccessC::Add(*container.dictionary, std::move(m_key), std::move(element));
    m_key = std::string();
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

bool MessageBuilderC::Open(std::unique_ptr<BElementC> element, const Container& container)
{
    if (m_open.size() == kDeepestNesting) {
        return Refuse("a message nested deeper than 64 levels");
    }
    // Placed before it is filled, so that whatever comes later, it has an owner.
    if (!TakeNode(std::move(element))) {
        return false;
    }
    m_open.push_back(container);
    return true;
}

bool MessageBuilderC::StartList(std::uint32_t count)
{
    if (m_open.empty() && m_field == EField::Before) {
        m_fieldCount = count;
        return count == kNotificationFields || count == kRequestFields ||
               Refuse("a list that is no message");
    }
    if (!Claim(MessageCost::kListBytes)) {
        return false;
    }
    auto list = m_begun == nullptr ? std::make_unique<BListC>(nullptr) : std::move(m_begun);
    Container opened;
    opened.list = list.get();
    const auto begun = static_cast<std::size_t>(opened.list->Size());
    opened.announced = begun + count;
    m_message.memory += kSlotBytes * begun;
    if (!Claim(MessageCost::RoomBytes(BListAccessC::SlotsOf(*list).capacity(), kSlotBytes)) ||
        !CountElements(opened.announced) || !Open(std::move(list), opened)) {
        return false;
    }
    const std::size_t room = std::min<std::size_t>(count, m_roomAhead);
    m_roomAhead -= room;
    return MakeRoom(m_open.back(), begun + room);
}

bool MessageBuilderC::StartDictionary(std::uint32_t count)
{
    if (!Claim(MessageCost::kDictionaryBytes)) {
        return false;
    }
    auto dictionary = std::make_unique<BDictionaryC>(nullptr);
    Container opened;
    opened.dictionary = dictionary.get();
    opened.announced = count;
    return CountElements(count) && Open(std::move(dictionary), opened);
}

void MessageBuilderC::EndContainer()
{
    if (!m_open.empty()) {
        m_open.pop_back();
    }
}
