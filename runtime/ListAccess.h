#ifndef KESTROVE_RUNTIME_LISTACCESS_H
#define KESTROVE_RUNTIME_LISTACCESS_H

#include <cstdint>
#include <vector>

#include "platform/BElement.h"

/// The elements of a list in place, for the codec. Through the list's own operations, which look a
/// place up for each question, writing a long list takes several times as long.
class BListAccessC
{
public:
    using Slot = BListC::Slot;

    static const std::vector<Slot>& SlotsOf(const BListC& list) { return list.m_slots; }

    static void AddInteger(BListC& list, std::int64_t value)
    {
        Slot& slot = list.m_slots.emplace_back();
        slot.integer = value;
        slot.type = EBElementType::Integer;
    }
    static void AddDouble(BListC& list, double value)
    {
        Slot& slot = list.m_slots.emplace_back();
        slot.number = value;
        slot.type = EBElementType::Double;
    }
};

#endif
