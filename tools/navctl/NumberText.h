#ifndef KESTROVE_TOOLS_NAVCTL_NUMBERTEXT_H
#define KESTROVE_TOOLS_NAVCTL_NUMBERTEXT_H

#include <string>

/// A number with so many decimals.
std::string Fixed(double value, int decimals);

/// The same with its sign in front, a plus included.
std::string Signed(double value, int decimals);

#endif
