#ifndef KESTROVE_PLATFORM_BELEMENT_H
#define KESTROVE_PLATFORM_BELEMENT_H

/// @file
/// Values as they travel: numbers, strings, lists and dictionaries.

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/Export.h"

/// What a structured value holds.
enum class EBElementType
{
    Nothing,    ///< no value: nil on the link, or a place past the end of a list
    Integer,    ///< a whole number
    Double,     ///< a floating-point number
    String,     ///< a text, bytes as they came
    List,       ///< a BListC
    Dictionary, ///< a BDictionaryC
};

/// A structured value: what arguments, replies and event payloads are made of.
///
/// Lifetime: a value is made with `new` and destroyed with `delete`; one that was handed to a list
/// or a dictionary belongs to it and goes with it. Destruction needs no stack however deep lists
/// are nested. Not copyable. Thread safety: none; distinct values are independent.
class KESTROVE_EXPORT BElementC
{
public:
    /// Destroys the value and everything below it.
    virtual ~BElementC();
    BElementC(const BElementC&) = delete;
    BElementC& operator=(const BElementC&) = delete;

    /// @return what this value holds.
    [[nodiscard]] virtual EBElementType Type() const = 0;

    /// @return the list or dictionary that holds this value, or the parent that it was made under;
    ///         null for a value that stands alone. Not owned.
    [[nodiscard]] BElementC* Parent() const { return m_parent; }

protected:
    /// Makes a value under a parent.
    ///
    /// @param parent only remembered (see Parent()); null for none.
    explicit BElementC(BElementC* parent) : m_parent(parent) {}

    /// Gives up one of the values that this one owns, the last first.
    ///
    /// @return the value, which the caller owns; null when none is left.
    virtual BElementC* ReleaseLastChild();
    /// Destroys every value below this one without recursion. For destructors of containers.
    void DestroyChildren();
    /// Makes a value know this one as its parent.
    ///
    /// @param child the value; must not be null.
    void Adopt(BElementC* child) { child->m_parent = this; }

private:
    BElementC* m_parent;
};

/// A single value: a whole number, a floating-point number, a text, or nothing.
class KESTROVE_EXPORT BAtomC : public BElementC
{
public:
    /// Holds nothing.
    BAtomC();
    /// Holds a whole number.
    ///
    /// @param value the number.
    explicit BAtomC(int value);
    /// Holds a whole number of 64 bits.
    ///
    /// @param value the number.
    explicit BAtomC(std::int64_t value);
    /// Holds a floating-point number.
    ///
    /// @param value the number.
    explicit BAtomC(double value);
    /// Holds a text.
    ///
    /// @param value the text.
    explicit BAtomC(std::string value);
    ~BAtomC() override;

    [[nodiscard]] EBElementType Type() const override { return m_type; }

    /// @return the number as an int: a double is truncated toward zero, what does not fit
    ///         saturates, NaN is 0. A text or nothing is 0.
    [[nodiscard]] int IntValue() const;
    /// @return the number as a 64-bit integer, by the rules of IntValue().
    [[nodiscard]] std::int64_t Int64Value() const;
    /// @return the number as a double; exact for every int. A text or nothing is 0.0.
    [[nodiscard]] double DoubleValue() const;
    /// @return the text, valid as long as this value; empty when this value is not a text.
    [[nodiscard]] const std::string& StringValue() const { return m_string; }

private:
    EBElementType m_type = EBElementType::Nothing;
    union {
        std::int64_t m_integer = 0;
        double m_double;
    };
    std::string m_string;
};

/// An ordered list of values: an argument list, a list reply, an event's payload.
///
/// Whole and floating-point numbers are kept in place, 16 bytes an element; texts and nested
/// values are nodes of their own that the list owns. A text of a long list that has arrived over
/// the link becomes a node when it is first asked for; so one thread at a time reads a list, too.
/// Positions count from 0.
class KESTROVE_EXPORT BListC : public BElementC
{
public:
    /// An empty list.
    ///
    /// @param parent only remembered (see Parent()): the list is not added to it. Null for none.
    explicit BListC(BElementC* parent);
    ~BListC() override;

    [[nodiscard]] EBElementType Type() const override { return EBElementType::List; }

