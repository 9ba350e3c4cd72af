#ifndef KESTROVE_RUNTIME_LISTACCESS_H
#define KESTROVE_RUNTIME_LISTACCESS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/BElement.h"

/// The elements of a list in place, for the codec. Through the list's own operations, which look a
/// place up for each question, writing a long list takes several times as long.
///
/// The texts of a long list share blocks of memory: as nodes, 4 million short ones would take 80
/// bytes each. What asks for one gets a node, which takes the text's place.
class BListAccessC
{
public:
    using Slot = BListC::Slot;
    using Entry = std::pair<std::string, BElementC*>;

    /// Longer texts are nodes from the start.
    static constexpr std::size_t kLongestTextInPlace = 2048;

    static const std::vector<Slot>& SlotsOf(const BListC& list) { return list.m_slots; }

    /// True for a list whose slots may be copied and dropped as they are: no text, nothing nested.
    static bool IsPlain(const BListC& list) { return !list.m_hasNodes; }
    /// Empties a plain list; its memory stays for what is added next.
    static void Clear(BListC& list) { list.m_slots.clear(); }
    /// Takes the last slot away; what it owned is the caller's.
    static void DropLast(BListC& list) { list.m_slots.pop_back(); }
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

    /// True for a slot whose text lies in a block.
    static bool IsText(const Slot& slot)
    {
        return slot.type == EBElementType::String && !slot.isNode;
    }
    /// Appends a text that lies in a block.
    ///
    /// @param beginsBlock true for the first text of a block, made with `new char[]`, which the
    ///        list owns from now on.
    static void AddText(BListC& list, char* text, std::size_t length, bool beginsBlock)
    {
        Slot& slot = list.m_slots.emplace_back();
        slot.text = text;
        slot.type = EBElementType::String;
        slot.beginsBlock = beginsBlock;
        slot.length = static_cast<std::uint16_t>(length);
        list.m_hasNodes = true;
    }
    /// Makes a text that lies in a block a node.
    ///
    /// @return the node, which the list owns.
    static const BElementC* MakeNode(const BListC& list, std::size_t place)
    {
        // The list says the same before and after: it is constant to whoever reads it.
        auto& changed = const_cast<BListC&>(list);
        Slot& slot = changed.m_slots[place];
        std::string text(slot.text, slot.length);
        std::unique_ptr<BElementC> node;
        if (slot.beginsBlock) {
            node = std::make_unique<BlockHolderC>(std::move(text), slot.text);
        } else {
            node = std::make_unique<BAtomC>(std::move(text));
        }
        changed.Adopt(node.get());
        slot.element = node.release();
        slot.isNode = true;
        slot.beginsBlock = false;
        return slot.element;
    }

    /// How many entries a dictionary has room for.
    static std::size_t RoomOf(const BDictionaryC& dictionary)
    {
        return dictionary.m_entries.capacity();
    }
    /// The last entry of a dictionary that has one.
    static Entry& LastOf(BDictionaryC& dictionary) { return dictionary.m_entries.back(); }
    /// Takes the last entry away; its value is the caller's.
    static void DropLast(BDictionaryC& dictionary) { dictionary.m_entries.pop_back(); }
    static void Reserve(BDictionaryC& dictionary, std::size_t count)
    {
        dictionary.m_entries.reserve(count);
    }
    /// Appends a value whose key is taken over.
    static void Add(BDictionaryC& dictionary, std::string&& key, std::unique_ptr<BElementC> element)
    {
        dictionary.m_entries.emplace_back(std::move(key), element.get());
        dictionary.Adopt(element.release());
    }

    // Written in place: a slot made on the stack and copied costs three times as much.
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

private:
    /// A text that was the first of its block, whose place in the list it has taken.
    class BlockHolderC final : public BAtomC
    {
    public:
        BlockHolderC(std::string text, char* block) : BAtomC(std::move(text)), m_block(block) {}

    private:
        std::unique_ptr<char[]> m_block;
    };
};

#endif
