#ifndef KESTROVE_RUNTIME_EVENTQUEUE_H
#define KESTROVE_RUNTIME_EVENTQUEUE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "runtime/ListAccess.h"

/// An event on its way to its callback.
struct EventC
{
    /// Its name as it was registered; registrations stay as long as the connection.
    const std::string* name;
    std::unique_ptr<BListC> payload;
};

/// The events that wait, in the order of their arrival. Bounded: beyond the limit the oldest go, so
/// that an application that does not read for a while sees what is newest.
///
/// A few numbers, which is what nearly all events carry, wait in memory that all of them share, and
/// become a list when they are delivered: thousands of lists at a time would cost more than
/// everything else that is done for an event.
class EventQueueC
{
public:
    static constexpr std::size_t kMostEvents = 4096;
    static constexpr std::size_t kMostMemory = std::size_t{16} * 1024 * 1024;
    static constexpr int kMostNumbersInPlace = 32;

    /// Adds an event.
    ///
    /// @param name the event's name; must outlive the queue.
    /// @param payload its values, or null. A few numbers are copied, and the list stays with the
    ///        caller; every other is taken.
    /// @param memory about how many bytes the event takes.
    void Push(const std::string& name, std::unique_ptr<BListC>& payload, std::size_t memory);
    /// Takes the oldest event; the queue must not be empty.
    EventC Pop();
    /// Takes an event back that has been delivered: the next may be made of its list.
    void Recycle(EventC event);
    void Clear();

    std::size_t Size() const { return m_events.size(); }
    /// How many events have gone because of the limit.
    unsigned long Dropped() const { return m_dropped; }

private:
    struct Waiting
    {
        const std::string* name;
        std::unique_ptr<BListC> payload; // null, too, where the values are among m_numbers
        std::size_t memory;
        std::uint16_t numbers; // how many of m_numbers are its own
        bool isInPlace;
    };

    /// Removes the oldest event, with its numbers.
    void RemoveFront();

    std::deque<Waiting> m_events;
    std::vector<BListAccessC::Slot> m_numbers; // in the order of the events
    std::size_t m_firstNumber = 0;             // those before it belong to events that have gone
    std::unique_ptr<BListC> m_spare;           // what the next list may be made of
    std::size_t m_memory = 0;
    unsigned long m_dropped = 0;
};

#endif
