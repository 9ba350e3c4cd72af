#ifndef KESTROVE_SIMULATOR_HTTP_REQUESTCHECK_H
#define KESTROVE_SIMULATOR_HTTP_REQUESTCHECK_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "simulator/http/ServedRequest.h"

/// Why a request is not served.
struct HttpRefusal
{
    int status = 0; ///< 0 for one that is
    std::string reason;
};

/// What the bodies of POST requests must be: content types by path.
using PostTypes = std::map<std::string, std::string>;

/// Whether a Host header names this machine's own loopback and the port.
bool IsOwnHost(const std::string& host, std::uint16_t port);
/// Whether an Origin header is that of the page.
bool IsOwnOrigin(const std::string& origin, std::uint16_t port);

/// Looks at a request before its body is read.
///
/// Any page that a browser shows can send requests to this machine, and can give a name of its own
/// this machine's address. So it counts which name was asked for and which page asks. A header that
/// decides something must not come twice: whoever reads it might go by the other one.
///
/// @param port that is listened on.
/// @param postTypes the paths that take a body.
/// @param mostBodyBytes the longest body.
HttpRefusal CheckRequest(const ServedRequest& request, std::uint16_t port,
                         const PostTypes& postTypes, std::size_t mostBodyBytes);

#endif
