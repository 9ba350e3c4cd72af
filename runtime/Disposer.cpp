#include "runtime/Disposer.h"

#include <exception>

#include "runtime/SignalsBlocked.h"

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

void DisposerC::HandOver(std::shared_ptr<void> thing, std::size_t bytes)
{
    try {
        StartThread();
    } catch (const std::exception&) {
        return; // without a thread it is destroyed on the spot
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_items.push_back({std::move(thing), bytes});
        m_pending += bytes;
    }
    m_changed.notify_one();
}

void DisposerC::StartThread()
{
    if (!m_thread.joinable()) {
        const SignalsBlockedC blocked;
        m_thread = std::thread([this] { Run(); });
    }
}

void DisposerC::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_items.empty(); });
        if (m_items.empty()) {
            return;
        }
        DestroyFirst(lock);
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
}
