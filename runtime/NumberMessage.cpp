#include "runtime/NumberMessage.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/BEncoder.h"
#include "runtime/BigEndian.h"
#include "runtime/ListAccess.h"
#include "runtime/MessageBuilder.h"

namespace {

constexpr std::size_t kMostKeptSlots = 64;

/// Reads bytes one after another; once they do not suffice, it has failed for good.
class CReader
{
public:
    CReader(const char* bytes, std::size_t size) : m_begin(bytes), m_place(bytes), m_left(size) {}

    bool HasFailed() const { return m_hasFailed; }
    std::size_t Taken() const { return static_cast<std::size_t>(m_place - m_begin); }

    unsigned Byte() { return static_cast<unsigned>(Number<1>()); }

    template <std::size_t Size>
    std::uint64_t Number()
    {
        const char* const bytes = Bytes(Size);
        return bytes == nullptr ? 0 : BigEndian::Load<Size>(bytes);
    }

    const char* Bytes(std::size_t count)
    {
        if (m_hasFailed || count > m_left) {
            m_hasFailed = true;
            return nullptr;
        }
        const char* const bytes = m_place;
        m_place += count;
        m_left -= count;
        return bytes;
    }

    void Fail() { m_hasFailed = true; }

private:
    const char* m_begin;
    const char* m_place;
    std::size_t m_left;
    bool m_hasFailed = false;
};

std::uint64_t MessageNumber(CReader& reader)
{
    const unsigned kind = reader.Byte();
    switch (kind) {
    case 0xcc:
        return reader.Number<1>();
    case 0xcd:
        return reader.Number<2>();
    case 0xce:
        return reader.Number<4>();
    default:
        if (kind > 0x7f) {
            reader.Fail();
        }
        return kind;
    }
}

/// Most messages have the name of the one before, and comparing is faster than copying.
void SetName(std::string& name, std::string_view wanted)
{
    if (name != wanted) {
        name = wanted;
    }
}

void Method(CReader& reader, std::string& method)
{
    const unsigned kind = reader.Byte();
    std::size_t length = kind & 0x1f;
    if (kind == 0xd9) {
        length = reader.Byte();
    } else if (kind < 0xa0 || kind > 0xbf) {
        reader.Fail();
    }
    if (const char* const text = reader.Bytes(length)) {
        SetName(method, {text, length});
    }
}

std::size_t ListLength(CReader& reader)
{
    const unsigned kind = reader.Byte();
    switch (kind) {
    case 0xdc:
        return static_cast<std::size_t>(reader.Number<2>());
    case 0xdd:
        return static_cast<std::size_t>(reader.Number<4>());
    default:
        if (kind < 0x90 || kind > 0x9f) {
            reader.Fail();
        }
        return kind & 0x0f;
    }
}

/// What stands before the list; fails on every form that is left to the parser.
void Front(CReader& reader, MessageC& message)
{
    const unsigned fields = reader.Byte();
    const unsigned kind = reader.Byte();
    const bool isNotification = fields == 0x93 && kind == 2;
    if (!isNotification && (fields != 0x94 || kind > 1)) {
        reader.Fail();
        return;
    }
    message.kind = static_cast<MessageC::EKind>(kind);
    message.id = isNotification ? 0 : MessageNumber(reader);
    if (message.kind != MessageC::EKind::Response) {
        Method(reader, message.method);
        return;
    }
    message.method.clear();
    if (reader.Byte() != 0xc0) { // an error, or none
        reader.Fail();
    }
}

constexpr std::size_t kFloat64Bytes = 9;
constexpr char kFloat64Head = '\xcb';

/// A run this short is appended one by one.
constexpr std::size_t kShortRun = 8;
/// How many slots of a longer one are made at a time: few enough to stay in the nearest cache.
constexpr std::size_t kPortion = 64;
/// Makes room for `count` numbers that may have arrived; `most` are announced.
void MakeRoom(BListC& list, std::size_t count, std::size_t most)
{
    const std::size_t size = BListAccessC::SlotsOf(list).size();
    if (BListAccessC::SlotsOf(list).capacity() - size < count) {
        list.Reserve(static_cast<int>(MessageBuilderC::RoomFor(size + count, size + most)));
    }
}

/// How many floating-point numbers stand in a row, the first of which is known; at most `most`.
std::size_t RunOfDoubles(const char* bytes, std::size_t most)
{
    std::size_t run = 1;
    while (run < most && bytes[run * kFloat64Bytes] == kFloat64Head) {
        ++run;
    }
    return run;
}

/// Appends the floating-point numbers that stand in a row, at most `most`.
///
/// @return how many they are.
std::size_t TakeDoubles(BListC& list, const char* bytes, std::size_t size, std::size_t most)
{
    if (*bytes != kFloat64Head) {
        return 0; // and no room for numbers that may not come
    }
    const std::size_t whole = std::min(most, size / kFloat64Bytes);
    std::size_t count = 0;
    if (whole < kShortRun) {
        for (; count < whole && *bytes == kFloat64Head; ++count, bytes += kFloat64Bytes) {
            BListAccessC::AddDouble(list, BigEndian::LoadDouble(bytes + 1));
        }
        return count;
    }
    MakeRoom(list, whole, most);
    while (count < whole && *bytes == kFloat64Head) {
        const std::size_t run = RunOfDoubles(bytes, std::min(whole - count, kPortion));
        BListAccessC::Slot* const slots = BListAccessC::Extend(list, run);
        for (std::size_t i = 0; i < run; ++i, bytes += kFloat64Bytes) {
            slots[i].number = BigEndian::LoadDouble(bytes + 1);
            slots[i].type = EBElementType::Double;
        }
        count += run;
    }
    return count;
}

/// Appends the whole number that begins at `bytes` to the list.
///
/// @return how many bytes it takes; 0 when it is not of these kinds, or not there whole.
std::size_t TakeInteger(BListC& list, const char* bytes, std::size_t size)
{
    const unsigned kind = static_cast<unsigned char>(*bytes);
    if (kind <= 0x7f || kind >= 0xe0) {
        BListAccessC::AddInteger(list, static_cast<signed char>(kind));
        return 1;
    }
    if (kind == 0xcc && size > 1) {
        BListAccessC::AddInteger(list, static_cast<std::int64_t>(BigEndian::Load<1>(bytes + 1)));
        return 2;
    }
    if (kind == 0xcd && size > 2) {
        BListAccessC::AddInteger(list, static_cast<std::int64_t>(BigEndian::Load<2>(bytes + 1)));
        return 3;
    }
    if (kind == 0xce && size > 4) {
        BListAccessC::AddInteger(list, static_cast<std::int64_t>(BigEndian::Load<4>(bytes + 1)));
        return 5;
    }
    return 0;
}

/// A list that nobody has taken, and whose memory is not a burden.
bool IsWorthKeeping(const BListC* list)
{
    return list != nullptr && BListAccessC::IsPlain(*list) &&
           BListAccessC::SlotsOf(*list).capacity() <= kMostKeptSlots;
}

} // namespace

