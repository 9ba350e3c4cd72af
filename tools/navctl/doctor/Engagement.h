#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_ENGAGEMENT_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_ENGAGEMENT_H

#include "tools/navctl/Context.h"
#include "tools/navctl/doctor/Finding.h"

/// What keeps the steering from being engaged once navigation is active, in the service's own words
/// where it gives them (request "why_not_engaged"), otherwise by the getters and events.
///
/// @return a finding an obstacle; none when nothing stands in the way.
Findings FindEngageObstacles(CContext& context);

#endif
