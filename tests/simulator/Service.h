#ifndef KESTROVE_TESTS_SIMULATOR_SERVICE_H
#define KESTROVE_TESTS_SIMULATOR_SERVICE_H

#include <memory>
#include <string>
#include <vector>

#include "simulator/service/ServiceCore.h"

/// A service core with everything that leaves it written down. Its machine starts at the origin,
/// heads north and is measured without error.
class Service
{
public:
    /// @param speed metres per second, at the start and as set point.
    explicit Service(double speed = 2.0);
    explicit Service(SimulationOptions world, KeptValues kept = {});

    /// Makes a request.
    ///
    /// @param arguments as ListFrom() reads them.
    /// @return the reply as TextOf() writes it, or "error: " and the text.
    std::string Request(const std::string& name, const std::string& arguments);
    void Notify(const std::string& name, const std::string& arguments);
    void Advance(double seconds) { m_core->Advance(seconds); }
    /// Advances until a request has the reply.
    ///
    /// @return false when it has not after so many seconds.
    bool AdvanceUntil(const std::string& name, const std::string& arguments,
                      const std::string& reply, double atMostSeconds);
    /// What a new subscriber of an event is sent, each as "name payload".
    std::vector<std::string> Subscribe(const std::string& event) const;

    /// What becomes of the other events that have been sent.
    enum class EKeep
    {
        Nothing,
        Others,
    };
    /// The payloads of an event that have been sent since the last call of this for any event, or
    /// since Forget() where calls keep the others.
    std::vector<std::string> Told(const std::string& event, EKeep keep = EKeep::Nothing);
    /// Forgets what has been sent and logged so far.
    void Forget();
    /// Everything logged since Forget(), a line each.
    const std::string& Log() const { return m_log; }
    const KeptValues& Kept() const { return m_kept; }
    /// How often the settings to keep have been handed over.
    int TimesKept() const { return m_timesKept; }
    const CSimulation& World() const { return m_core->World(); }
    CServiceCore& Core() { return *m_core; }

    /// An A-B line through the origin to the north, and navigation along it started.
    void NavigateNorth();

private:
    struct Event
    {
        std::string name;
        std::string payload;
    };

    std::vector<Event> m_events;
    std::string m_log;
    KeptValues m_kept;
    int m_timesKept = 0;
    std::unique_ptr<CServiceCore> m_core;
};

/// The start of a machine that is measured without error.
SimulationOptions IdealWorld(double speed);

#endif
