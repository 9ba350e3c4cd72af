#include "simulator/http/RequestCheck.h"

#include <optional>
#include <utility>

#include "simulator/output/ServiceLog.h"

namespace {

constexpr std::uint16_t kHttpPort = 80;
// Of a number of bytes that can be a length at all.
constexpr std::size_t kMostDigits = 18;

/// Opening the page from a link or the address line is nobody else's doing.
bool OpensThePage(const ServedRequest& request)
{
    return request.method == "GET" && request.path == "/" &&
           request.Only("sec-fetch-mode") == "navigate";
}

HttpRefusal CheckDoubled(const ServedRequest& request)
{
    const std::pair<const char*, int> statuses[] = {{"host", 403},
                                                    {"origin", 403},
                                                    {"sec-fetch-site", 403},
                                                    {"sec-fetch-mode", 403},
                                                    {"content-type", 400},
                                                    {"content-length", 400},
                                                    {"transfer-encoding", 400}};
    for (const auto& [name, status] : statuses) {
        if (request.Count(name) > 1) {
            return {status, std::string("the header ") + name + " comes more than once"};
        }
    }
    return {};
}

HttpRefusal CheckOrigin(const ServedRequest& request, std::uint16_t port)
{
    const std::string host = request.Only("host").value_or("");
    if (!IsOwnHost(host, port)) {
        return {403, "\"" + Printable(host) + "\" is not the host of this page"};
    }
    const std::optional<std::string> origin = request.Only("origin");
    if (origin && !IsOwnOrigin(*origin, port)) {
        return {403, "\"" + Printable(*origin) + "\" is not the origin of this page"};
    }
    const std::optional<std::string> site = request.Only("sec-fetch-site");
    if (site && *site != "same-origin" && *site != "none" && !OpensThePage(request)) {
        return {403, "a page of another site asks"};
    }
    return {};
}

HttpRefusal CheckBody(const ServedRequest& request, const std::string& wantedType,
                      std::size_t mostBytes)
{
    const std::string type = LowerCase(request.Only("content-type").value_or(""));
    std::string name = type.substr(0, type.find(';'));
    name.erase(name.find_last_not_of(" \t") + 1);
    if (name != wantedType) {
        return {415, "the content type is not " + wantedType};
    }
    const std::string length = request.Only("content-length").value_or("");
    const bool isNumber = !length.empty() && length.size() <= kMostDigits &&
                          length.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || request.Count("transfer-encoding") > 0) {
        return {411, "the length of the body is not told"};
    }
    if (std::stoull(length) > mostBytes) {
        return {413, "the body has more than " + std::to_string(mostBytes) + " bytes"};
    }
    return {};
}

} // namespace

bool IsOwnHost(const std::string& host, std::uint16_t port)
{
    const std::string lower = LowerCase(host);
    for (const std::string name : {"localhost", "127.0.0.1", "[::1]"}) {
        if (lower == name + ":" + std::to_string(port) || (port == kHttpPort && lower == name)) {
            return true;
        }
    }
    return false;
}

bool IsOwnOrigin(const std::string& origin, std::uint16_t port)
{
    const std::string scheme = "http://";
    return origin.compare(0, scheme.size(), scheme) == 0 &&
           IsOwnHost(origin.substr(scheme.size()), port);
}

HttpRefusal CheckRequest(const ServedRequest& request, std::uint16_t port,
                         const PostTypes& postTypes, std::size_t mostBodyBytes)
{
    HttpRefusal refusal = CheckDoubled(request);
    if (refusal.status == 0) {
        refusal = CheckOrigin(request, port);
    }
    if (refusal.status != 0 || request.method == "GET") {
        return refusal;
    }
    if (request.method != "POST") {
        return {405, "only GET and POST are served"};
    }
    const auto type = postTypes.find(request.path);
    if (type == postTypes.end()) {
        return {404, "nothing takes a POST there"};
    }
    return CheckBody(request, type->second, mostBodyBytes);
}
