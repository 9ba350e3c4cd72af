#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FILEENCODING_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FILEENCODING_H

#include <string>

/// Names an encoding that a feed cannot read: a compression, or text in UTF-16.
///
/// @param firstBytes the beginning of the file.
/// @return what the file is and what makes plain text of it, as words to follow others; empty when
///         it looks like none of these.
std::string ForeignEncoding(const std::string& firstBytes);

#endif
