#ifndef KESTROVE_WAYLINE_TRACEPRINTING_H
#define KESTROVE_WAYLINE_TRACEPRINTING_H

namespace Kestrove {

/// Writes a trace line: to standard output, as printf does, or to who takes this thread's lines.
///
/// @param format as of printf, with the line's end; its values behind it.
void PrintTraceLine(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace Kestrove

#endif
