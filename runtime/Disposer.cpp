#include "runtime/Disposer.h"

#include <chrono>
#include <csignal>

#include <malloc.h>
#include <pthread.h>

namespace {

/// Less than this stays with the process.
constexpr std::size_t kLeastToGiveBack = std::size_t{4} * 1024 * 1024;
/// Giving back has the allocator to itself: it waits until nothing has been destroyed for so long.
constexpr std::chrono::milliseconds kQuiet(1000);

/// Whoever has the process's signals to handle is not this thread.
void BlockSignals(sigset_t& before)
{
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
}

} // namespace

DisposerC::~DisposerC()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void DisposerC::CountFreed(std::size_t bytes)
{
    m_freedHere += bytes;
    if (m_freedHere >= kLeastToGiveBack) {
        HandOver(nullptr, 0);
    }
}

void DisposerC::HandOver(std::shared_ptr<void> thing, std::size_t bytes)
{
    StartThread();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_items.push_back({std::move(thing), bytes});
        m_pending += bytes;
        m_freed += m_freedHere;
        m_freedHere = 0;
    }
    m_changed.notify_one();
}

void DisposerC::StartThread()
{
    if (!m_thread.joinable()) {
        sigset_t before;
        BlockSignals(before);
        m_thread = std::thread([this] { Run(); });
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
}

void DisposerC::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto hasWork = [this] { return m_isEnding || !m_items.empty(); };
    while (true) {
        if (!m_items.empty()) {
            DestroyFirst(lock);
        } else if (m_isEnding) {
            return;
        } else if (m_freed < kLeastToGiveBack) {
            m_changed.wait(lock, hasWork);
        } else if (!m_changed.wait_for(lock, kQuiet, hasWork)) {
            m_freed = 0;
            lock.unlock();
            ::malloc_trim(0);
            lock.lock();
        }
    }
}

void DisposerC::DestroyFirst(std::unique_lock<std::mutex>& lock)
{
    Item item = std::move(m_items.front());
    m_items.pop_front();
    lock.unlock();
    item.thing.reset();
    m_pending -= item.bytes;
    lock.lock();
    m_freed += item.bytes;
}
