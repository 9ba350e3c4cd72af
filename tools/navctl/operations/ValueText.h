#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_VALUETEXT_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_VALUETEXT_H

#include <string>

#include "tools/navctl/Context.h"

/// A number in as many digits as make it.
std::string NumberText(double value);

/// A value as a script takes it: bare, lists with blanks between. A wayline is its text form, null
/// is "none".
std::string ValueText(const Json& value);

#endif
