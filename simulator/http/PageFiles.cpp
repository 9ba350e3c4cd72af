#include "simulator/http/PageFiles.h"

#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include "simulator/http/EmbeddedFiles.h"

namespace {

std::string WithoutSpaces(std::string text)
{
    text.erase(0, text.find_first_not_of(" \t"));
    text.erase(text.find_last_not_of(" \t") + 1);
    return text;
}

std::vector<std::string> SplitAt(char separator, const std::string& text)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(WithoutSpaces(part));
    }
    return parts;
}

/// Whether the weight in a part such as "gzip;q=0.5" is 0.
bool IsUnwanted(const std::vector<std::string>& coding)
{
    return coding.size() > 1 && coding[1].compare(0, 3, "q=0") == 0 &&
           coding[1].find_first_not_of("0.", 2) == std::string::npos;
}

/// Whether who asks has what has this tag.
bool Has(const ServedRequest& request, const std::string& tag)
{
    for (const std::string& part : SplitAt(',', request.Only("if-none-match").value_or(""))) {
        if (part == "*" || part == tag || part == "W/" + tag) {
            return true;
        }
    }
    return false;
}

ServedAnswer AnswerOf(const std::string& type, std::string content, const std::string& tag)
{
    // Kept by who asks, and asked about each time: a program that was replaced has another page.
    return {200,
            type,
            std::make_shared<const std::string>(std::move(content)),
            {{"ETag", tag}, {"Vary", "Accept-Encoding"}},
            "no-cache"};
}

} // namespace

bool TakesGzip(const ServedRequest& request)
{
    bool takesAll = false;
    for (const std::string& part :
         SplitAt(',', LowerCase(request.Only("accept-encoding").value_or("")))) {
        const std::vector<std::string> coding = SplitAt(';', part);
        if (!coding.empty() && coding[0] == "gzip") {
            return !IsUnwanted(coding);
        }
        takesAll = takesAll || (!coding.empty() && coding[0] == "*" && !IsUnwanted(coding));
    }
    return takesAll;
}

CPageFiles::CPageFiles()
{
    for (EmbeddedFile& embedded : EmbeddedFiles()) {
        const std::string type = ContentTypeOf(embedded.name);
        File file;
        file.plainTag = "\"" + embedded.tag + "\"";
        file.compressedTag = "\"" + embedded.tag + "-gzip\"";
        file.plain = AnswerOf(type, std::move(embedded.content), file.plainTag);
        file.compressed = AnswerOf(type, std::move(embedded.compressed), file.compressedTag);
        file.compressed.headers.emplace_back("Content-Encoding", "gzip");
        if (embedded.name == "index.html") {
            m_files["/"] = file;
        }
        m_files["/" + embedded.name] = std::move(file);
    }
}

std::optional<ServedAnswer> CPageFiles::AnswerTo(const ServedRequest& request) const
{
    const auto found = m_files.find(request.path);
    if (found == m_files.end()) {
        return std::nullopt;
    }
    const bool takesGzip = TakesGzip(request);
    const File& file = found->second;
    ServedAnswer answer = takesGzip ? file.compressed : file.plain;
    if (Has(request, takesGzip ? file.compressedTag : file.plainTag)) {
        answer.status = 304;
        answer.body = std::make_shared<const std::string>();
    }
    return answer;
}
