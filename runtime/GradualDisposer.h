#ifndef KESTROVE_RUNTIME_GRADUALDISPOSER_H
#define KESTROVE_RUNTIME_GRADUALDISPOSER_H

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <string>

#include <asio/io_context.hpp>

#include "runtime/Disposer.h"
#include "runtime/ElementRemains.h"
#include "runtime/MessageDecoder.h"

/// Destroys what clients have sent, which may be millions of small pieces, on the loop itself and
/// in turns, between which everybody else is served.
///
/// Another thread would do it at the price that the loop waits for the allocator whenever the
/// system has that thread wait in the midst of it. The large blocks among the pieces, for which
/// the system takes its time, are handed to such a thread all the same: they are few.
///
/// Thread safety: none; used from the thread that runs the loop, or while nobody runs it.
/// Lifetime: shared by its owner and by the turn that is under way. What is left when it ends is
/// destroyed then.
class GradualDisposerC : public std::enable_shared_from_this<GradualDisposerC>
{
public:
    /// What takes less is destroyed where it is.
    static constexpr std::size_t kLeastBytes = DisposerC::kLeastBytes;
    /// Half as long as a connection's, which it comes beside; of processor time.
    static constexpr std::chrono::microseconds kTurn{500};
    /// After so many pieces the turn may end.
    static constexpr std::size_t kStepsAtOnce = 128;

    /// What is left of a client, or of a single message.
    struct Remains
    {
        MessageC message;
        MessageC unfinished;
        std::deque<MessageC> waiting;
        std::deque<std::string> texts;
        std::set<std::string> names;
    };

    /// @param loop must outlive this object, or this object's last turn.
    explicit GradualDisposerC(asio::io_context& loop) : m_loop(loop) {}
    GradualDisposerC(const GradualDisposerC&) = delete;
    GradualDisposerC& operator=(const GradualDisposerC&) = delete;

    /// Destroys remains, at once when they are small.
    ///
    /// @param bytes about how many they take.
    void Destroy(Remains&& remains, std::size_t bytes);
    /// Has what is large and in few pieces destroyed aside.
    DisposerC& Large() { return m_large; }
    /// How many bytes wait to be destroyed, here and aside.
    std::size_t Pending() const { return m_pending + m_large.Pending(); }
    /// Nobody is served any more: what is left is destroyed at once, and so is whatever comes.
    void End();

private:
    struct Item
    {
        Remains remains;
        std::size_t bytes;
    };

    void PostTurn();
    void TakeTurn();
    void DestroySome(std::size_t steps);
    bool Begin(Remains& remains);
    bool Begin(MessageC& message);

    asio::io_context& m_loop;
    DisposerC m_large;
    std::deque<Item> m_items;
    ElementRemainsC m_value; // of the first of those
    std::size_t m_pending = 0;
    bool m_isPosted = false; // the next turn
    bool m_hasEnded = false;
};

#endif
