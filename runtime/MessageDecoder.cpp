#include "runtime/MessageDecoder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <msgpack.hpp>

#include "runtime/MessageBuilder.h"

namespace {

constexpr std::size_t kLargestMessage = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kSmallBuffer = std::size_t{64} * 1024;
/// A buffer that has grown beyond this is given back as soon as it is empty.
constexpr std::size_t kLargestKeptBuffer = std::size_t{1024} * 1024;
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
        if (buffer.Capacity() == 0 || buffer.Capacity() > kLargestKeptBuffer) {
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

MessageDecoderC::EResult MessageDecoderC::Next(MessageC& message)
{
    StateC& state = *m_state;
    const std::size_t waiting = state.end - state.begin;
    if (waiting == 0) {
        return EResult::NeedMore;
    }
    MessageBuilderC& builder = state.parser.visitor();
    builder.SetArrived(waiting);
    std::size_t parsed = 0;
    const auto outcome = state.parser.execute(state.buffer.Data() + state.begin, waiting, parsed);
    state.begin += parsed;
    state.consumed += parsed;
    const bool needsMore = outcome == msgpack::PARSE_CONTINUE;
    const std::size_t size = state.consumed + (needsMore ? state.end - state.begin : 0);
    if (!needsMore && outcome != msgpack::PARSE_SUCCESS) {
        state.problem = builder.Problem();
        return EResult::Bad;
    }
    if (size > kLargestMessage) {
        state.problem = "a message of more than 32 MiB";
        return EResult::Bad;
    }
    if (needsMore) {
        return EResult::NeedMore;
    }
    message = std::move(builder.Message());
    state.consumed = 0;
    state.parser.init();
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
    m_state->parser.init();
}
