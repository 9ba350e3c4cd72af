#include "simulator/http/AnswerHead.h"

#include <memory>

#include "simulator/http/PageValues.h"

namespace {

const char* ReasonOf(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 409:
        return "Conflict";
    case 411:
        return "Length Required";
    case 413:
        return "Content Too Large";
    case 415:
        return "Unsupported Media Type";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    default:
        return "Service Unavailable";
    }
}

} // namespace

std::string HeadOf(int status, const std::string& type)
{
    return "HTTP/1.1 " + std::to_string(status) + " " + ReasonOf(status) +
           "\r\nCache-Control: no-store\r\n"
           "Connection: close\r\n"
           "Content-Security-Policy: default-src 'self'; base-uri 'none'; form-action 'none'; "
           "frame-ancestors 'none'\r\n"
           "Content-Type: " +
           type +
           "\r\n"
           "Cross-Origin-Resource-Policy: same-origin\r\n"
           "X-Content-Type-Options: nosniff\r\n";
}

ServedAnswer RefusalOf(int status, const std::string& reason)
{
    ServedAnswer answer;
    answer.status = status;
    answer.type = "application/json";
    answer.body = std::make_shared<const std::string>(ErrorJson(reason));
    if (status == 405) {
        answer.headers.emplace_back("Allow", "GET, POST");
    }
    return answer;
}
