#ifndef KESTROVE_RUNTIME_ELEMENTTEXT_H
#define KESTROVE_RUNTIME_ELEMENTTEXT_H

#include <string>

#include "platform/BElement.h"

/// A value as people read it: a text as it stands, numbers in decimal, the elements of a list
/// joined by ", ".
std::string TextOf(const BElementC& element);

#endif
