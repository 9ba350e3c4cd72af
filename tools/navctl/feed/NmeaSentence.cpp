#include "tools/navctl/feed/NmeaSentence.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr std::string_view kStarts = "$!";
constexpr std::string_view kBlanks = " \t";
// Of the standard's own sentences 5; makers' are longer.
constexpr std::size_t kLongestAddress = 16;

std::string_view Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The value of a hexadecimal digit; -1 for another character.
int HexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    return -1;
}

/// The exclusive or of all characters between '$' and '*'.
int Checksum(std::string_view body)
{
    int sum = 0;
    for (const char character : body)
        sum ^= static_cast<unsigned char>(character);
    return sum;
}

std::vector<std::string> SplitFields(std::string_view body)
{
    std::vector<std::string> fields;
    while (true) {
        const std::size_t comma = body.find(',');
        fields.emplace_back(body.substr(0, comma));
        if (comma == std::string_view::npos)
            return fields;
        body.remove_prefix(comma + 1);
    }
}

bool IsAddress(const std::string& address)
{
    return address.size() >= 2 && address.size() <= kLongestAddress &&
           std::all_of(address.begin(), address.end(),
                       [](unsigned char character) { return std::isalnum(character) != 0; });
}

} // namespace

const std::string& NmeaSentence::Field(std::size_t index) const
{
    static const std::string none;
    return index < fields.size() ? fields[index] : none;
}

std::vector<std::string_view> SentencesIn(std::string_view line)
{
    std::vector<std::string_view> pieces;
    std::size_t start = std::min(line.find_first_of(kStarts), line.size());
    if (!Trimmed(line.substr(0, start)).empty())
        pieces.push_back(line.substr(0, start));
    while (start < line.size()) {
        const std::size_t next = std::min(line.find_first_of(kStarts, start + 1), line.size());
        pieces.push_back(line.substr(start, next - start));
        start = next;
    }
    return pieces;
}

std::optional<NmeaSentence> ReadSentence(std::string_view text, std::string& problem)
{
    const auto broken = [&problem](const char* reason) {
        problem = reason;
        return std::nullopt;
    };
    text = Trimmed(text);
    if (text.empty() || kStarts.find(text[0]) == std::string_view::npos)
        return broken("not a sentence");
    const std::size_t star = text.find('*');
    if (star == std::string_view::npos)
        return broken("no checksum");
    const std::string_view sum = text.substr(star + 1);
    if (sum.size() < 2 || HexDigit(sum[0]) < 0 || HexDigit(sum[1]) < 0)
        return broken("cut checksum");
    if (sum.size() > 2)
        return broken("something behind the checksum");
    const std::string_view body = text.substr(1, star - 1);
    if (Checksum(body) != HexDigit(sum[0]) * 16 + HexDigit(sum[1]))
        return broken("wrong checksum");
    NmeaSentence sentence;
    sentence.fields = SplitFields(body);
    const std::string address = sentence.fields.front();
    sentence.fields.erase(sentence.fields.begin());
    if (!IsAddress(address))
        return broken("no address");
    // Makers' own sentences start with P and have no talker; the rest is theirs.
    const std::size_t talkerLength =
        address[0] == 'P' ? 1 : std::min<std::size_t>(2, address.size());
    sentence.talker = address.substr(0, talkerLength);
    sentence.type = address.substr(talkerLength);
    return sentence;
}