    /// Appends a whole number.
    ///
    /// @param value the number.
    void AddInt(int value);
    /// Appends a whole number of 64 bits.
    ///
    /// @param value the number.
    void AddInt64(std::int64_t value);
    /// Appends a floating-point number.
    ///
    /// @param value the number.
    void AddDouble(double value);
    /// Appends a copy of a text.
    ///
    /// @param value the text.
    void AddString(const std::string& value);
    /// Appends the value "nothing".
    void AddNothing();
    /// Appends a value and takes ownership of it.
    ///
    /// @param element the value; owned from now on. Null appends "nothing".
    void Add(BElementC* element);
    /// Makes room, so that adding elements does not move the list. The elements are the same
    /// without it.
    ///
    /// @param count for how many elements in all; below the present size nothing changes.
    void Reserve(int count);
    /// Makes room where this class keeps its elements, as Reserve() does in the bundled runtime,
    /// but without a call of the implementation: another may count its calls, or keep its elements
    /// elsewhere. For who knows how long a list becomes.
    ///
    /// @param count for how many elements in all; below the present size nothing changes.
    /// @throws std::length_error, std::bad_alloc where there is no such room.
    void MakeRoom(std::size_t count) { m_slots.reserve(count); }

    /// @return the number of elements.
    [[nodiscard]] int Size() const { return static_cast<int>(m_slots.size()); }
    /// @param index a place, from 0.
    /// @return what stands there; Nothing past the end.
    [[nodiscard]] EBElementType TypeAt(int index) const;
    /// @param index a place, from 0.
    /// @return the number there as an int, by the rules of BAtomC::IntValue(); 0 past the end and
    ///         for what is not a number.
    [[nodiscard]] int GetInt(int index) const;
    /// @param index a place, from 0.
    /// @return the number there as a 64-bit integer, likewise.
    [[nodiscard]] std::int64_t GetInt64(int index) const;
    /// @param index a place, from 0.
    /// @return the number there as a double; 0.0 past the end and for what is not a number.
    [[nodiscard]] double GetDouble(int index) const;
    /// @param index a place, from 0.
    /// @return the text there, valid as long as the list; empty past the end and for what is not
    ///         a text.
    [[nodiscard]] const std::string& GetString(int index) const;
    /// @param index a place, from 0.
    /// @return the nested list there, still owned by this list; null when there is none.
    [[nodiscard]] const BListC* GetList(int index) const;
    /// @param index a place, from 0.
    /// @return the text or nested value there, still owned by this list; null for a number, for
    ///         "nothing" and past the end.
    [[nodiscard]] const BElementC* GetElement(int index) const;

protected:
    BElementC* ReleaseLastChild() override;

private:
    // The runtime's codec reads and fills the slots of long lists in place.
    friend class BListAccessC;

    struct Slot
    {
        union {
            std::int64_t integer;
            double number;
            BElementC* element;
            char* text;
        };
        EBElementType type;
        bool isNode; // `element` holds the value: texts, nested values, and what Add() was given
        // Of a text that is not a node: it lies in a block that texts share, which the slot of the
        // block's first text owns.
        bool beginsBlock;
        std::uint16_t length;
    };

    const Slot* At(int index) const;

    std::vector<Slot> m_slots;
    bool m_hasNodes = false; // some slot is a node or a text: else there is nothing to destroy
};

/// Values under names, in the order in which they were added.
class KESTROVE_EXPORT BDictionaryC : public BElementC
{
public:
    /// An empty dictionary.
    ///
    /// @param parent only remembered (see Parent()); null for none.
    explicit BDictionaryC(BElementC* parent);
    ~BDictionaryC() override;

    [[nodiscard]] EBElementType Type() const override { return EBElementType::Dictionary; }

    /// Appends a value under a key.
    ///
    /// @param key the key; one that is there already stays, and Get() finds the first.
    /// @param element the value; owned from now on. Null stands for "nothing".
    void Add(const std::string& key, BElementC* element);
    /// @return the number of entries.
    [[nodiscard]] int Size() const { return static_cast<int>(m_entries.size()); }
    /// @param key looked for as Add() was given it.
    /// @return the first value under it, still owned by this dictionary; null when there is none.
    [[nodiscard]] const BElementC* Get(const std::string& key) const;
    /// @param index an entry, from 0; must lie below Size().
    /// @return its key, valid as long as the dictionary.
    [[nodiscard]] const std::string& KeyAt(int index) const;
    /// @param index an entry, from 0; must lie below Size().
    /// @return its value, still owned by this dictionary; never null.
    [[nodiscard]] const BElementC* ValueAt(int index) const;

protected:
    BElementC* ReleaseLastChild() override;

private:
    // The runtime's codec makes room for the entries.
    friend class BListAccessC;

    std::vector<std::pair<std::string, BElementC*>> m_entries;
};

#endif
