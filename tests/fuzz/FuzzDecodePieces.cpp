// A stream that arrives in pieces gives what it gives at once. The pieces are cut by the stream's
// own bytes, so that a finding repeats itself.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/fuzz/FuzzMessages.h"

namespace {

std::vector<std::size_t> PiecesOf(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kMostPieces = 8;
    std::vector<std::size_t> pieces;
    for (std::size_t place = size; place > 0 && pieces.size() < kMostPieces; place -= 1) {
        pieces.push_back(1 + data[place - 1] % 37);
    }
    return pieces;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzMessages::Decoded whole = FuzzMessages::Decode(data, size);
    for (const std::vector<std::size_t>& pieces :
         {std::vector<std::size_t>{1}, PiecesOf(data, size)}) {
        const FuzzMessages::Decoded inPieces = FuzzMessages::Decode(data, size, pieces);
        FuzzMessages::Require(inPieces.isBad == whole.isBad, "both are refused or neither is");
        FuzzMessages::Require(inPieces.messages.size() == whole.messages.size(),
                              "both give as many messages");
        for (std::size_t number = 0; number < whole.messages.size(); ++number) {
            FuzzMessages::Require(FuzzMessages::Describe(inPieces.messages[number]) ==
                                      FuzzMessages::Describe(whole.messages[number]),
                                  "both give the same message");
        }
    }
    return 0;
}
