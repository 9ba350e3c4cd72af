#ifndef KESTROVE_SIMULATOR_HTTP_LOOPGATE_H
#define KESTROVE_SIMULATOR_HTTP_LOOPGATE_H

#include <chrono>
#include <functional>
#include <memory>

#include <asio/io_context.hpp>

/// The one place where other threads reach the service: hands work over to the thread that runs the
/// loop, to which the service core and the simulation belong, and waits until it is done.
///
/// No more work waits at once than there are threads that call Run(), so it is bounded by them.
/// Thread safety: Run() and Close() on any thread.
class LoopGateC
{
public:
    /// @param loop must outlive this object.
    /// @param patience how long work may wait for its turn.
    LoopGateC(asio::io_context& loop, std::chrono::milliseconds patience);

    /// Has the loop's thread do something, between its other work. Not to be called on that thread.
    /// What the work throws is thrown here.
    ///
    /// @return false when it has not been done and will not be: the gate is closed, or the loop did
    ///         not come to it in time.
    bool Run(const std::function<void()>& work);
    /// Gives up what waits and refuses all that comes, for good.
    void Close();

private:
    struct State;
    struct Job;

    asio::io_context& m_loop;
    std::chrono::milliseconds m_patience;
    std::shared_ptr<State> m_state;
};

#endif
