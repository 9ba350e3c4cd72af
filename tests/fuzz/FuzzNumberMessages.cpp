// The way of numbers beside the general parser gives what the parser gives. The same stream goes
// both ways: for the parser alone, the kind of the message is written in a form that is left to it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/BEncoder.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

constexpr std::size_t kMostElements = 64;

/// A notification whose list is the input's bytes, the first of which gives its length. Behind it
/// stand whatever messages the bytes make.
std::string Message(const std::uint8_t* data, std::size_t size, bool forParser)
{
    const std::string kind = forParser ? std::string("\xcc\x02", 2) : std::string("\x02", 1);
    const char length = static_cast<char>(data[0] % kMostElements);
    const std::string list = std::string("\xdc\x00", 2) + length;
    return "\x93" + kind +
           "\xa5"
           "event" +
           list + std::string(reinterpret_cast<const char*>(data + 1), size - 1);
}

FuzzMessages::Decoded DecodeText(const std::string& bytes, const std::vector<std::size_t>& pieces)
{
    return FuzzMessages::Decode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                                pieces);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const FuzzMessages::Decoded parsed = DecodeText(Message(data, size, true), {});
    for (const std::vector<std::size_t>& pieces :
         {std::vector<std::size_t>{}, std::vector<std::size_t>{1},
          std::vector<std::size_t>{16, 5}}) {
        const FuzzMessages::Decoded fast = DecodeText(Message(data, size, false), pieces);
        FuzzMessages::Require(fast.isBad == parsed.isBad, "both are refused or neither is");
        FuzzMessages::Require(fast.messages.size() == parsed.messages.size(),
                              "both give as many messages");
        for (std::size_t number = 0; number < parsed.messages.size(); ++number) {
            FuzzMessages::Require(FuzzMessages::Describe(fast.messages[number]) ==
                                      FuzzMessages::Describe(parsed.messages[number]),
                                  "both give the same message");
            FuzzMessages::Require(fast.messages[number].memory == parsed.messages[number].memory,
                                  "both say how much memory it takes");
        }
    }
    return 0;
}
