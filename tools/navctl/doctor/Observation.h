#ifndef KESTROVE_TOOLS_NAVCTL_DOCTOR_OBSERVATION_H
#define KESTROVE_TOOLS_NAVCTL_DOCTOR_OBSERVATION_H

#include <optional>

#include "api/NavigationAPI.h"

/// What the service's events show of the machine at one time; what has not come is empty.
struct CObservation
{
    std::optional<bool> isPossible; ///< steering could be engaged
    std::optional<bool> isReversing;
    std::optional<double> crossTrackError; ///< metres
    std::optional<double> headingError;    ///< radians
    std::optional<double> speed;           ///< metres per second, by two positions; not negative
};

/// Watches the events until all of that is known, for at most `seconds`.
CObservation Observe(CNavigationAPI& navigation, double seconds);

#endif
