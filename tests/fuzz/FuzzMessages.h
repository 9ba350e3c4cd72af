#ifndef KESTROVE_TESTS_FUZZ_FUZZMESSAGES_H
#define KESTROVE_TESTS_FUZZ_FUZZMESSAGES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "runtime/MessageDecoder.h"

/// What the fuzz targets share: each takes a stream of messages as a connection brings it.
namespace FuzzMessages {

/// What a decoder made of a stream.
struct Decoded
{
    std::vector<MessageC> messages;
    bool isBad = false;  ///< the stream ended in what is not a message
    std::string problem; ///< why
};

/// Decodes bytes that arrive in pieces: after each of the sizes in turn, which are repeated until
/// the bytes are used up. No size at all: all at once.
Decoded Decode(const std::uint8_t* data, std::size_t size,
               const std::vector<std::size_t>& pieces = {});

/// A message as text, so that two can be compared: equal if and only if they say the same, every
/// NaN being one.
std::string Describe(const MessageC& message);

/// An element as MessagePack bytes.
std::string Encode(const BElementC& element);

/// Ends the program, which the fuzzer reports, unless the condition holds.
void Require(bool condition, const char* what);

/// Sends what the code under test prints to nowhere: the readers of waylines print trace lines.
void SilenceStandardOutput();

} // namespace FuzzMessages

#endif
