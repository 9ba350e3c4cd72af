#include "tests/support/Bytes.h"

#include <cstring>

namespace Bytes {

std::string FromHex(const std::string& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at < digits.size();) {
        if (digits[at] == ' ') {
            ++at;
            continue;
        }
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
        at += 2;
    }
    return bytes;
}

std::string ToHex(const std::string& bytes)
{
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        text += text.empty() ? "" : " ";
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

std::string BigEndian(std::uint64_t value, int width)
{
    std::string bytes;
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>((value >> shift) & 0xff);
    }
    return bytes;
}

std::string Float64(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return '\xcb' + BigEndian(bits, 8);
}

std::string FixStr(const std::string& text)
{
    return static_cast<char>(0xa0 | text.size()) + text;
}

std::string Request(std::uint64_t number, const std::string& name, const std::string& arguments)
{
    return FromHex("94 00 cf") + BigEndian(number, 8) + FixStr(name) + arguments;
}

std::string Requests(std::uint64_t first, std::uint64_t last, const std::string& name,
                     const std::string& arguments)
{
    std::string packet;
    for (std::uint64_t number = first; number <= last; ++number) {
        packet += Request(number, name, arguments);
    }
    return packet;
}

std::string Response(std::uint64_t number, const std::string& result)
{
    return FromHex("94 01 cf") + BigEndian(number, 8) + FromHex("c0") + result;
}

std::string Notification(const std::string& name, const std::string& arguments)
{
    return FromHex("93 02") + FixStr(name) + arguments;
}

std::string Subscription(const std::string& event)
{
    return Notification("subscribe", '\x91' + FixStr(event));
}

} // namespace Bytes
