#ifndef KESTROVE_SIMULATOR_HTTP_EVENTFEED_H
#define KESTROVE_SIMULATOR_HTTP_EVENTFEED_H

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// What viewers are told, in the order in which a new one hears of it.
enum class EFeedEvent : std::size_t
{
    Settings,
    Line,
    State,
};

inline constexpr std::size_t kFeedEvents = 3;

/// What the viewers of the page are to know: of each kind the newest event, written once and shared
/// by all viewers. There is no queue: a viewer that is slow misses what was replaced meanwhile, and
/// nobody waits for it.
///
/// Thread safety: any thread.
class EventFeedC
{
public:
    using Message = std::shared_ptr<const std::string>;
    using Messages = std::vector<Message>;
    /// What a viewer has been told last, by number.
    using Seen = std::array<std::uint64_t, kFeedEvents>;

    explicit EventFeedC(std::size_t mostViewers) : m_mostViewers(mostViewers) {}

    /// Takes a viewer in; false when there are too many, or the feed is closed.
    ///
    /// @param atMost how long to wait for one to leave when there are too many.
    bool Enter(std::chrono::milliseconds atMost = std::chrono::milliseconds(0));
    /// A viewer that was taken in is gone. With the last one the events are forgotten, since nobody
    /// keeps them up to date without viewers.
    void Leave();
    bool HasViewers() const;
    /// How often the events have been forgotten: when it changes, all must be published anew.
    std::uint64_t Generation() const;

    /// Replaces the event of a kind; without effect when it tells the same, or nobody is there.
    ///
    /// @param json one line.
    void Publish(EFeedEvent event, const std::string& json);
    /// Waits until there is an event that the viewer has not been told.
    ///
    /// @param seen is brought up to date.
    /// @return the events as they go over the stream; none when nothing came in time.
    Messages Take(Seen& seen, std::chrono::milliseconds atMost);

    /// Ends all waiting, for good.
    void Close();
    bool Closed() const;

private:
    struct Newest
    {
        Message message;
        std::uint64_t number = 0;
    };

    Messages Unseen(Seen& seen) const;

    std::size_t m_mostViewers;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_viewers = 0;
    std::array<Newest, kFeedEvents> m_newest;
    std::uint64_t m_lastNumber = 0;
    std::uint64_t m_generation = 1;
    bool m_closed = false;
};

#endif
