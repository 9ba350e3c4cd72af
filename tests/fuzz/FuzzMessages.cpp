#include "tests/fuzz/FuzzMessages.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/BEncoder.h"

namespace FuzzMessages {

Decoded Decode(const std::uint8_t* data, std::size_t size, const std::vector<std::size_t>& pieces)
{
    Decoded decoded;
    MessageDecoderC decoder;
    std::size_t fed = 0;
    for (std::size_t number = 0; fed < size && !decoded.isBad; ++number) {
        const std::size_t wanted = pieces.empty() ? size : pieces[number % pieces.size()];
        std::size_t left = std::min(std::max<std::size_t>(wanted, 1), size - fed);
        while (left > 0) {
            std::size_t room = 0;
            char* const space = decoder.Space(room);
            const std::size_t count = std::min(room, left);
            std::memcpy(space, data + fed, count);
            decoder.Arrived(count);
            fed += count;
            left -= count;
        }
        MessageC message;
        MessageDecoderC::EResult result;
        while ((result = decoder.Next(message)) == MessageDecoderC::EResult::Complete) {
            decoded.messages.push_back(std::move(message));
            message = MessageC();
        }
        decoded.isBad = result == MessageDecoderC::EResult::Bad;
    }
    decoded.problem = decoder.Problem();
    return decoded;
}

std::string Encode(const BElementC& element)
{
    BEncoderC encoder;
    Require(encoder.Write(element), "an element that was decoded can be encoded");
    return std::string(encoder.Data(), encoder.Size());
}

std::string Describe(const MessageC& message)
{
    std::string text = std::to_string(static_cast<int>(message.kind)) + ' ' +
                       std::to_string(message.id) + ' ' + message.method;
    const BElementC* const parts[] = {message.arguments.get(), message.error.get(),
                                      message.result.get()};
    for (const BElementC* const part : parts) {
        text += part == nullptr ? std::string(" nothing") : ' ' + Encode(*part);
    }
    return text;
}

void Require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

void SilenceStandardOutput()
{
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null can be opened");
}

} // namespace FuzzMessages
