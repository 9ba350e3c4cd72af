#ifndef KESTROVE_SIMULATOR_HTTP_PAGEVALUES_H
#define KESTROVE_SIMULATOR_HTTP_PAGEVALUES_H

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "platform/BElement.h"
#include "simulator/machine/Pose.h"

/// How deep lists may nest in a command.
inline constexpr int kDeepestNesting = 8;

/// The reason of refusing lists that nest deeper.
std::string NestingProblem();

/// Reads an operation's arguments: numbers, switches, texts and lists of them.
///
/// @param problem receives what is wrong, when something is.
/// @return null when a value is not one of these.
std::unique_ptr<BListC> ArgumentsFrom(const nlohmann::json& list, std::string& problem);

/// Writes an operation's reply; null for "nothing".
nlohmann::json ReplyJson(const BElementC* value);

/// Writes a place as [x, y], to the millimetre.
nlohmann::json PointJson(const Point& point);
/// Writes places as a list of such.
nlohmann::json PointsJson(const std::vector<Point>& points);

/// Writes a text of JSON; bytes that are no UTF-8 are replaced.
std::string JsonText(const nlohmann::json& value);
/// Writes {"text": text}.
std::string TextJson(const std::string& text);
/// Writes {"error": reason}.
std::string ErrorJson(const std::string& reason);

#endif
