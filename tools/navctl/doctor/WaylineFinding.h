#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_WAYLINEFINDING_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_WAYLINEFINDING_H

#include "tools/navctl/Context.h"
#include "tools/navctl/doctor/Finding.h"

/// What is to be done where the service has no complete wayline: for one that was begun, the
/// waypoint that is missing, by the service's wayline status and its waypoints.
CFinding NoWaylineFinding(CContext& context);

#endif
