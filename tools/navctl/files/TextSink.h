#ifndef KESTROVE_TOOLS_NAVCTL_FILES_TEXTSINK_H
#define KESTROVE_TOOLS_NAVCTL_FILES_TEXTSINK_H

#include <functional>
#include <string>

/// Takes a text piece by piece, so that it need not be held whole.
using TextSink = std::function<void(const std::string&)>;

#endif
