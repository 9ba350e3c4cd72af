#ifndef KESTROVE_BINDINGS_PYTHON_TURN_H
#define KESTROVE_BINDINGS_PYTHON_TURN_H

#include <mutex>
#include <thread>

namespace Kestrove::Python {

/// @return how many forks lie between this process and the one that has loaded the module.
unsigned int ForksBehind() noexcept;

/// The turns that threads take at a client: a lock, and who has it.
///
/// Those of a parent are of no use to its child, where the holder may be missing and even the same
/// thread does not count as the one that has locked.
class CTurns
{
public:
    /// Whether this process was forked from the one that these belong to.
    bool IsOfTheParent() const { return m_forksBehind != ForksBehind(); }
    /// Whether a thread other than the calling one has its turn. For a child, right after the
    /// fork(): there nobody changes the answer any more.
    bool IsHeldByAnother() const
    {
        return m_holder != std::thread::id() && m_holder != std::this_thread::get_id();
    }

private:
    friend class CTurn;

    unsigned int m_forksBehind = ForksBehind();
    std::recursive_mutex m_mutex;
    std::thread::id m_holder; // by the lock
};

/// A thread's turn, from its making to its end; made again within a turn of the same thread, it is
/// part of that.
class CTurn
{
public:
    explicit CTurn(CTurns& turns) : m_turns(turns), m_lock(turns.m_mutex), m_outer(turns.m_holder)
    {
        m_turns.m_holder = std::this_thread::get_id();
    }
    ~CTurn() { m_turns.m_holder = m_outer; }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

private:
    CTurns& m_turns;
    std::lock_guard<std::recursive_mutex> m_lock;
    std::thread::id m_outer;
};

} // namespace Kestrove::Python

#endif
