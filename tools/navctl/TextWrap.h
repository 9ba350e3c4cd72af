#ifndef KESTROVE_TOOLS_NAVCTL_TEXTWRAP_H
#define KESTROVE_TOOLS_NAVCTL_TEXTWRAP_H

#include <cstddef>
#include <string>

/// Breaks the lines of a text between words where they have more columns than there are. What
/// follows of a line stands below its second column of words, where two blanks or more set one
/// apart, and otherwise two columns further in than its beginning. A word that is too long for a
/// line has one of its own.
///
/// @param columns how many there are; escape sequences of a terminal take none.
std::string Wrapped(const std::string& text, std::size_t columns);

/// The same for a single line of prose, without any indent.
std::string WrappedProse(const std::string& text, std::size_t columns);

#endif
