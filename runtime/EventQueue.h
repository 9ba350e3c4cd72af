#ifndef KESTROVE_RUNTIME_EVENTQUEUE_H
#define KESTROVE_RUNTIME_EVENTQUEUE_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

#include "platform/BElement.h"

/// An event that has arrived and waits for its delivery.
struct EventC
{
    /// Its name as it was registered; registrations stay as long as the connection.
    const std::string* name;
    std::unique_ptr<BListC> payload;
    std::size_t memory = 0; ///< about how many bytes it takes
};

/// The events that wait, in the order of their arrival. Bounded: beyond the limit the oldest go, so
/// that an application that does not read for a while sees what is newest.
class EventQueueC
{
public:
    static constexpr std::size_t kMostEvents = 4096;
    static constexpr std::size_t kMostMemory = std::size_t{16} * 1024 * 1024;

    void Push(EventC event);
    /// Takes the oldest event; the queue must not be empty.
    EventC Pop();
    void Clear();

    std::size_t Size() const { return m_events.size(); }
    /// How many events have gone because of the limit.
    unsigned long Dropped() const { return m_dropped; }

private:
    std::deque<EventC> m_events;
    std::size_t m_memory = 0;
    unsigned long m_dropped = 0;
};

#endif
