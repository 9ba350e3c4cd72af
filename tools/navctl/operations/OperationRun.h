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

/// Looks whether a call has got an answer that the operation can give. If not, the command has
/// failed, and the failure has been reported. A wayline that the service does not have is an
/// answer.
///
/// @param before the operation that was sent before this one and waits for no reply; null for
///        none.
bool GotThrough(CContext& context, const COperation& operation, const COutcome& outcome,
                const COperation* before = nullptr);
/// What is wrong with a reply of another form than the operation's, in words.
std::string OtherFormText(const COperation& operation);

#endif
