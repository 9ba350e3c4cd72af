#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_LINKFINDING_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_LINKFINDING_H

#include "platform/LinkError.h"
#include "tools/navctl/doctor/Finding.h"

/// A link that did not carry a question, as a finding.
CFinding LinkFinding(const LinkErrorC& error);

/// The finding of a program on the service's port that is not a navigation service.
///
/// @param text why it is not one.
CFinding OtherProgramFinding(const std::string& text);

#endif
