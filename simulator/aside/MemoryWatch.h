#ifndef KESTROVE_SIMULATOR_ASIDE_MEMORYWATCH_H
#define KESTROVE_SIMULATOR_ASIDE_MEMORYWATCH_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <new>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "runtime/SpareMemory.h"

/// Runs a loop where memory may run out: keeps some to spare for what the loop itself needs, and
/// has room made while that is not to be had.
///
/// Thread safety: none; made and used on the thread that runs the loop.
class CMemoryWatch
{
public:
    /// @param loop must outlive this object.
    /// @param spareBytes what is put aside.
    /// @param makeRoom gives something up, so that there is memory again.
    CMemoryWatch(asio::io_context& loop, std::size_t spareBytes, std::function<void()> makeRoom)
        : m_loop(loop), m_timer(loop), m_spare(spareBytes), m_makeRoom(std::move(makeRoom))
    {
        Wait();
    }

    /// Runs the loop until it is stopped. What no memory was left for comes to nothing, and the
    /// rest goes on.
    void Run()
    {
        while (!m_loop.stopped()) {
            try {
                m_loop.run();
            } catch (const std::bad_alloc&) {
                LookAfter();
            }
        }
    }

private:
    static constexpr std::chrono::milliseconds kBetweenLooks{20};

    void Wait()
    {
        m_timer.expires_after(kBetweenLooks);
        m_timer.async_wait([this](const asio::error_code& error) {
            if (!error) {
                Wait(); // first, whatever becomes of this look
                LookAfter();
            }
        });
    }
    void LookAfter()
    {
        try {
            if (!m_spare.Refill()) {
                m_makeRoom();
            }
        } catch (const std::bad_alloc&) {
            // Others give something back meanwhile; it is tried again.
        }
    }

    asio::io_context& m_loop;
    asio::steady_timer m_timer;
    SpareMemoryC m_spare;
    std::function<void()> m_makeRoom;
};

#endif
