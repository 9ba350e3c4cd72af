#include "runtime/MessageDecoder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/MessageBuilder.h"
#include "runtime/MessageParser.h"
#include "runtime/NumberMessage.h"

namespace {

/// Bytes in one piece.
class BufferC
{
public:
    char* Data() { return m_bytes.get(); }
    std::size_t Capacity() const { return m_capacity; }

    /// Keeps the bytes, as far as there is room for them.
    void Resize(std::size_t capacity)
    {
        void* const resized = std::realloc(m_bytes.get(), capacity);
        if (resized == nullptr) {
            throw std::bad_alloc();
        }
        static_cast<void>(m_bytes.release());
        m_bytes.reset(static_cast<char*>(resized));
        m_capacity = capacity;
    }

private:
    struct FreeC
    {
        void operator()(char* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<char, FreeC> m_bytes;
    std::size_t m_capacity = 0;
};

} // namespace

class MessageDecoderC::StateC
{
public:
    explicit StateC(std::size_t roomAtOnce) : portion(roomAtOnce) { parser.Init(); }

    const char* Waiting() { return buffer.Data() + begin; }
    std::size_t WaitingCount() const { return end - begin; }
    void Consume(std::size_t count)
    {
        begin += count;
        consumed += count;
    }

    /// Where a message of numbers stands; `Other` also for one that is left to the parser.
    NumberMessageC::EResult TakeNumbers();
    /// How many bytes the message may still have.
    std::size_t Most() const { return kLargestMessage - std::min(consumed, kLargestMessage); }
    /// Bad when the message that ends here, or goes on, is larger than a message may be.
    EResult Checked(EResult result);

    const std::size_t portion;
    NumberMessageC numbers;
    MessageParserC parser;
    BufferC buffer;
    std::size_t begin = 0;    // of what is not parsed yet
    std::size_t end = 0;      // of what has arrived
    std::size_t consumed = 0; // of the present message
    std::string problem;
};

MessageDecoderC::MessageDecoderC(std::size_t portion) : m_state(std::make_unique<StateC>(portion))
{
}
MessageDecoderC::~MessageDecoderC() = default;
MessageDecoderC::MessageDecoderC(MessageDecoderC&&) noexcept = default;
MessageDecoderC& MessageDecoderC::operator=(MessageDecoderC&&) noexcept = default;

char* MessageDecoderC::Space(std::size_t& room)
{
    StateC& state = *m_state;
    BufferC& buffer = state.buffer;
    const std::size_t waiting = state.WaitingCount();
    if (state.begin > 0) {
        // What is left of a decoded portion is the begun head of a value.
        std::memmove(buffer.Data(), state.Waiting(), waiting);
        state.begin = 0;
        state.end = waiting;
    }
    if (waiting == 0 && buffer.Capacity() != state.portion) {
        buffer.Resize(state.portion);
    } else if (waiting > buffer.Capacity() / 2) {
        buffer.Resize(buffer.Capacity() * 2);
    }
    room = buffer.Capacity() - state.end;
    return buffer.Data() + state.end;
}

void MessageDecoderC::Arrived(std::size_t count)
{
    m_state->end += count;
}

NumberMessageC::EResult MessageDecoderC::StateC::TakeNumbers()
{
    if (consumed == 0) {
        Consume(numbers.Begin(Waiting(), WaitingCount()));
    }
    if (!numbers.IsActive()) {
        return NumberMessageC::EResult::Other;
    }
    std::size_t taken = 0;
    const NumberMessageC::EResult result = numbers.Take(Waiting(), WaitingCount(), taken);
    Consume(taken);
    if (result == NumberMessageC::EResult::Other) {
        std::string front;
        parser.Builder().Adopt(numbers.HandOver(front));
        parser.Builder().SetArrived(WaitingCount());
        std::size_t parsed = 0;
        parser.Parse(front.data(), front.size(), front.size(), parsed);
    }
    return result;
}

MessageDecoderC::EResult MessageDecoderC::StateC::Checked(EResult result)
{
    const std::size_t size = consumed + (result == EResult::NeedMore ? WaitingCount() : 0);
    if (size <= kLargestMessage) {
        return result;
    }
    parser.Builder().RefuseLength();
    problem = parser.Builder().Problem();
    return EResult::Bad;
}

MessageDecoderC::EResult MessageDecoderC::Next(MessageC& message)
{
    StateC& state = *m_state;
    if (state.WaitingCount() == 0) {
        return EResult::NeedMore;
    }
    EResult result = EResult::NeedMore;
    const NumberMessageC::EResult numbers = state.TakeNumbers();
    if (numbers == NumberMessageC::EResult::Other) {
        MessageBuilderC& builder = state.parser.Builder();
        builder.SetArrived(state.WaitingCount());
        std::size_t parsed = 0;
        const auto outcome =
            state.parser.Parse(state.Waiting(), state.WaitingCount(), state.Most(), parsed);
        state.Consume(parsed);
        if (outcome == MessageParserC::EResult::Bad) {
            state.problem = builder.Problem();
            return EResult::Bad;
        }
        result =
            outcome == MessageParserC::EResult::Complete ? EResult::Complete : EResult::NeedMore;
    } else if (numbers == NumberMessageC::EResult::Complete) {
        result = EResult::Complete;
    }
    result = state.Checked(result);
    if (result != EResult::Complete) {
        return result;
    }
    if (numbers == NumberMessageC::EResult::Complete) {
        state.numbers.GiveTo(message);
    } else {
        message = std::move(state.parser.Builder().Message());
        state.parser.Init();
    }
    state.consumed = 0;
    return EResult::Complete;
}

bool MessageDecoderC::InMessage() const
{
    return m_state->consumed > 0 || m_state->end > m_state->begin;
}

std::uint64_t MessageDecoderC::LeastMissing() const
{
    if (m_state->consumed == 0) {
        return 0;
    }
    const std::uint64_t missing =
        m_state->numbers.IsActive() ? m_state->numbers.Left() : m_state->parser.LeastMissing();
    return missing - std::min<std::uint64_t>(missing, m_state->WaitingCount());
}

std::size_t MessageDecoderC::Held() const
{
    return m_state->buffer.Capacity() + m_state->numbers.Held() + m_state->parser.Builder().Held();
}

MessageC MessageDecoderC::TakeUnfinished() &&
{
    return std::move(m_state->parser.Builder().Message());
}

const std::string& MessageDecoderC::Problem() const
{
    return m_state->problem;
}

void MessageDecoderC::Reset()
{
    m_state->begin = 0;
    m_state->end = 0;
    m_state->consumed = 0;
    m_state->problem.clear();
    m_state->numbers.Reset();
    m_state->parser.Init();
}
