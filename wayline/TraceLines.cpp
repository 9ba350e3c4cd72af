#include "wayline/TraceLines.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include "wayline/TracePrinting.h"

namespace Kestrove {
namespace {

thread_local TraceTaker traceTaker = nullptr;

} // namespace

TraceTaker SetTraceTaker(TraceTaker taker)
{
    return std::exchange(traceTaker, taker);
}

void PrintTraceLine(const char* format, ...)
{
    std::va_list values;
    va_start(values, format);
    if (traceTaker == nullptr) {
        std::vprintf(format, values);
    } else {
        std::va_list counted;
        va_copy(counted, values);
        const int length = std::vsnprintf(nullptr, 0, format, counted);
        va_end(counted);
        if (length > 0) {
            std::string line(static_cast<std::size_t>(length), '\0');
            std::vsnprintf(line.data(), line.size() + 1, format, values);
            line.pop_back(); // its end
            traceTaker(line);
        }
    }
    va_end(values);
}

} // namespace Kestrove
