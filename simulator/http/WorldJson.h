#ifndef KESTROVE_SIMULATOR_HTTP_WORLDJSON_H
#define KESTROVE_SIMULATOR_HTTP_WORLDJSON_H

#include <string>

#include "simulator/world/Simulation.h"

/// How steering stands, as the page shows it; the numbers are part of what it reads.
enum class EEngageState : int
{
    NotReady = 0, ///< some condition does not hold
    Ready = 1,    ///< could be engaged
    Engaged = 2,
    Dropped = 3, ///< ended by the service and not by the operator
};

EEngageState EngageStateOf(const CSimulation& world);

/// The data of the event "state": where the machine is and what steers it.
std::string StateJson(const CSimulation& world);
/// The data of the event "settings": what the operator can set.
std::string SettingsJson(const CSimulation& world);

#endif
