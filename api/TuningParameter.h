#ifndef KESTROVE_API_TUNINGPARAMETER_H
#define KESTROVE_API_TUNINGPARAMETER_H

/// @file
/// The parameters of the steering controller.

namespace Kestrove {

/// The tunable parameters of the service's steering controller, by the codes under which they are
/// sent. A code from the link that has no name here is still a value.
enum ETuningParameter : int
{
    Sensitivity = 0,    ///< scales the reaction to cross-track error
    Aggressiveness = 1, ///< line-acquisition angle and steering rate
    Overshoot = 2,      ///< damping of the approach to the line
    SpeedAdjust = 3,    ///< how much the gains fall with speed
};

} // namespace Kestrove

#endif
