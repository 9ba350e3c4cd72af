#ifndef KESTROVE_RUNTIME_MESSAGEDECODER_H
#define KESTROVE_RUNTIME_MESSAGEDECODER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/BElement.h"

/// One message as it crosses the link.
struct MessageC
{
    enum class EKind
    {
        Request,      ///< id, method, arguments
        Response,     ///< id, error (null on success), result (null for "nothing")
        Notification, ///< method, arguments
    };

    EKind kind = EKind::Notification;
    std::uint64_t id = 0;
    std::string method;
    std::unique_ptr<BListC> arguments;
    std::unique_ptr<BElementC> error;
    std::unique_ptr<BElementC> result;
    std::size_t memory = 0;    ///< about how many bytes its values take
    std::uint64_t arrival = 0; ///< at a service: its place among the messages of all clients
};

/// Cuts a stream of bytes into messages and builds their values straight from the parser.
///
/// Takes the bytes in any portions. Refuses what is not a message and what exceeds a limit: 32 MiB
/// and 4 194 304 elements a message, 96 MiB of decoded values, 64 levels of nesting. Makes room for
/// what has arrived and for up to thirty-two times as much of one list or text, never for what is
/// announced alone; what announces more than may come is refused there. After a refusal the stream
/// has no known state and the connection must be closed.
class MessageDecoderC
{
public:
    enum class EResult
    {
        Complete, ///< a message has been decoded
        NeedMore, ///< the bytes so far hold no further complete message
        Bad,      ///< not a message, or over a limit; Problem() says
    };

    /// How many bytes Space() gives room for, as long as they are decoded as they arrive.
    static constexpr std::size_t kUsualPortion = std::size_t{64} * 1024;

    /// The size of the largest message, in bytes.
    static constexpr std::size_t kLargestMessage = std::size_t{32} * 1024 * 1024;

    explicit MessageDecoderC(std::size_t portion = kUsualPortion);
    ~MessageDecoderC();
    MessageDecoderC(const MessageDecoderC&) = delete;
    MessageDecoderC& operator=(const MessageDecoderC&) = delete;
    MessageDecoderC(MessageDecoderC&&) noexcept;
    MessageDecoderC& operator=(MessageDecoderC&&) noexcept;

    /// Room for the next bytes: at least one; `room` receives how many. Valid until the next call.
    char* Space(std::size_t& room);
    /// The first `count` bytes of the room that Space() gave have been filled.
    void Arrived(std::size_t count);
    /// Decodes the next message into `message`, in place of what it held.
    EResult Next(MessageC& message);
    /// True when part of a message has arrived that is not complete yet.
    bool InMessage() const;
    /// How many bytes the message lacks at least to be complete; 0 between messages.
    std::uint64_t LeastMissing() const;
    /// How many bytes are held for what has arrived and for the message that is not complete.
    std::size_t Held() const;
    /// Gives up what is decoded of the message that is not complete: its values, which are many
    /// small pieces; what the decoder keeps is a few large ones.
    ///
    /// @return them, in a message that lacks the rest. The decoder can only be destroyed then.
    MessageC TakeUnfinished() &&;
    /// Why Next() answered Bad.
    const std::string& Problem() const;
    /// Forgets everything: the start of a new stream.
    void Reset();

private:
    class StateC;
    std::unique_ptr<StateC> m_state;
};

#endif
