#ifndef KESTROVE_SIMULATOR_HTTP_EVENTFEED_H
#define KESTROVE_SIMULATOR_HTTP_EVENTFEED_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "simulator/http/LineEvent.h"

/// What viewers are sent beside the line.
enum class EFeedEvent : std::size_t
{
    Settings,
    State,
    Show,
};

inline constexpr std::size_t kFeedEvents = 3;

/// What the viewers of the page are to know: of each kind the newest event, written once and shared
/// by all viewers. There is no queue: a viewer that is slow misses what was replaced meanwhile, and
/// nobody waits for it.
///
/// All events of a viewer have one budget of bytes. The state comes in any case, points when there
/// is something left, settings and line at intervals, and as they are then.
///
/// Thread safety: any thread.
class CEventFeed
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// How many bytes of points are taken at once, but for those of a single longer pass.
    static constexpr std::size_t kMostPointBytes = 24 * 1024;
    /// How many bytes of events there are a second for a viewer, over a longer time.
    static constexpr double kBytesASecond = 22000.0;
    /// How many of them may be saved up.
    static constexpr double kMostSavedBytes = 40000.0;
    /// How many may be taken in advance, but for those of points. With what may be saved up it is
    /// less than 30 kB a second over ten seconds or more.
    static constexpr double kMostAdvance = 30000.0;
    /// What passes at least between two events of the settings, and between two of the line: so
    /// states and these leave something for points, however often they change.
    static constexpr std::chrono::milliseconds kBetweenOthers{190};

    /// What a viewer has been sent last.
    struct Seen
    {
        std::array<std::uint64_t, kFeedEvents> numbers{};
        std::uint64_t line = 0;
        bool lacksPoints = false; ///< of that line
        SentPieces pieces;
        double savedBytes = kMostSavedBytes; ///< below 0 what has been taken in advance
        std::optional<TimePoint> last;
        std::optional<TimePoint> lastSettings;
        std::optional<TimePoint> lastLine;
    };

    /// @param changed is called when there is something new, on whatever thread brings it; may be
    ///        empty.
    explicit CEventFeed(std::function<void()> changed = {}) : m_changed(std::move(changed)) {}

    /// A viewer has come.
    void Enter();
    /// A viewer has gone. With the last one the events are forgotten, since nobody keeps them up to
    /// date without viewers.
    void Leave();
    bool HasViewers() const;
    /// How often the events have been forgotten: when it changes, all must be published anew.
    std::uint64_t Generation() const;

    /// Replaces the event of a kind; without effect when it says the same, or nobody is there.
    ///
    /// @param json one line.
    void Publish(EFeedEvent event, const std::string& json);
    /// Replaces the line, likewise.
    void PublishLine(LinePicturePtr picture);
    /// What is new to a viewer.
    ///
    /// @param seen is brought up to date. What there is no budget for, and points that are too many
    ///        to be taken at once, come with later calls.
    /// @param now no earlier than that of the call before.
    /// @return the events as they go over the stream, one of each kind at most; empty when there
    ///         are none.
    std::string Take(Seen& seen, TimePoint now = std::chrono::steady_clock::now()) const;

private:
    struct Newest
    {
        std::string json;
        std::uint64_t number = 0;
    };

    std::string TakeEvent(EFeedEvent event, Seen& seen) const;
    std::string TakeLine(Seen& seen) const;

    std::function<void()> m_changed;
    mutable std::mutex m_mutex; ///< guards all that follows
    std::size_t m_viewers = 0;
    std::array<Newest, kFeedEvents> m_newest;
    LinePicturePtr m_line;
    std::uint64_t m_lineNumber = 0;
    std::uint64_t m_lastNumber = 0;
    std::uint64_t m_generation = 1;
};

#endif
