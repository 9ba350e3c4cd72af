#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_FINDING_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_FINDING_H

#include <string>
#include <vector>

#include "tools/navctl/ExitCode.h"

/// What a look at one thing has shown.
struct CFinding
{
    std::string subject;        ///< what was looked at
    std::string text;           ///< what it is like
    std::string nextStep{};     ///< what to do about it; empty when nothing stands in the way
    EExitCode code = kExitDone; ///< not kExitDone: it stands in the way

    /// Whether it stands in the way of an engaged machine.
    bool IsObstacle() const { return code != kExitDone; }
};

using Findings = std::vector<CFinding>;

#endif
