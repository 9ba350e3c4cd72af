#include "simulator/http/RequestCheck.h"

#include <algorithm>
#include <cctype>

#include "simulator/ServiceLog.h"

namespace {

constexpr std::uint16_t kHttpPort = 80;
// Of a number of bytes that can be a length at all.
constexpr std::size_t kMostDigits = 18;

std::string LowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
    });
    return text;
}

/// A header that must not come more than once.
std::string Only(const httplib::Request& request, const char* name)
{
    return request.get_header_value_count(name) == 1 ? request.get_header_value(name) : "";
}

/// Opening the page from a link or the address line is nobody else's doing.
bool OpensThePage(const httplib::Request& request)
{
    return request.method == "GET" && request.path == "/" &&
           request.get_header_value("Sec-Fetch-Mode") == "navigate";
}

HttpRefusal CheckOrigin(const httplib::Request& request, std::uint16_t port)
{
    const std::string host = Only(request, "Host");
    if (!IsOwnHost(host, port))
        return {403, "\"" + Printable(host) + "\" is not the host of this page"};
    if (request.has_header("Origin") && !IsOwnOrigin(Only(request, "Origin"), port)) {
        return {403, "\"" + Printable(request.get_header_value("Origin")) +
                         "\" is not the origin of this page"};
    }
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    if (!site.empty() && site != "same-origin" && site != "none" && !OpensThePage(request))
        return {403, "a page of another site asks"};
    return {};
}

HttpRefusal CheckBody(const httplib::Request& request, const std::string& wantedType,
                      std::size_t mostBytes)
{
    const std::string type = LowerCase(request.get_header_value("Content-Type"));
    std::string name = type.substr(0, type.find(';'));
    name.erase(name.find_last_not_of(" \t") + 1);
    if (name != wantedType)
        return {415, "the content type is not " + wantedType};
    const std::string length = Only(request, "Content-Length");
    const bool isNumber = !length.empty() && length.size() <= kMostDigits &&
                          length.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || request.has_header("Transfer-Encoding"))
        return {411, "the length of the body is not told"};
    if (std::stoull(length) > mostBytes)
        return {413, "the body has more than " + std::to_string(mostBytes) + " bytes"};
    return {};
}

} // namespace

bool IsOwnHost(const std::string& host, std::uint16_t port)
{
    const std::string lower = LowerCase(host);
    for (const std::string name : {"localhost", "127.0.0.1", "[::1]"}) {
        if (lower == name + ":" + std::to_string(port) || (port == kHttpPort && lower == name))
            return true;
    }
    return false;
}

bool IsOwnOrigin(const std::string& origin, std::uint16_t port)
{
    const std::string scheme = "http://";
    return origin.compare(0, scheme.size(), scheme) == 0 &&
           IsOwnHost(origin.substr(scheme.size()), port);
}

HttpRefusal CheckRequest(const httplib::Request& request, std::uint16_t port,
                         const PostTypes& postTypes, std::size_t mostBodyBytes)
{
    HttpRefusal refusal = CheckOrigin(request, port);
    if (refusal.status != 0 || request.method == "GET")
        return refusal;
    if (request.method != "POST")
        return {405, "only GET and POST are served"};
    const auto type = postTypes.find(request.path);
    if (type == postTypes.end())
        return {404, "nothing takes a POST there"};
    return CheckBody(request, type->second, mostBodyBytes);
}
