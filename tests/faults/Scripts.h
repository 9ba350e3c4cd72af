#ifndef KESTROVE_TESTS_FAULTS_SCRIPTS_H
#define KESTROVE_TESTS_FAULTS_SCRIPTS_H

#include <functional>
#include <string>

#include "tests/faults/Calls.h"
#include "tests/faults/Fault.h"

/// Scripts of faulty services. What each does, it does on the first connection; on the later ones
/// the service is healthy. Bytes are either fixed or made of the call that they follow.
namespace Scripts {

using Bytes = std::function<std::string(const CRawMessage& call)>;

/// Runs a script on the first connection alone.
CFault::Script OnFirstConnection(CFault::Script script);
/// Sends bytes in place of the reply to the first call, and works from then on.
CFault::Script Send(Bytes bytes);
CFault::Script Send(const std::string& bytes);
/// Sends bytes in place of the reply to the first call, and nothing more.
CFault::Script SendAndStall(Bytes bytes);
/// Sends bytes in place of the reply to the first call, and closes the connection.
CFault::Script SendAndClose(Bytes bytes);
/// Sends bytes in place of the reply to the first call, and resets the connection.
CFault::Script SendAndReset(Bytes bytes);
/// Sends bytes ahead of the right reply to the first call, and works from then on.
CFault::Script SendAhead(const std::string& bytes);
/// Sends bytes in place of the reply to the first call, a byte at a time; the next when the one
/// before has been read and so many milliseconds have passed.
CFault::Script Trickle(Bytes bytes, int pauseMilliseconds);
/// Sends `start` in place of the reply to the first call, then `rest` over and over.
CFault::Script SendWithoutEnd(const std::string& start, const std::string& rest);
/// Reads nothing, and sends bytes over and over from the start of every connection.
CFault::Script FloodFromTheStart(const std::string& bytes);

/// Bytes over and over, about 64 KiB.
std::string Repeated(const std::string& bytes);

} // namespace Scripts

#endif
