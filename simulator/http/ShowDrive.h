#ifndef KESTROVE_SIMULATOR_HTTP_SHOWDRIVE_H
#define KESTROVE_SIMULATOR_HTTP_SHOWDRIVE_H

#include <chrono>
#include <functional>
#include <string>

#include "simulator/service/ServiceCore.h"

/// A drive of a minute for somebody who sees the page for the first time: a line, steering along
/// it, positions that fail for a moment and for longer, and how that ends.
///
/// It is offered while nothing is set and no client has ever been there, begins when somebody asks
/// for it on the page, and ends by itself, when nobody looks any more, or before anybody else's
/// command takes effect. Then all that it has set is as it was before; the machine stands where it
/// has come to.
///
/// Thread safety: none; used from the thread that runs the loop.
class CShowDrive
{
public:
    using Clock = std::chrono::steady_clock;
    /// How long it is, seconds of the simulation's clock.
    static constexpr double kSeconds = 60.0;
    /// For so long nobody looks, before it ends.
    static constexpr std::chrono::seconds kUnseen{5};

    /// @param core must outlive this object.
    explicit CShowDrive(CServiceCore& core) : m_core(core) {}

    /// Offers it from now on.
    ///
    /// @param hasHadClients whether any client has ever connected to the service.
    void Offer(std::function<bool()> hasHadClients) { m_hasHadClients = std::move(hasHadClients); }
    /// Why it cannot begin; empty when it can.
    std::string WhyNot() const;
    /// Begins it.
    ///
    /// @return why it does not begin; empty when it does.
    std::string Begin();
    /// Ends it, if it goes on.
    ///
    /// @param why in words, for who looks at it.
    void End(const std::string& why);
    /// To be called again and again, between two steps of the world.
    ///
    /// @param isSeen whether anybody views the page.
    void Look(bool isSeen, Clock::time_point now);
    /// The data of the event "show"; empty where it is not offered at all.
    std::string Json() const;

private:
    void Do(const char* operation, std::unique_ptr<BListC> arguments);
    Scenario Plan() const;
    int StepNow() const;

    CServiceCore& m_core;
    std::function<bool()> m_hasHadClients; ///< empty: it is not offered
    bool m_isRunning = false;
    int m_step = 0;
    double m_begin = 0.0;
    double m_speedBefore = 0.0;
    std::string m_ended; ///< why it has
    Clock::time_point m_lastSeen;
};

#endif
