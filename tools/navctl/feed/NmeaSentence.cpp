#include "tools/navctl/feed/NmeaSentence.h"

#include <algorithm>

namespace {

constexpr std::string_view kStarts = "$!";
constexpr std::string_view kBlanks = " \t\r";
// Of the standard's own sentences 5; makers' are longer.
constexpr std::size_t kLongestAddress = 16;

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The value of a hexadecimal digit; -1 for another character.
int HexDigit(char character)
{
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    return -1;
}

/// The exclusive or of all characters between '$' and '*'.
int Checksum(std::string_view body)
{
    int sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    return sum;
}

void SplitFields(std::string_view body, NmeaSentence& sentence)
{
    sentence.fieldCount = 0;
    for (std::size_t comma = 0; comma != std::string_view::npos; ++sentence.fieldCount) {
        comma = body.find(',');
        if (sentence.fieldCount < NmeaSentence::kMostFields) {
            sentence.fields[sentence.fieldCount] = body.substr(0, comma);
        }
        body.remove_prefix(comma == std::string_view::npos ? body.size() : comma + 1);
    }
}

bool IsAddress(std::string_view address)
{
    return address.size() >= 2 && address.size() <= kLongestAddress &&
           std::all_of(address.begin(), address.end(), [](char character) {
               return (character >= '0' && character <= '9') ||
                      (character >= 'A' && character <= 'Z') ||
                      (character >= 'a' && character <= 'z');
           });
}

} // namespace

const char* ReadSentence(std::string_view text, NmeaSentence& sentence)
{
    text = Trimmed(text);
    if (text.empty() || kStarts.find(text[0]) == std::string_view::npos) {
        return "not a sentence";
    }
    const std::size_t star = text.find('*');
    if (star == std::string_view::npos) {
        return "no checksum";
    }
    const std::string_view sum = text.substr(star + 1);
    if (sum.size() < 2 || HexDigit(sum[0]) < 0 || HexDigit(sum[1]) < 0) {
        return "cut checksum";
    }
    if (sum.size() > 2) {
        return "something behind the checksum";
    }
    const std::string_view body = text.substr(1, star - 1);
    if (Checksum(body) != HexDigit(sum[0]) * 16 + HexDigit(sum[1])) {
        return "wrong checksum";
    }
    const std::size_t comma = body.find(',');
    const std::string_view address = body.substr(0, comma);
    if (!IsAddress(address)) {
        return "no address";
    }
    sentence.fieldCount = 0;
    if (comma != std::string_view::npos) {
        SplitFields(body.substr(comma + 1), sentence);
    }
    // Makers' own sentences start with P and have no talker; the rest is theirs.
    const std::size_t talkerLength =
        address[0] == 'P' ? 1 : std::min<std::size_t>(2, address.size());
    sentence.talker = address.substr(0, talkerLength);
    sentence.type = address.substr(talkerLength);
    return nullptr;
}
