#ifndef KESTROVE_SIMULATOR_HTTP_SERVEDREQUEST_H
#define KESTROVE_SIMULATOR_HTTP_SERVEDREQUEST_H

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/http/RequestBody.h"

/// A text with the letters A to Z in lower case.
inline std::string LowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
    });
    return text;
}

/// A request as it came.
struct ServedRequest
{
    std::string method;
    std::string path;                                         ///< without what follows a "?"
    std::vector<std::pair<std::string, std::string>> headers; ///< names in lower case
    RequestBodyC body;

    /// How much memory is held, bytes.
    std::size_t Held() const
    {
        std::size_t held = method.capacity() + path.capacity() + body.Held() +
                           headers.capacity() * sizeof(headers.front());
        for (const auto& [name, value] : headers) {
            held += name.capacity() + value.capacity();
        }
        return held;
    }
    /// How often a header is there.
    ///
    /// @param name in lower case.
    std::size_t Count(const std::string& name) const
    {
        std::size_t count = 0;
        for (const auto& header : headers) {
            count += header.first == name ? 1 : 0;
        }
        return count;
    }
    /// The value of a header that is there once; nothing when it is missing or doubled.
    ///
    /// @param name in lower case.
    std::optional<std::string> Only(const std::string& name) const
    {
        std::optional<std::string> value;
        for (const auto& header : headers) {
            if (header.first == name) {
                if (value) {
                    return std::nullopt;
                }
                value = header.second;
            }
        }
        return value;
    }
};

/// What a request is answered with.
struct ServedAnswer
{
    using Body = std::shared_ptr<const std::string>;

    int status = 200;
    std::string type;                                         ///< the content type
    Body body;                                                ///< not null
    std::vector<std::pair<std::string, std::string>> headers; ///< beside those of every answer
    std::string caching = "no-store";                         ///< whether a browser may keep it
};

#endif
