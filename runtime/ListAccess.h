#ifndef KESTROVE_RUNTIME_LISTACCESS_H
#define KESTROVE_RUNTIME_LISTACCESS_H

#include <cstddef>
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

    /// True for a list whose slots may be copied and dropped as they are: no text, nothing nested.
    static bool IsPlain(const BListC& list) { return !list.m_hasNodes; }
    /// Empties a plain list; its memory stays for what is added next.
    static void Clear(BListC& list) { list.m_slots.clear(); }
    /// Appends copies of a plain list's slots.
    static void Append(BListC& list, const Slot* first, std::size_t count)
    {
        list.m_slots.insert(list.m_slots.end(), first, first + count);
    }

    /// Appends slots to be filled.
    ///
    /// @return the first of them, valid until the list changes.
    static Slot* Extend(BListC& list, std::size_t count)
    {
        const std::size_t size = list.m_slots.size();
        list.m_slots.resize(size + count);
        return list.m_slots.data() + size;
    }

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
