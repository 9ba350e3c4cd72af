#ifndef KESTROVE_WAYLINE_TRACELINES_H
#define KESTROVE_WAYLINE_TRACELINES_H

/// @file
/// Where the library's trace lines go.

#include <string>

#include "core/Export.h"

namespace Kestrove {

/// Takes a trace line. It runs within the call that traces, on its thread, and must not throw.
///
/// @param line the line, without its end.
using TraceTaker = void (*)(const std::string& line);

/// Sets who takes the trace lines of the calling thread: those of the text readers of waylines and
/// those before the functors of some events. Other threads' lines go where they went.
///
/// @param taker who takes them; null for standard output, which is where they go unless this is
///              called.
/// @return who took them before.
KESTROVE_EXPORT TraceTaker SetTraceTaker(TraceTaker taker);

} // namespace Kestrove

#endif
