// What has been decoded and is encoded again is decoded to the same.

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/BEncoder.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

/// The notification that carries the element, as it crosses the link.
std::string Notification(const BElementC& payload)
{
    BEncoderC encoder;
    encoder.WriteListHeader(3);
    encoder.WriteInteger(2);
    encoder.WriteString("event", 5);
    FuzzMessages::Require(encoder.Write(payload), "what was decoded can be encoded");
    return std::string(encoder.Data(), encoder.Size());
}

void RequireSameAfterAnotherTrip(const BListC& arguments)
{
    const std::string bytes = Notification(arguments);
    const FuzzMessages::Decoded again =
        FuzzMessages::Decode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    FuzzMessages::Require(!again.isBad && again.messages.size() == 1, "it is one whole message");
    FuzzMessages::Require(again.messages[0].arguments != nullptr &&
                              FuzzMessages::Encode(*again.messages[0].arguments) ==
                                  FuzzMessages::Encode(arguments),
                          "it says the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const MessageC& message : FuzzMessages::Decode(data, size).messages) {
        if (message.arguments != nullptr) {
            RequireSameAfterAnotherTrip(*message.arguments);
        }
    }
    return 0;
}
