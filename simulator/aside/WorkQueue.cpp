#include "simulator/aside/WorkQueue.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <new>
#include <utility>

#include <asio/post.hpp>
#include <pthread.h>

#include "runtime/ListAccess.h"
#include "simulator/aside/SurePost.h"

namespace {

const char* const kDisengaged = "steering was ended by hand meanwhile";

/// About what is discarded at a time; what is not large does no harm there.
constexpr std::size_t kDiscardedBytes = std::size_t{1} << 20U;

/// Signals are the loop's.
void BlockSignals()
{
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

} // namespace

/// What has become of a calculation: one of `result` and `thrown`. Keeps its inputs alive, whose
/// places in memory are part of the key.
struct CWorkQueue::Made
{
    WorkKey key;
    Calculation calculate;
    WorkResult result;
    std::exception_ptr thrown;
};

struct CWorkQueue::Job
{
    explicit Job(const CWorkPending& pending)
        : key(pending.Key()), kind(pending.Kind()), calculate(pending.Calculate())
    {
    }

    WorkKey key;
    EWork kind;
    Calculation calculate;
    std::atomic<bool> stop{false};
};

struct CWorkQueue::Task
{
    /// Whether it has its turn behind another one that waits.
    bool IsBehind(const Task& other) const
    {
        return round != other.round ? round > other.round
                                    : asker == EAsker::Page || other.asker == EAsker::Client;
    }

