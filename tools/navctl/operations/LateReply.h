#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_LATEREPLY_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_LATEREPLY_H

#include <string>

#include "tools/navctl/operations/Operation.h"

/// What to say when no reply to an operation came in time: a service that was held up may still
/// carry it out when it goes on, though nobody waits any more.
///
/// @return that, and how to find out or to prevent it; empty for an operation that only asks.
std::string WordsOfLateReply(const COperation& operation);

/// How much longer than usual to wait for the reply to an operation: a service may have to compute
/// a long line before it can answer.
///
/// @return seconds, a share for every point of the waylines among the values; 0 without any.
double MoreSecondsFor(const ArgumentValues& values);

#endif
