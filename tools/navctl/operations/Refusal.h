#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_REFUSAL_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_REFUSAL_H

#include <string>

#include "tools/navctl/operations/Operation.h"

/// Why the service has refused an operation the last time, in its own words (request
/// "why_refused").
///
/// @param serviceName the operation's name on the link.
/// @return empty when it carried the operation out, and from a service that does not know the
///         request or gives no reply, which LastError() shows.
std::string WhyRefused(CNavigationAPI& navigation, const std::string& serviceName);

/// Why the service has just refused an operation: in its own words where it gives them, otherwise
/// by the ranges of the bundled service, otherwise where to look.
///
/// @param values the values of its arguments.
std::string ReasonOfRefusal(CNavigationAPI& navigation, const COperation& operation,
                            const ArgumentValues& values);

/// The first value that lies outside the range of its argument, in words; empty when none does.
///
/// @param range what the range is of, in words.
std::string OutsideOfRange(const COperation& operation, const ArgumentValues& values,
                           const char* range = "what the bundled service takes");

/// Why what the service was asked to keep does not outlive a restart, as far as it says so (request
/// "simulator_keeps"); empty when it does, and for a service that does not know the request. Waits
/// while the service is saving, a second at most.
std::string WhyForgotten(CNavigationAPI& navigation);

#endif
