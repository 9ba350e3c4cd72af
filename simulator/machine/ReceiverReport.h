#ifndef KESTROVE_SIMULATOR_MACHINE_RECEIVERREPORT_H
#define KESTROVE_SIMULATOR_MACHINE_RECEIVERREPORT_H

#include "simulator/machine/Pose.h"
#include "simulator/machine/Receiver.h"

/// What a position rests on.
enum class EFix
{
    None,         ///< there is no position
    Single,       ///< satellites alone
    Differential, ///< corrected by a wide-area service
    Float,        ///< corrected by a base station, ambiguities not resolved
    Fixed,        ///< corrected by a base station, ambiguities resolved
};

/// What the receiver says beside the pose that it measured last.
struct ReceiverReport
{
    EFix fix = EFix::Fixed;
    bool isNew = true;           ///< it has measured; otherwise all is as it was
    double correctionAge = 0.0;  ///< seconds; counts with a correction alone
    Point lasting;               ///< metres by which it is beside the truth, white noise left out
    double roll = 0.0;           ///< radians, positive with the right side down
    double pitch = 0.0;          ///< radians, positive with the front up
    ReceiverAccuracy accuracy{}; ///< what it expects of itself
    double latency = 0.0;        ///< seconds from the measurement until it is reported
};

#endif
