#ifndef KESTROVE_SIMULATOR_ASIDE_SUREPOST_H
#define KESTROVE_SIMULATOR_ASIDE_SUREPOST_H

#include <atomic>
#include <chrono>
#include <new>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/post.hpp>

/// Has a loop do something, from a thread that may wait: while there is no memory for that, it
/// does, so that whoever waits for the thread's work hears of it in any case.
///
/// @param isEnding nobody waits for it any more.
template <typename Handler>
void PostSurely(asio::io_context& loop, const Handler& handler, const std::atomic<bool>& isEnding)
{
    constexpr std::chrono::milliseconds kPause(10);
    while (!isEnding) {
        try {
            asio::post(loop, handler);
            return;
        } catch (const std::bad_alloc&) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

#endif
