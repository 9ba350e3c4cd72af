#ifndef KESTROVE_TOOLS_NAVCTL_SIMULATOR_SIMULATORQUESTION_H
#define KESTROVE_TOOLS_NAVCTL_SIMULATOR_SIMULATORQUESTION_H

#include <memory>

#include "platform/BElement.h"
#include "tools/navctl/Context.h"

/// Asks for one of the simulator's own operations.
///
/// @param arguments null for none.
/// @return its reply; null when the command has failed, which has been reported then.
std::unique_ptr<BElementC> AskSimulator(CContext& context, const char* operation,
                                        BListC* arguments);

/// Ends a command with a failure: the reply is of another form than the operation's.
void FailByForm(CContext& context, const char* operation);

#endif
