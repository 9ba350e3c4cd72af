#ifndef KESTROVE_TESTS_SUPPORT_BYTES_H
#define KESTROVE_TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <string>

/// Messages written by hand, byte for byte, so that the library's own codec cannot agree with its
/// own mistakes. The forms are those of the MessagePack format description.
namespace Bytes {

/// "94 01 c0" as three bytes; blanks are skipped.
std::string FromHex(const std::string& digits);
/// The bytes as hex digits, two a byte, with a blank between bytes.
std::string ToHex(const std::string& bytes);

/// `value` as `width` bytes, the most significant first.
std::string BigEndian(std::uint64_t value, int width);
/// A double in its widest form (cb).
std::string Float64(double value);
/// A text of up to 31 bytes (a0 to bf).
std::string FixStr(const std::string& text);
/// A request with the arguments given as bytes.
std::string Request(std::uint64_t number, const std::string& name, const std::string& arguments);
/// A request for each number from `first` to `last`, all with the arguments given as bytes.
std::string Requests(std::uint64_t first, std::uint64_t last, const std::string& name,
                     const std::string& arguments = "\x90");
/// A response with `result`, itself given as bytes.
std::string Response(std::uint64_t number, const std::string& result);
/// A notification, which an event is too, with the arguments given as bytes.
std::string Notification(const std::string& name, const std::string& arguments);
/// The subscription of an event.
std::string Subscription(const std::string& event);

} // namespace Bytes

#endif