std::size_t NumberMessageC::Held() const
{
    return m_list == nullptr
               ? 0
               : BListAccessC::SlotsOf(*m_list).capacity() * MessageBuilderC::kSlotBytes;
}

std::size_t NumberMessageC::Begin(const char* bytes, std::size_t size)
{
    CReader reader(bytes, size);
    Front(reader, m_message);
    const std::size_t count = ListLength(reader);
    if (reader.HasFailed() || count > MessageBuilderC::kMostElements) {
        return 0;
    }
    m_list = m_spare != nullptr ? std::move(m_spare) : std::make_unique<BListC>(nullptr);
    // No more room ahead than what has arrived justifies.
    MakeRoom(*m_list, std::min(count, size), 0);
    m_left = count;
    m_message.memory = 0;
    return reader.Taken();
}

NumberMessageC::EResult NumberMessageC::Take(const char* bytes, std::size_t size,
                                             std::size_t& taken)
{
    taken = 0;
    const std::size_t leftBefore = m_left;
    while (m_left > 0 && taken < size) {
        MakeRoom(*m_list, std::min(m_left, kShortRun), m_left);
        const std::size_t doubles = TakeDoubles(*m_list, bytes + taken, size - taken, m_left);
        taken += doubles * kFloat64Bytes;
        m_left -= doubles;
        if (m_left == 0 || taken == size) {
            break;
        }
        const std::size_t length = TakeInteger(*m_list, bytes + taken, size - taken);
        if (length == 0) {
            break;
        }
        taken += length;
        --m_left;
    }
    m_message.memory += MessageBuilderC::kSlotBytes * (leftBefore - m_left);
    if (m_left > 0) {
        const bool mayBeCut =
            size - taken < kFloat64Bytes && (size == taken || bytes[taken] == kFloat64Head);
        return mayBeCut ? EResult::NeedMore : EResult::Other;
    }
    if (m_message.kind == MessageC::EKind::Response) {
        m_message.result = std::move(m_list);
    } else {
        m_message.arguments = std::move(m_list);
    }
    return EResult::Complete;
}

void NumberMessageC::GiveTo(MessageC& message)
{
    if (IsWorthKeeping(message.arguments.get())) {
        BListAccessC::Clear(*message.arguments);
        m_spare = std::move(message.arguments);
    }
    message.kind = m_message.kind;
    message.id = m_message.id;
    SetName(message.method, m_message.method);
    message.arguments = std::move(m_message.arguments);
    message.error.reset();
    message.result = std::move(m_message.result);
    message.memory = m_message.memory;
}

std::unique_ptr<BListC> NumberMessageC::HandOver(std::string& front)
{
    BEncoderC encoder;
    const bool isNotification = m_message.kind == MessageC::EKind::Notification;
    encoder.WriteListHeader(isNotification ? 3 : 4);
    encoder.WriteInteger(static_cast<std::int64_t>(m_message.kind));
    if (!isNotification) {
        encoder.WriteUnsigned(m_message.id);
    }
    if (m_message.kind == MessageC::EKind::Response) {
        encoder.WriteNothing();
    } else {
        encoder.WriteString(m_message.method.data(), m_message.method.size());
    }
    encoder.WriteListHeader(static_cast<std::uint32_t>(m_left));
    front.assign(encoder.Data(), encoder.Size());
    return std::move(m_list);
}
