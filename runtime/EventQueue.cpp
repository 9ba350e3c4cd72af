#include "runtime/EventQueue.h"

#include <utility>

void EventQueueC::Push(EventC event)
{
    m_memory += event.memory;
    m_events.push_back(std::move(event));
    while (m_events.size() > kMostEvents || m_memory > kMostMemory) {
        Pop();
        ++m_dropped;
    }
}

EventC EventQueueC::Pop()
{
    EventC oldest = std::move(m_events.front());
    m_events.pop_front();
    m_memory -= oldest.memory;
    return oldest;
}

void EventQueueC::Clear()
{
    m_events.clear();
    m_memory = 0;
}
