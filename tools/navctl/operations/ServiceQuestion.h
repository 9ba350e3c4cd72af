#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_SERVICEQUESTION_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_SERVICEQUESTION_H

#include <string>

#include "tools/navctl/Context.h"

/// What is known of whoever listens on the service's port.
struct CServiceAnswer
{
    bool isService = false;
    /// Why the answer is not a navigation service's; empty when there was no answer at all, of
    /// which LastError() shows.
    std::string problem{};
};

/// Asks whoever listens something that changes nothing and that every navigation service answers.
/// Opens no link that has been lost.
CServiceAnswer AskWhetherService(CNavigationAPI& navigation);

/// The same as a step of a command.
///
/// @return whether a navigation service has answered; if not, the command has failed, and the
///         failure has been reported.
bool SpeaksToService(CContext& context);

#endif
