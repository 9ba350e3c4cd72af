#include "platform/BElement.h"

#include <limits>

#include "tests/doubles/Recording.h"

using Doubles::Recording;

namespace {

const std::string kNoText;

int Saturated(std::int64_t value)
{
    constexpr std::int64_t kLowest = std::numeric_limits<int>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(value < kLowest ? kLowest : value > kHighest ? kHighest : value);
}

std::int64_t Truncated(double value)
{
    constexpr double kLimit = 9223372036854775808.0; // 2 to the power of 63
    if (!(value > -kLimit)) {
        return value <= -kLimit ? std::numeric_limits<std::int64_t>::min() : 0;
    }
    return value < kLimit ? static_cast<std::int64_t>(value)
                          : std::numeric_limits<std::int64_t>::max();
}

} // namespace

BElementC::~BElementC() = default;

BElementC* BElementC::ReleaseLastChild()
{
    return nullptr;
}

void BElementC::DestroyChildren()
{
    while (BElementC* child = ReleaseLastChild()) {
        delete child;
    }
}

BAtomC::BAtomC() : BElementC(nullptr)
{
    Recording().NoteMade(false);
}

BAtomC::BAtomC(int value) : BAtomC(static_cast<std::int64_t>(value)) {}

BAtomC::BAtomC(std::int64_t value) : BAtomC()
{
    m_type = EBElementType::Integer;
    m_integer = value;
}

BAtomC::BAtomC(double value) : BAtomC()
{
    m_type = EBElementType::Double;
    m_double = value;
}

BAtomC::BAtomC(std::string value) : BAtomC()
{
    m_type = EBElementType::String;
    m_string = std::move(value);
}

BAtomC::~BAtomC()
{
    Recording().NoteDestroyed(this, false);
}

int BAtomC::IntValue() const
{
    return Saturated(Int64Value());
}

std::int64_t BAtomC::Int64Value() const
{
    return m_type == EBElementType::Integer  ? m_integer
           : m_type == EBElementType::Double ? Truncated(m_double)
                                             : 0;
}

double BAtomC::DoubleValue() const
{
    return m_type == EBElementType::Double    ? m_double
           : m_type == EBElementType::Integer ? static_cast<double>(m_integer)
                                              : 0.0;
}

BListC::BListC(BElementC* parent) : BElementC(parent)
{
    Recording().NoteMade(true);
}

BListC::~BListC()
{
    Recording().NoteDestroyed(this, true);
    DestroyChildren();
}

void BListC::AddInt(int value)
{
    Slot slot{};
    slot.integer = value;
    slot.type = EBElementType::Integer;
    m_slots.push_back(slot);
}

void BListC::AddInt64(std::int64_t value)
{
    // AddInt() says nothing, being the way in which the code under test adds its ints.
    Recording().Note("AddInt64 " + std::to_string(value));
    Slot slot{};
    slot.integer = value;
    slot.type = EBElementType::Integer;
    m_slots.push_back(slot);
}

void BListC::AddDouble(double value)
{
    Slot slot{};
    slot.number = value;
    slot.type = EBElementType::Double;
    m_slots.push_back(slot);
}

void BListC::AddString(const std::string& value)
{
    Add(new BAtomC(value));
}

void BListC::AddNothing()
{
    Slot slot{};
    slot.type = EBElementType::Nothing;
    m_slots.push_back(slot);
}

void BListC::Add(BElementC* element)
{
    const EBElementType type = element == nullptr ? EBElementType::Nothing : element->Type();
    const auto* atom = dynamic_cast<const BAtomC*>(element);
    if (type == EBElementType::Nothing) {
        AddNothing();
    } else if (type == EBElementType::Integer) {
        AddInt64(atom->Int64Value());
    } else if (type == EBElementType::Double) {
        Recording().Note("Add " + Doubles::Describe(atom->DoubleValue()));
        AddDouble(atom->DoubleValue());
    } else {
        Slot slot{};
        slot.element = element;
        slot.type = type;
        m_slots.push_back(slot);
        m_hasNodes = true;
        Adopt(element);
        return;
    }
    delete element;
}

void BListC::Reserve(int count)
{
    Recording().Note("Reserve " + std::to_string(count) +
                     (m_slots.empty() ? "" : " after " + std::to_string(Size())));
}

const BListC::Slot* BListC::At(int index) const
{
    return index >= 0 && index < Size() ? &m_slots[static_cast<std::size_t>(index)] : nullptr;
}

EBElementType BListC::TypeAt(int index) const
{
    const Slot* slot = At(index);
    return slot == nullptr ? EBElementType::Nothing : slot->type;
}

int BListC::GetInt(int index) const
{
    return Saturated(GetInt64(index));
}

std::int64_t BListC::GetInt64(int index) const
{
    const EBElementType type = TypeAt(index);
    return type == EBElementType::Integer  ? At(index)->integer
           : type == EBElementType::Double ? Truncated(At(index)->number)
                                           : 0;
}

double BListC::GetDouble(int index) const
{
    const EBElementType type = TypeAt(index);
    return type == EBElementType::Double    ? At(index)->number
           : type == EBElementType::Integer ? static_cast<double>(At(index)->integer)
                                            : 0.0;
}

const std::string& BListC::GetString(int index) const
{
    const auto* atom = dynamic_cast<const BAtomC*>(GetElement(index));
    return atom == nullptr ? kNoText : atom->StringValue();
}

const BListC* BListC::GetList(int index) const
{
    return dynamic_cast<const BListC*>(GetElement(index));
}

const BElementC* BListC::GetElement(int index) const
{
    switch (TypeAt(index)) {
    case EBElementType::String:
    case EBElementType::List:
    case EBElementType::Dictionary:
        return At(index)->element;
    default:
        return nullptr;
    }
}

BElementC* BListC::ReleaseLastChild()
{
    while (m_hasNodes && !m_slots.empty()) {
        const Slot slot = m_slots.back();
        m_slots.pop_back();
        if (slot.type == EBElementType::String || slot.type == EBElementType::List ||
            slot.type == EBElementType::Dictionary) {
            return slot.element;
        }
    }
    return nullptr;
}

BDictionaryC::BDictionaryC(BElementC* parent) : BElementC(parent)
{
    Recording().NoteMade(false);
}

BDictionaryC::~BDictionaryC()
{
    Recording().NoteDestroyed(this, false);
    DestroyChildren();
}

void BDictionaryC::Add(const std::string& key, BElementC* element)
{
    BElementC* value = element == nullptr ? new BAtomC() : element;
    m_entries.emplace_back(key, value);
    Adopt(value);
}

const BElementC* BDictionaryC::Get(const std::string& key) const
{
    for (const auto& [name, value] : m_entries) {
        if (name == key) {
            return value;
        }
    }
    return nullptr;
}

const std::string& BDictionaryC::KeyAt(int index) const
{
    return m_entries[static_cast<std::size_t>(index)].first;
}

const BElementC* BDictionaryC::ValueAt(int index) const
{
    return m_entries[static_cast<std::size_t>(index)].second;
}

BElementC* BDictionaryC::ReleaseLastChild()
{
    if (m_entries.empty()) {
        return nullptr;
    }
    BElementC* value = m_entries.back().second;
    m_entries.pop_back();
    return value;
}
