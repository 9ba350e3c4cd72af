#ifndef KESTROVE_RUNTIME_DISPOSER_H
#define KESTROVE_RUNTIME_DISPOSER_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

/// Destroys what is large on a thread of its own, so that a loop does not wait for it.
///
/// The thread begins with the first thing that is handed over; a service that meets nothing large
/// has none. Thread safety: used from one thread.
class DisposerC
{
public:
    /// What takes less is destroyed where it is: handing it over would cost more.
    static constexpr std::size_t kLeastBytes = std::size_t{128} * 1024;

    DisposerC() = default;
    /// Destroys what is left.
    ~DisposerC();
    DisposerC(const DisposerC&) = delete;
    DisposerC& operator=(const DisposerC&) = delete;

    /// Destroys a thing, here when it is small.
    ///
    /// @param bytes about how many it takes.
    template <typename Thing>
    void Destroy(Thing&& thing, std::size_t bytes)
    {
        static_assert(std::is_rvalue_reference_v<Thing&&>, "what is destroyed is given away");
        try {
            if (bytes >= kLeastBytes) {
                HandOver(std::make_shared<Thing>(std::move(thing)), bytes);
                return;
            }
            const Thing ended(std::move(thing));
        } catch (const std::exception&) {
            // Without a thread or memory it has been destroyed here.
        }
    }

    /// How many bytes wait to be destroyed.
    std::size_t Pending() const { return m_pending.load(); }

private:
    struct Item
    {
        std::shared_ptr<void> thing;
        std::size_t bytes;
    };

    void HandOver(std::shared_ptr<void> thing, std::size_t bytes);
    void StartThread();
    void Run();
    void DestroyFirst(std::unique_lock<std::mutex>& lock);

    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Item> m_items;
    bool m_isEnding = false;
    std::atomic<std::size_t> m_pending{0};
};

#endif
