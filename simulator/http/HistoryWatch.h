#ifndef KESTROVE_SIMULATOR_HTTP_HISTORYWATCH_H
#define KESTROVE_SIMULATOR_HTTP_HISTORYWATCH_H

#include <array>
#include <map>
#include <string>

#include "simulator/http/History.h"
#include "simulator/http/WorldJson.h"
#include "simulator/service/ServiceCore.h"

/// Keeps the history of a service: looks at its world each time that guidance has run.
///
/// Thread safety: none; used from the thread that runs the loop.
class CHistoryWatch
{
public:
    /// Takes down what is now.
    void Look(const CServiceCore& core);
    const CHistory& History() const { return m_history; }

private:
    /// What marks tell the change of.
    struct Seen
    {
        EEngageState engage = EEngageState::NotReady;
        double nudge = 0.0;
        int line = 0; ///< the revision of the wayline
        std::array<double, kTuningParameters> tuning{};
        double lookAhead = 0.0;
        double implementWidth = 0.0;
        double implementOffset = 0.0;
        double fieldOffset = 0.0;
        std::map<std::string, FaultValue> faults;
    };

    static Seen SeenOf(const CServiceCore& core);
    void MarkSteering(const CSimulation& world, const Seen& now);
    void MarkLine(const CServiceCore& core, const Seen& now);
    void MarkSettings(double time, const Seen& now);
    void MarkFaults(double time, const Seen& now);

    CHistory m_history;
    Seen m_seen;
    bool m_hasSeen = false;
};

#endif
