#include "simulator/http/EmbeddedFiles.h"

#include <map>

std::string ContentTypeOf(const std::string& name)
{
    static const std::map<std::string, std::string> types{
        {"html", "text/html; charset=utf-8"},
        {"css", "text/css; charset=utf-8"},
        {"js", "text/javascript; charset=utf-8"},
        {"svg", "image/svg+xml"},
        {"png", "image/png"},
        {"ico", "image/x-icon"},
    };
    const auto type = types.find(name.substr(name.rfind('.') + 1));
    return type != types.end() ? type->second : "application/octet-stream";
}
