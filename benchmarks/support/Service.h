#ifndef KESTROVE_BENCHMARKS_SUPPORT_SERVICE_H
#define KESTROVE_BENCHMARKS_SUPPORT_SERVICE_H

#include <cstddef>
#include <string>

#include "benchmarks/support/Tcp.h"

namespace Benchmarks {

/// The bytes of a request, "EngageSteering" [1], as the library sends it.
std::string RequestBytes();
/// How long the reply to it is.
std::size_t ReplyLength();

/// Answers every request of the next connection with 1, one at a time, until it is closed: the
/// least that a service can be.
void AnswerRequests(const CTcp& listener);
/// Reads what the next connection sends, until it is closed, and drops it.
void DropEverything(const CTcp& listener);

} // namespace Benchmarks

#endif
