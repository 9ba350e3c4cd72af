#include "tools/navctl/feed/FileEncoding.h"

#include <algorithm>
#include <string_view>

namespace {

/// A file of another encoding than plain text, by how it begins.
struct EncodingMark
{
    std::string_view beginning;
    const char* is;
    const char* reader; ///< the program that writes it as plain text
};

constexpr const char* kReadUtf16 = "iconv -f UTF-16 -t UTF-8";
constexpr EncodingMark kMarks[] = {
    {"\x1f\x8b", "compressed with gzip", "zcat"},
    {"BZh", "compressed with bzip2", "bzcat"},
    {"\xfd"
     "7zXZ",
     "compressed with xz", "xzcat"},
    {"\x28\xb5\x2f\xfd", "compressed with zstd", "zstdcat"},
    {"PK\x03\x04", "a zip archive", "unzip -p"},
    {"\xff\xfe", "text in UTF-16", kReadUtf16},
    {"\xfe\xff", "text in UTF-16", kReadUtf16},
};

/// Whether every second byte of a beginning is 0, from a place on, and no other one.
bool HasZerosFrom(std::string_view text, std::size_t first)
{
    for (std::size_t place = 0; place < text.size(); ++place) {
        if ((text[place] == '\0') != (place % 2 == first)) {
            return false;
        }
    }
    return true;
}

std::string ReasonAndRemedy(const char* is, const char* reader)
{
    return std::string("it is ") + is + ", and a feed reads plain text: " + reader +
           " FILE | navctl feed -";
}

} // namespace

std::string ForeignEncoding(const std::string& firstBytes)
{
    for (const EncodingMark& mark : kMarks) {
        if (firstBytes.compare(0, mark.beginning.size(), mark.beginning) == 0) {
            return ReasonAndRemedy(mark.is, mark.reader);
        }
    }
    // Without a mark of its byte order. Sentences and names of columns are ASCII.
    constexpr std::size_t kLeast = 8;
    constexpr std::size_t kMost = 64;
    const std::string_view beginning = std::string_view(firstBytes).substr(0, kMost);
    if (beginning.size() < kLeast) {
        return {};
    }
    if (HasZerosFrom(beginning, 1)) {
        return ReasonAndRemedy("text in UTF-16", "iconv -f UTF-16LE -t UTF-8");
    }
    if (HasZerosFrom(beginning, 0)) {
        return ReasonAndRemedy("text in UTF-16", "iconv -f UTF-16BE -t UTF-8");
    }
    return {};
}
