#ifndef KESTROVE_SIMULATOR_HTTP_ANSWERHEAD_H
#define KESTROVE_SIMULATOR_HTTP_ANSWERHEAD_H

#include <string>

#include "simulator/http/ServedRequest.h"

/// The status line and the headers that every answer has; its own and an empty line are to follow.
///
/// @param type the content type.
std::string HeadOf(int status, const std::string& type);

/// Writes {"error": reason} as an answer.
ServedAnswer RefusalOf(int status, const std::string& reason);

#endif
