#include "runtime/EventQueue.h"

#include <utility>

namespace {

/// Numbers of events that have gone are removed when they are this many and more than half.
constexpr std::size_t kMostGoneNumbers = 4096;

bool FitsInPlace(const BListC* payload)
{
    return payload != nullptr && payload->Size() <= EventQueueC::kMostNumbersInPlace &&
           BListAccessC::IsPlain(*payload);
}

} // namespace

void EventQueueC::Push(const std::string& name, std::unique_ptr<BListC>& payload,
                       std::size_t memory)
{
    m_memory += memory;
    if (FitsInPlace(payload.get())) {
        const auto& slots = BListAccessC::SlotsOf(*payload);
        m_numbers.insert(m_numbers.end(), slots.begin(), slots.end());
        m_events.push_back(
            {&name, nullptr, memory, static_cast<std::uint16_t>(slots.size()), true});
    } else {
        m_events.push_back({&name, std::move(payload), memory, 0, false});
    }
    while (m_events.size() > kMostEvents || m_memory > kMostMemory) {
        RemoveFront();
        ++m_dropped;
    }
}

EventC EventQueueC::Pop()
{
    Waiting& oldest = m_events.front();
    EventC event{oldest.name, std::move(oldest.payload)};
    if (oldest.isInPlace) {
        event.payload = m_spare != nullptr ? std::move(m_spare) : std::make_unique<BListC>(nullptr);
        BListAccessC::Append(*event.payload, m_numbers.data() + m_firstNumber, oldest.numbers);
    }
    RemoveFront();
    return event;
}

void EventQueueC::Recycle(EventC event)
{
    if (FitsInPlace(event.payload.get())) {
        BListAccessC::Clear(*event.payload);
        m_spare = std::move(event.payload);
    }
}

void EventQueueC::RemoveFront()
{
    m_memory -= m_events.front().memory;
    m_firstNumber += m_events.front().numbers;
    m_events.pop_front();
    if (m_events.empty()) {
        m_numbers.clear();
        m_firstNumber = 0;
    } else if (m_firstNumber > kMostGoneNumbers && m_firstNumber > m_numbers.size() / 2) {
        m_numbers.erase(m_numbers.begin(),
                        m_numbers.begin() + static_cast<std::ptrdiff_t>(m_firstNumber));
        m_firstNumber = 0;
    }
}

void EventQueueC::Clear()
{
    m_events.clear();
    m_numbers.clear();
    m_firstNumber = 0;
    m_memory = 0;
}
