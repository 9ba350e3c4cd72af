#include "simulator/http/LoopGate.h"

#include <condition_variable>
#include <exception>
#include <mutex>

#include <asio/post.hpp>

struct LoopGateC::State
{
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;
};

/// All of it guarded by the state's mutex.
struct LoopGateC::Job
{
    enum class EStage
    {
        Waiting,
        Running,
        Done,
        GivenUp,
    };

    const std::function<void()>& work; ///< of a caller that waits unless the job is given up
    EStage stage = EStage::Waiting;
    std::exception_ptr thrown;
};

LoopGateC::LoopGateC(asio::io_context& loop, std::chrono::milliseconds patience)
    : m_loop(loop), m_patience(patience), m_state(std::make_shared<State>())
{
}

bool LoopGateC::Run(const std::function<void()>& work)
{
    using EStage = Job::EStage;
    const auto job = std::make_shared<Job>(Job{work, EStage::Waiting, nullptr});
    asio::post(m_loop, [state = m_state, job] {
        std::unique_lock<std::mutex> lock(state->mutex);
        if (job->stage == EStage::GivenUp)
            return;
        job->stage = EStage::Running;
        lock.unlock();
        std::exception_ptr thrown;
        try {
            job->work();
        } catch (...) {
            thrown = std::current_exception();
        }
        lock.lock();
        job->thrown = thrown;
        job->stage = EStage::Done;
        state->changed.notify_all();
    });
    std::unique_lock<std::mutex> lock(m_state->mutex);
    m_state->changed.wait_for(lock, m_patience,
                              [&] { return m_state->closed || job->stage != EStage::Waiting; });
    if (job->stage == EStage::Waiting) {
        job->stage = EStage::GivenUp;
        return false;
    }
    m_state->changed.wait(lock, [&] { return job->stage == EStage::Done; });
    if (job->thrown)
        std::rethrow_exception(job->thrown);
    return true;
}

void LoopGateC::Close()
{
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->closed = true;
    }
    m_state->changed.notify_all();
}