    Ticket ticket = 0;
    EAsker asker = EAsker::Client;
    std::uint64_t round = 0; ///< in each there is one operation of the page at most
    Attempt attempt;
    Piece piece; ///< in place of the attempt
    int attempts = 0;
    std::vector<Made> made;
    std::shared_ptr<Job> job; ///< that is being made; null while none is
    std::string ended;        ///< why a change is not to take effect; empty unless so
};

CWorkQueue::CWorkQueue(asio::io_context& loop) : m_loop(loop)
{
    asio::post(m_thread, BlockSignals);
}

CWorkQueue::~CWorkQueue()
{
    *m_alive = false;
    m_isEnding = true;
    if (m_preparing) {
        m_preparing->stop = true;
    }
    if (!m_tasks.empty() && m_tasks.front()->job) {
        m_tasks.front()->job->stop = true;
    }
    m_thread.stop();
    m_thread.join();
}

CWorkQueue::Ticket CWorkQueue::Add(Attempt attempt, EAsker asker)
{
    const auto task = std::make_shared<Task>();
    task->ticket = ++m_lastTicket;
    task->asker = asker;
    task->attempt = std::move(attempt);
    Place(task);
    try {
        if (m_tasks.size() == 1) {
            PostNext();
        }
    } catch (const std::bad_alloc&) {
        m_tasks.clear();
        throw;
    }
    return task->ticket;
}

void CWorkQueue::AddInPieces(Piece piece)
{
    const auto task = std::make_shared<Task>();
    task->ticket = ++m_lastTicket;
    task->piece = std::move(piece);
    Place(task);
    if (m_tasks.size() == 1) {
        PostNext();
    }
}

std::shared_ptr<const BListC> CWorkQueue::Keep(std::unique_ptr<BListC> arguments)
{
    if (BListAccessC::IsPlain(*arguments)) { // a block or two, whoever destroys them
        return arguments;
    }
    return {arguments.release(), [&loop = m_loop, gradual = m_gradual](BListC* list) {
                std::unique_ptr<BListC> owner(list);
                try {
                    asio::post(loop, [gradual, owner = std::move(owner)]() mutable {
                        GradualDisposerC::Remains remains;
                        remains.message.arguments = std::move(owner);
                        gradual->Destroy(std::move(remains), kDiscardedBytes);
                    });
                } catch (const std::bad_alloc&) {
                    // Where there is no memory for that, it is destroyed on the spot.
                }
            }};
}

/// In the round after the one that is under way, or after the last that has one of the page.
void CWorkQueue::Place(const std::shared_ptr<Task>& task)
{
    if (m_tasks.empty()) {
        m_tasks.push_back(task);
        return;
    }
    task->round = m_tasks.front()->round + 1;
    for (const std::shared_ptr<Task>& one : m_tasks) {
        if (task->asker == EAsker::Page && one->asker == EAsker::Page) {
            task->round = std::max(task->round, one->round + 1);
        }
    }
    const auto before = std::find_if(std::next(m_tasks.begin()), m_tasks.end(),
                                     [&](const auto& one) { return !task->IsBehind(*one); });
    m_tasks.insert(before, task);
}

void CWorkQueue::Forget(Ticket ticket)
{
    const auto found = std::find_if(m_tasks.begin(), m_tasks.end(),
                                    [ticket](const auto& task) { return task->ticket == ticket; });
    if (found == m_tasks.end()) {
        return;
    }
    if (found != m_tasks.begin()) {
        Discard(*found);
        m_tasks.erase(found);
    } else if ((*found)->job && (*found)->job->kind == EWork::Query) {
        (*found)->job->stop = true;
    }
}

void CWorkQueue::EndAsDisengaged(Ticket ticket)
{
    for (const std::shared_ptr<Task>& task : m_tasks) {
        if (task->ticket == ticket) {
            EndChange(*task, kDisengaged);
        }
    }
}

void CWorkQueue::CallOnTheSpot(const Attempt& attempt)
{
    const bool before = std::exchange(m_onTheSpot, true);
    try {
        attempt();
    } catch (...) {
        m_onTheSpot = before;
        throw;
    }
    m_onTheSpot = before;
}

/// In a turn of its own, so that short operations that are queued together do not hold the loop.
void CWorkQueue::PostNext()
{
    asio::post(m_loop, [this, alive = m_alive] {
        if (*alive) {
            Next();
        }
    });
}

void CWorkQueue::Next()
{
    if (m_tasks.empty()) {
        return;
    }
    const std::shared_ptr<Task> task = m_tasks.front();
    if (task->piece) {
        TakePiece(task);
    } else {
        Call(task);
    }
}

void CWorkQueue::TakePiece(const std::shared_ptr<Task>& task)
{
    m_isInPieces = true;
    if (m_toPrepare) {
        const CWorkPending pending = *std::exchange(m_toPrepare, std::nullopt);
        Prepare(pending, [this, task] { TakePiece(task); });
    } else if (task->piece()) {
        m_isInPieces = false;
        End(task);
    } else {
        asio::post(m_loop, [this, alive = m_alive, task] {
            if (*alive) {
                TakePiece(task);
            }
        });
    }
}

void CWorkQueue::Call(const std::shared_ptr<Task>& task)
{
    if (++task->attempts > kMostAttempts) {
        EndChange(*task, "what it works on kept changing");
    }
    m_present = task;
    try {
        task->attempt();
        m_present = nullptr;
        End(task);
    } catch (const std::bad_alloc&) {
        m_present = nullptr;
        End(task); // others have their turn
        throw;
    } catch (const CWorkPending& pending) {
        m_present = nullptr;
        task->job = std::make_shared<Job>(pending);
        MakeAside(task->job, [this, task](Made made) {
            task->job = nullptr;
            task->made.push_back(std::move(made));
            Call(task);
        });
    }
}

void CWorkQueue::End(const std::shared_ptr<Task>& task)
{
    m_tasks.pop_front();
    // What is large, and not the task itself, which its caller still holds.
    Discard(std::make_shared<std::pair<std::vector<Made>, Attempt>>(std::move(task->made),
                                                                    std::move(task->attempt)));
    if (!m_tasks.empty()) {
        PostNext();
    }
}

void CWorkQueue::MakeAside(const std::shared_ptr<Job>& job, std::function<void(Made)> take)
{
    const auto made = std::make_shared<Made>(Made{job->key, job->calculate, nullptr, nullptr});
    asio::post(m_thread, [this, alive = m_alive, job, made, take = std::move(take)] {
        g_workStop = &job->stop;
        try {
            EndWorkIfStopped();
            made->result = job->calculate();
        } catch (...) {
            made->thrown = std::current_exception();
        }
        g_workStop = nullptr;
        const auto end = [alive, take, made] {
            if (*alive) {
                take(std::move(*made));
            }
        };
        PostSurely(m_loop, end, m_isEnding);
    });
}

WorkResult CWorkQueue::Get(const WorkKey& key, EWork kind, std::size_t points,
                           const Calculation& calculate)
{
    if (kind == EWork::Change) {
        EndIfOvertaken();
    }
    const auto isThat = [&key](const Made& made) { return made.key == key; };
    if (m_present) {
        std::vector<Made>& made = m_present->made;
        const auto found = std::find_if(made.begin(), made.end(), isThat);
        if (found != made.end() && found->thrown) {
            std::rethrow_exception(found->thrown);
        }
        if (found != made.end()) {
            return found->result;
        }
    }
    // Taken by what it was prepared for: it is not needed twice.
    if (m_prepared && isThat(*m_prepared) && m_prepared->result) {
        return std::exchange(m_prepared, nullptr)->result;
    }
    if (!m_onTheSpot && points > kPointsOnTheSpot) {
        throw CWorkPending(key, kind, calculate);
    }
    const WorkResult result = calculate();
    // A later attempt of the same operation takes it from here: what it stands for stays the same.
    if (m_present) {
        m_present->made.push_back({key, calculate, result, nullptr});
    }
    return result;
}

void CWorkQueue::EndIfOvertaken() const
{
    if (m_present && !m_present->ended.empty()) {
        throw CWorkEnded(m_present->ended);
    }
}

void CWorkQueue::Prepare(const CWorkPending& pending)
{
    if (m_preparesLate) {
        m_toPrepare.emplace(pending);
    } else if (!m_preparing) {
        Prepare(pending, [] {});
    }
}

void CWorkQueue::Prepare(const CWorkPending& pending, std::function<void()> then)
{
    m_preparing = std::make_shared<Job>(pending);
    MakeAside(m_preparing, [this, then = std::move(then)](Made made) {
        m_preparing = nullptr;
        Discard(m_prepared);
        m_prepared = std::make_shared<const Made>(std::move(made));
        then();
    });
}

void CWorkQueue::Discard(std::shared_ptr<const void> thing)
{
    if (thing) {
        m_disposer.Destroy(std::move(thing), kDiscardedBytes);
    }
}

void CWorkQueue::EndChange(Task& task, const char* reason)
{
    if (task.ended.empty()) {
        task.ended = reason;
    }
    if (task.job && task.job->kind == EWork::Change) {
        task.job->stop = true;
    }
}

void CWorkQueue::LineReplaced()
{
    if (!m_tasks.empty() && m_tasks.front() != m_present && m_tasks.front()->attempts > 0) {
        EndChange(*m_tasks.front(), "the line was replaced meanwhile");
    }
}

void CWorkQueue::Disengaged()
{
    Discard(std::exchange(m_prepared, nullptr));
    for (const std::shared_ptr<Task>& task : m_tasks) {
        if (task != m_present) {
            EndChange(*task, kDisengaged);
        }
    }
    if (m_disengaged) {
        m_disengaged();
    }
}
