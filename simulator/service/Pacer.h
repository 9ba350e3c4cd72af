#ifndef KESTROVE_SIMULATOR_SERVICE_PACER_H
#define KESTROVE_SIMULATOR_SERVICE_PACER_H

#include <chrono>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/service/ServiceCore.h"

/// Moves the simulated world on as real time passes, at a multiple of its speed. The only place
/// that reads a clock.
///
/// At a high speed, moving the world takes turns with the loop's other work.
/// When the program was held up (suspended, or asked for more than the computer can do), the world
/// goes on from where it stood and does not catch up.
class CPacer
{
public:
    /// @param loop, core must outlive this object.
    /// @param speedFactor simulated seconds a real second, positive.
    CPacer(asio::io_context& loop, CServiceCore& core, double speedFactor);

    /// Starts; from now on the loop keeps the world moving.
    void Start();

private:
    void WaitUntil(std::chrono::steady_clock::time_point time);
    void Tick();
    void AdvanceForATurn(std::chrono::steady_clock::time_point end);

    asio::steady_timer m_timer;
    CServiceCore& m_core;
    double m_speedFactor;
    double m_owedSeconds = 0.0; ///< of the world's clock, that a turn of the loop had no time for
    std::chrono::steady_clock::time_point m_last;
};

#endif
