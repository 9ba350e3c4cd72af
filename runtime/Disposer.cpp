#include "runtime/Disposer.h"

#include <chrono>

#include <malloc.h>

#include "runtime/SignalsBlocked.h"

namespace {

/// Less than this stays with the process.
constexpr std::size_t kLeastToGiveBack = std::size_t{4} * 1024 * 1024;
/// Giving back has the allocator to itself: it waits until nothing has been destroyed for so long.
constexpr std::chrono::milliseconds kQuiet(1000);

/// Has the system's allocator return large blocks to the system at once, whatever it has met
/// before, and take its memory in larger steps, since each step waits for what is being returned.
void SetUpAllocator()
{
    constexpr int kLeastOwnBlock = 256 * 1024;
    constexpr int kStep = 1024 * 1024;
    constexpr int kMostAtTheTop = 8 * kStep;
    ::mallopt(M_MMAP_THRESHOLD, kLeastOwnBlock);
    ::mallopt(M_TOP_PAD, kStep);
    ::mallopt(M_TRIM_THRESHOLD, kMostAtTheTop);
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
        SetUpAllocator();
        const SignalsBlockedC blocked;
        m_thread = std::thread([this] { Run(); });
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
