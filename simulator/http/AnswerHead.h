#ifndef KESTROVE_SIMULATOR_HTTP_ANSWERHEAD_H
#define KESTROVE_SIMULATOR_HTTP_ANSWERHEAD_H

#include <string>

#include "simulator/http/ServedRequest.h"

/// The status line and the headers that every answer has; its own and an empty line are to follow.
///
/// @param type the content type.
/// @param caching whether a browser may keep it.
std::string HeadOf(int status, const std::string& type, const std::string& caching = "no-store");

/// All that comes before the body of an answer.
std::string HeadOf(const ServedAnswer& answer);

/// Writes {"error": reason} as an answer.
ServedAnswer RefusalOf(int status, const std::string& reason);

/// An answer of JSON.
ServedAnswer JsonAnswer(int status, std::string json);

#endif
