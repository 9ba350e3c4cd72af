#include "simulator/http/LoopGate.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include "runtime/TurnClock.h"

namespace {

constexpr std::chrono::microseconds kTurnOfThePage(1000); // of processor time

} // namespace

/// The service's loop may keep it for longer than the gate lives; it holds nothing of the page
/// then.
struct CLoopGate::Job
{
    enum class EStage
    {
        Waiting,
        Taken, ///< by the service's thread
        GivenUp,
    };

    bool Become(EStage stage)
    {
        EStage waiting = EStage::Waiting;
        return state.compare_exchange_strong(waiting, stage);
    }

    Work work;
    Then then;
    EOrder order = EOrder::InTurn;
    std::unique_ptr<asio::steady_timer> timer;
    bool isUnderWay = false;  ///< on its way to the service
    bool isForgotten = false; ///< the gate is closed: neither loop runs any more
    std::atomic<EStage> state{EStage::Waiting};
};

/// What the service has been handed and has not begun with. It may outlive the gate, too.
struct CLoopGate::Handed
{
    asio::io_context& service;
    std::deque<std::function<void()>> work;
};

CLoopGate::CLoopGate(asio::io_context& service, asio::io_context& own,
                     std::chrono::milliseconds patience)
    : m_service(service), m_own(own), m_patience(patience),
      m_handed(std::make_shared<Handed>(Handed{service, {}}))
{
}

CLoopGate::~CLoopGate()
{
    Close();
}

void CLoopGate::Run(Work work, Then then, EOrder order)
{
    const auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->then = std::move(then);
    job->order = order;
    job->timer = std::make_unique<asio::steady_timer>(m_own, m_patience);
    job->timer->async_wait([this, job](const asio::error_code& error) {
        if (!error) {
            GiveUp(job);
        }
    });
    m_jobs.insert(job);
    if (order == EOrder::AtOnce || m_underWay < kMostUnderWay) {
        Begin(job);
        return;
    }
    m_waiting.push_back(job);
    if (m_waiting.size() > kMostWaiting) {
        const JobPtr oldest = m_waiting.front();
        GiveUp(oldest);
    }
}

void CLoopGate::GiveUp(const JobPtr& job)
{
    if (job->Become(Job::EStage::GivenUp)) {
        Finish(job, EOutcome::NotDone);
    }
}

void CLoopGate::Begin(const JobPtr& job)
{
    job->isUnderWay = true;
    ++m_underWay;
    asio::post(m_service, [this, job, handed = m_handed] {
        const bool isFirst = job->order == EOrder::AtOnce;
        handed->work.insert(isFirst ? handed->work.begin() : handed->work.end(),
                            [this, job] { CarryOut(job); });
        if (handed->work.size() == 1) {
            asio::post(handed->service, [handed] { WorkForATurn(handed); });
        }
    });
}

/// On the service's thread, whose other work has its turn after this.
void CLoopGate::WorkForATurn(const std::shared_ptr<Handed>& handed)
{
    const TurnClockC turn(kTurnOfThePage);
    do {
        handed->work.front()();
        handed->work.pop_front();
    } while (!handed->work.empty() && !turn.IsOver());
    if (!handed->work.empty()) {
        asio::post(handed->service, [handed] { WorkForATurn(handed); });
    }
}

/// On the service's thread. Where the gate is closed, the work has been given up.
void CLoopGate::CarryOut(const JobPtr& job)
{
    if (!job->Become(Job::EStage::Taken)) {
        return;
    }
    const auto end = [this, job](EOutcome outcome) {
        if (!job->isForgotten) {
            asio::post(m_own, [this, job, outcome] { Finish(job, outcome); });
        }
    };
    try {
        job->work([end] { end(EOutcome::Done); });
        asio::post(m_own, [this, job] { Leave(job); });
    } catch (const std::exception&) {
        end(EOutcome::Failed);
    }
}

/// What goes on aside holds up nobody else.
void CLoopGate::Leave(const JobPtr& job)
{
    if (job->isUnderWay) {
        job->isUnderWay = false;
        --m_underWay;
    }
    BeginNext();
}

void CLoopGate::BeginNext()
{
    while (!m_waiting.empty() && m_underWay < kMostUnderWay) {
        const JobPtr next = m_waiting.front();
        m_waiting.pop_front();
        Begin(next);
    }
}

void CLoopGate::Finish(const JobPtr& job, EOutcome outcome)
{
    if (m_jobs.erase(job) == 0) {
        return;
    }
    job->timer.reset();
    m_waiting.erase(std::remove(m_waiting.begin(), m_waiting.end(), job), m_waiting.end());
    const Then then = std::exchange(job->then, {});
    job->work = {};
    Leave(job);
    then(outcome);
}

void CLoopGate::Close()
{
    m_waiting.clear();
    for (const JobPtr& job : std::exchange(m_jobs, {})) {
        job->Become(Job::EStage::GivenUp);
        job->isForgotten = true;
        job->work = {};
        job->then = {};
        job->timer.reset();
    }
}
