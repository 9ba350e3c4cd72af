#ifndef KESTROVE_SIMULATOR_HTTP_LOOPGATE_H
#define KESTROVE_SIMULATOR_HTTP_LOOPGATE_H

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <set>

#include <asio/io_context.hpp>

/// The one place where the page's thread reaches the service: hands work over to the thread that
/// runs the service's loop, to which the service core and the simulation belong, and hears when it
/// is done. Neither thread waits for the other.
///
/// Some pieces of work are handed over at once and begun in turns of a millisecond, between which
/// the service has its own; others wait here. Thread safety: none; lives on the page's thread, or
/// where neither of the two loops runs.
class CLoopGate
{
public:
    enum class EOutcome
    {
        Done,
        Failed,  ///< it threw
        NotDone, ///< and will not be: the service did not come to it in time, or before too much
                 ///< else
    };
    enum class EOrder
    {
        InTurn,
        AtOnce, ///< overtakes what waits here
    };
    /// To be called once the work is done, on the service's thread.
    using Done = std::function<void()>;
    /// Work that goes on after it has returned, until it calls what it is given. That may be kept
    /// for longer than the gate lives, and does nothing then.
    using Work = std::function<void(Done)>;
    using Then = std::function<void(EOutcome)>;

    /// How many pieces of work wait at once for the service to begin with them.
    static constexpr std::size_t kMostUnderWay = 64;
    /// How many wait here; when one more comes the oldest is not done. As many as the page has
    /// connections: they come no faster than they are served.
    static constexpr std::size_t kMostWaiting = 256;

    /// @param service, own the loops; must outlive this object.
    /// @param patience how long work may wait for its turn; for its end there is no limit.
    CLoopGate(asio::io_context& service, asio::io_context& own, std::chrono::milliseconds patience);
    /// Closes.
    ~CLoopGate();
    CLoopGate(const CLoopGate&) = delete;
    CLoopGate& operator=(const CLoopGate&) = delete;

    /// Has the service's thread do something, between its other work.
    ///
    /// @param then is called on the page's thread; not at all once the gate has been closed.
    void Run(Work work, Then then, EOrder order = EOrder::InTurn);
    /// Gives up what waits, for good. To be called when neither loop runs.
    void Close();

private:
    struct Job;
    using JobPtr = std::shared_ptr<Job>;
    struct Handed;

    void Begin(const JobPtr& job);
    void CarryOut(const JobPtr& job);
    static void WorkForATurn(const std::shared_ptr<Handed>& handed);
    void GiveUp(const JobPtr& job);
    void Leave(const JobPtr& job);
    void BeginNext();
    void Finish(const JobPtr& job, EOutcome outcome);

    asio::io_context& m_service;
    asio::io_context& m_own;
    std::chrono::milliseconds m_patience;
    std::set<JobPtr> m_jobs;
    std::deque<JobPtr> m_waiting;
    std::size_t m_underWay = 0;
    std::shared_ptr<Handed> m_handed; ///< the service's thread's own
};

#endif
