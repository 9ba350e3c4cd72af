#include "runtime/ElementRemains.h"

#include <utility>

#include "runtime/ListAccess.h"

namespace {

/// True for a value that goes in one piece.
bool IsSingle(const BElementC& element)
{
    switch (element.Type()) {
    case EBElementType::List: {
        const auto& list = static_cast<const BListC&>(element);
        return list.Size() == 0 || BListAccessC::IsPlain(list);
    }
    case EBElementType::Dictionary:
        return static_cast<const BDictionaryC&>(element).Size() == 0;
    default:
        return true;
    }
}

/// How many bytes go with a value that goes in one piece.
std::size_t BytesOf(const BElementC& element)
{
    switch (element.Type()) {
    case EBElementType::List:
        return BListAccessC::SlotsOf(static_cast<const BListC&>(element)).capacity() *
               sizeof(BListAccessC::Slot);
    case EBElementType::Dictionary:
        return BListAccessC::RoomOf(static_cast<const BDictionaryC&>(element)) *
               sizeof(BListAccessC::Entry);
    default:
        break;
    }
    const auto* const atom = dynamic_cast<const BAtomC*>(&element);
    return atom == nullptr ? 0 : atom->StringValue().capacity();
}

void DestroySingle(std::unique_ptr<BElementC> element, DisposerC& large)
{
    const std::size_t bytes = BytesOf(*element);
    large.Destroy(std::move(element), bytes);
}

} // namespace

void ElementRemainsC::DestroySome(std::size_t& steps, DisposerC& large)
{
    while (m_root != nullptr && steps > 0) {
        if (IsSingle(*m_present)) {
            if (m_present == m_root.get()) {
                --steps;
                DestroySingle(std::move(m_root), large);
                return;
            }
            m_present = m_present->Parent(); // whose last element it is
        }
        m_present = m_present->Type() == EBElementType::List
                        ? DestroyElements(static_cast<BListC&>(*m_present), steps, large)
                        : DestroyEntries(static_cast<BDictionaryC&>(*m_present), steps, large);
    }
}

/// @return whose elements go next: the list's own, or those of its last element.
BElementC* ElementRemainsC::DestroyElements(BListC& list, std::size_t& steps, DisposerC& large)
{
    while (steps > 0 && list.Size() > 0) {
        const BListAccessC::Slot last = BListAccessC::SlotsOf(list).back();
        if (last.isNode && !IsSingle(*last.element)) {
            return last.element;
        }
        --steps;
        BListAccessC::DropLast(list);
        if (last.isNode) {
            DestroySingle(std::unique_ptr<BElementC>(last.element), large);
        } else if (last.beginsBlock) {
            delete[] last.text; // the texts behind it in the block have gone before it
        }
    }
    return &list;
}

BElementC* ElementRemainsC::DestroyEntries(BDictionaryC& dictionary, std::size_t& steps,
                                           DisposerC& large)
{
    while (steps > 0 && dictionary.Size() > 0) {
        BListAccessC::Entry& last = BListAccessC::LastOf(dictionary);
        if (!IsSingle(*last.second)) {
            return last.second;
        }
        --steps;
        std::unique_ptr<BElementC> value(last.second);
        const std::size_t bytes = last.first.capacity();
        large.Destroy(std::move(last.first), bytes);
        BListAccessC::DropLast(dictionary);
        DestroySingle(std::move(value), large);
    }
    return &dictionary;
}
