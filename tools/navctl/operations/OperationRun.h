#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATIONRUN_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_OPERATIONRUN_H

#include "tools/navctl/Context.h"
#include "tools/navctl/operations/Operation.h"

/// Carries an operation out and reports what has become of it: what the service answers, what it
/// holds after a setting, why it has refused.
///
/// @param checks whether to ask what the service holds after a setting that has a getter.
void RunOperation(CContext& context, const COperation& operation, const ArgumentValues& values,
                  bool checks);

#endif
