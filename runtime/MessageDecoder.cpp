#include "runtime/MessageDecoder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <msgpack.hpp>

#include "runtime/MessageBuilder.h"
#include "runtime/NumberMessage.h"

namespace {

constexpr std::size_t kSmallBuffer = std::size_t{64} * 1024;
/// A buffer that has grown beyond this is given back as soon as it is empty.
constexpr std::size_t kLargestIdleBuffer = std::size_t{1024} * 1024;
/// A receive into less room than this would cost more calls than moving the rest costs.
constexpr std::size_t kLeastRoom = std::size_t{16} * 1024;

/// The parser, which keeps its place between portions of the stream.
class Parser : public msgpack::detail::context<Parser>
{
public:
    MessageBuilderC& visitor() { return m_builder; }

private:
    MessageBuilderC m_builder;
};

/// Bytes in one piece. Where they are many, the system moves their pages when they get more room:
/// copying megabytes would hold up all other clients of a service.
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
    StateC() { parser.init(); }

    const char* Waiting() { return buffer.Data() + begin; }
    std::size_t WaitingCount() const { return end - begin; }
    void Consume(std::size_t count)
    {
        begin += count;
        consumed += count;
    }

    /// Where a message of numbers stands; `Other` also for one that is left to the parser.
    NumberMessageC::EResult TakeNumbers();
    /// Bad when the message that ends here, or goes on, is larger than a message may be.
    EResult Checked(EResult result);

    NumberMessageC numbers;
    Parser parser;
    BufferC buffer;
    std::size_t begin = 0;    // of what is not parsed yet
    std::size_t end = 0;      // of what has arrived
    std::size_t consumed = 0; // of the present message
    std::string problem;
};

MessageDecoderC::MessageDecoderC() : m_state(std::make_unique<StateC>()) {}
MessageDecoderC::~MessageDecoderC() = default;

char* MessageDecoderC::Space(std::size_t& room)
{
    StateC& state = *m_state;
    BufferC& buffer = state.buffer;
    const std::size_t waiting = state.end - state.begin;
    if (waiting == 0) {
        state.begin = 0;
        state.end = 0;
        if (buffer.Capacity() == 0 || buffer.Capacity() > kLargestIdleBuffer) {
            buffer.Resize(kSmallBuffer);
        }
    } else if (buffer.Capacity() - state.end < kLeastRoom) {
        if (waiting + kLeastRoom <= buffer.Capacity() / 2) {
            std::memmove(buffer.Data(), buffer.Data() + state.begin, waiting);
            state.begin = 0;
            state.end = waiting;
        } else {
            buffer.Resize(buffer.Capacity() * 2);
        }
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
        parser.visitor().Adopt(numbers.HandOver(front));
        parser.visitor().SetArrived(WaitingCount());
        std::size_t parsed = 0;
        parser.execute(front.data(), front.size(), parsed);
    }
    return result;
}

MessageDecoderC::EResult MessageDecoderC::StateC::Checked(EResult result)
{
    const std::size_t size = consumed + (result == EResult::NeedMore ? WaitingCount() : 0);
    if (size <= MessageDecoderC::kLargestMessage) {
        return result;
    }
    problem = "a message of more than 32 MiB";
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
        MessageBuilderC& builder = state.parser.visitor();
        builder.SetArrived(state.WaitingCount());
        std::size_t parsed = 0;
        const auto outcome = state.parser.execute(state.Waiting(), state.WaitingCount(), parsed);
        state.Consume(parsed);
        if (outcome != msgpack::PARSE_CONTINUE && outcome != msgpack::PARSE_SUCCESS) {
            state.problem = builder.Problem();
            return EResult::Bad;
        }
        result = outcome == msgpack::PARSE_SUCCESS ? EResult::Complete : EResult::NeedMore;
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
        message = std::move(state.parser.visitor().Message());
        state.parser.init();
    }
    state.consumed = 0;
    return EResult::Complete;
}

bool MessageDecoderC::InMessage() const
{
    return m_state->consumed > 0 || m_state->end > m_state->begin;
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
    m_state->parser.init();
}
