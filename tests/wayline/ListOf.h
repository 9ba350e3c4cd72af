#ifndef KESTROVE_TESTS_WAYLINE_LISTOF_H
#define KESTROVE_TESTS_WAYLINE_LISTOF_H

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/BElement.h"

/// An element of a list as a test writes it down.
using Value = std::variant<int, double, std::string>;

/// A list of these elements.
std::unique_ptr<BListC> ListOf(const std::vector<Value>& values);

#endif
