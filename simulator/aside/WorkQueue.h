#ifndef KESTROVE_SIMULATOR_ASIDE_WORKQUEUE_H
#define KESTROVE_SIMULATOR_ASIDE_WORKQUEUE_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/thread_pool.hpp>

#include "runtime/Disposer.h"
#include "runtime/GradualDisposer.h"
#include "simulator/aside/LongWork.h"

/// Has long calculations made on a thread of its own, and the operations that need them wait for
/// their results without holding up the loop.
///
/// An operation that needs a calculation throws CWorkPending before it has changed anything. It is
/// then queued, and called again in its turn: first to find out what it needs now, then each time
/// that a result is there, until it is through. So an operation is written as if everything were
/// quick, and takes effect as a whole, on the loop's thread. Calculations use inputs that never
/// change, and there are no locks.
///
/// What moves the world on is done in its turn too, in pieces on the loop itself. A calculation
/// that nobody waits for is made before the next of them where the clock is stepped, and otherwise
/// at once.
///
/// One operation is at its work at a time. Those of a client have their turns in the order in which
/// they were queued; those of the page one at a time between the clients', however many wait.
///
/// Thread safety: none; used from the thread that runs the loop.
class CWorkQueue final : public CLongWork
{
public:
    /// An operation to call until it throws CWorkPending no more.
    using Attempt = std::function<void()>;
    /// What is called until it returns true.
    using Piece = std::function<bool()>;
    using Ticket = std::uint64_t;
    /// Whose operation it is.
    enum class EAsker
    {
        Client, ///< of the service, which has one operation in the queue at a time
        Page,   ///< with all its connections
    };

    /// So many points are calculated on the spot: a millisecond or so.
    static constexpr std::size_t kPointsOnTheSpot = 1000;
    /// An operation that finds so many times that what it needs has changed meanwhile is ended.
    static constexpr int kMostAttempts = 32;

    /// @param loop must outlive this object.
    explicit CWorkQueue(asio::io_context& loop);
    /// Stops what is being calculated. What is queued is dropped.
    ~CWorkQueue() override;
    CWorkQueue(const CWorkQueue&) = delete;
    CWorkQueue& operator=(const CWorkQueue&) = delete;

    /// Queues an operation that has thrown CWorkPending.
    Ticket Add(Attempt attempt, EAsker asker = EAsker::Client);
    /// Queues what is done in pieces, with other work of the loop between them. It cannot be
    /// dropped.
    void AddInPieces(Piece piece);
    /// Whether that has begun and is not through: nothing else takes effect meanwhile.
    bool IsInPieces() const { return m_isInPieces; }
    /// What is prepared from now on is made before the next piece, whenever it was asked for, so
    /// that what happens does not depend on how long it takes.
    void PrepareBeforePieces() { m_preparesLate = true; }
    /// Whether something is to be prepared before the next piece.
    bool IsToPrepare() const { return m_toPrepare.has_value(); }
    /// Keeps what an operation works on: it is destroyed on the loop, little by little, wherever
    /// the last who shares it lets it go.
    std::shared_ptr<const BListC> Keep(std::unique_ptr<BListC> arguments);
    /// Drops an operation of which nobody wants the answer any more. The one that is at its work
    /// goes on when it is a change of the line, which has been asked for.
    void Forget(Ticket ticket);
    /// Ends an operation without effect, if it is a change: steering has been ended by hand after
    /// it was asked for, and before it was queued.
    void EndAsDisengaged(Ticket ticket);
    /// Calls an operation with all calculations made on the spot, however long they take.
    void CallOnTheSpot(const Attempt& attempt);
    /// How many operations are at their work or wait for it.
    std::size_t Waiting() const { return m_tasks.size(); }
    /// Does something each time that steering is ended by hand.
    void OnDisengaged(std::function<void()> listener) { m_disengaged = std::move(listener); }

    WorkResult Get(const WorkKey& key, EWork kind, std::size_t points,
                   const Calculation& calculate) override;
    void EndIfOvertaken() const override;
    void Prepare(const CWorkPending& pending) override;
    bool OnTheSpot() const override { return m_onTheSpot; }
    void Discard(std::shared_ptr<const void> thing) override;
    void LineReplaced() override;
    void Disengaged() override;

private:
    struct Made;
    struct Job;
    struct Task;
    class CEnd;

    void Place(const std::shared_ptr<Task>& task);
    void PostNext();
    void Next();
    void Call(const std::shared_ptr<Task>& task);
    void TakePiece(const std::shared_ptr<Task>& task);
    void Prepare(const CWorkPending& pending, std::function<void()> then);
    void End(const std::shared_ptr<Task>& task);
    void MakeAside(const std::shared_ptr<Job>& job, std::function<void(Made)> take);
    static void EndChange(Task& task, const char* reason);

    asio::io_context& m_loop;
    std::deque<std::shared_ptr<Task>> m_tasks; ///< the first is at its work
    std::shared_ptr<Task> m_present;           ///< whose attempt is being made
    std::shared_ptr<Job> m_preparing;          ///< that nobody waits for
    std::shared_ptr<const Made> m_prepared;    ///< the last of those
    std::optional<CWorkPending> m_toPrepare;   ///< before the next piece
    bool m_preparesLate = false;
    bool m_isInPieces = false;
    std::function<void()> m_disengaged;
    Ticket m_lastTicket = 0;
    bool m_onTheSpot = false;
    std::atomic<bool> m_isEnding{false};
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); ///< for what comes back late
    std::shared_ptr<GradualDisposerC> m_gradual = std::make_shared<GradualDisposerC>(m_loop);
    DisposerC m_disposer;
    asio::thread_pool m_thread{1};
};

#endif
