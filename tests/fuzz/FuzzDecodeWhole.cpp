// A stream that arrives at once: it is decoded or refused with a reason, and never keeps what is
// larger than what has arrived justifies.

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/FuzzMessages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzMessages::Decoded decoded = FuzzMessages::Decode(data, size);
    FuzzMessages::Require(decoded.isBad != decoded.problem.empty(),
                          "what is refused has a reason, and nothing else has");
    for (const MessageC& message : decoded.messages) {
        FuzzMessages::Require(message.memory <= 1024 + 128 * size,
                              "a message's memory is in proportion to its bytes");
    }
    return 0;
}
