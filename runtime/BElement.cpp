#include "platform/BElement.h"

#include <cmath>
#include <limits>
#include <memory>

#include "runtime/ListAccess.h"

namespace {

const std::string kNoText;

/// Truncates toward zero; what does not fit saturates, NaN is 0.
template <typename Integer>
Integer Saturated(double value)
{
    // The limits as doubles: the lowest is exact, the highest rounds up by at most one.
    constexpr double lowest = static_cast<double>(std::numeric_limits<Integer>::min());
    constexpr double beyond = -lowest;
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= beyond) {
        return std::numeric_limits<Integer>::max();
    }
    return value <= lowest ? std::numeric_limits<Integer>::min() : static_cast<Integer>(value);
}

int Saturated(std::int64_t value)
{
    if (value > std::numeric_limits<int>::max()) {
        return std::numeric_limits<int>::max();
    }
    if (value < std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

/// The number in a slot of whatever kind. Apart from the way of the doubles that lie in place,
/// which nearly all are, so that theirs stays short.
[[gnu::noinline]] double DoubleOf(const BListAccessC::Slot& slot)
{
    if (slot.isNode) {
        const auto* const atom = dynamic_cast<const BAtomC*>(slot.element);
        return atom == nullptr ? 0.0 : atom->DoubleValue();
    }
    if (slot.type == EBElementType::Integer) {
        return static_cast<double>(slot.integer);
    }
    return slot.type == EBElementType::Double ? slot.number : 0.0;
}

} // namespace

BElementC::~BElementC() = default;

BElementC* BElementC::ReleaseLastChild()
{
    return nullptr;
}

void BElementC::DestroyChildren()
{
    // Walks down to the last value and back up along the parents, so that neither the stack nor
    // the heap is needed, however deep the values are nested.
    BElementC* current = this;
    while (true) {
        if (BElementC* child = current->ReleaseLastChild()) {
            child->m_parent = current;
            current = child;
        } else if (current == this) {
            return;
        } else {
            BElementC* const parent = current->m_parent;
            delete current;
            current = parent;
        }
    }
}

BAtomC::BAtomC() : BElementC(nullptr) {}
BAtomC::BAtomC(int value) : BAtomC(static_cast<std::int64_t>(value)) {}
BAtomC::BAtomC(std::int64_t value)
    : BElementC(nullptr), m_type(EBElementType::Integer), m_integer(value)
{
}
BAtomC::BAtomC(double value) : BElementC(nullptr), m_type(EBElementType::Double), m_double(value) {}
BAtomC::BAtomC(std::string value)
    : BElementC(nullptr), m_type(EBElementType::String), m_string(std::move(value))
{
}
BAtomC::~BAtomC() = default;

int BAtomC::IntValue() const
{
    return m_type == EBElementType::Double ? Saturated<int>(m_double) : Saturated(Int64Value());
}

std::int64_t BAtomC::Int64Value() const
{
    if (m_type == EBElementType::Double) {
        return Saturated<std::int64_t>(m_double);
    }
    return m_type == EBElementType::Integer ? m_integer : 0;
}

double BAtomC::DoubleValue() const
{
    if (m_type == EBElementType::Integer) {
        return static_cast<double>(m_integer);
    }
    return m_type == EBElementType::Double ? m_double : 0.0;
}

BListC::BListC(BElementC* parent) : BElementC(parent) {}
BListC::~BListC()
{
    DestroyChildren();
}

void BListC::AddInt(int value)
{
    AddInt64(value);
}

void BListC::AddInt64(std::int64_t value)
{
    BListAccessC::AddInteger(*this, value);
}

void BListC::AddDouble(double value)
{
    BListAccessC::AddDouble(*this, value);
}

void BListC::AddString(const std::string& value)
{
    Add(new BAtomC(value));
}

void BListC::AddNothing()
{
    Add(nullptr);
}

void BListC::Add(BElementC* element)
{
    // Owned from the first moment on: growing the list may throw.
    std::unique_ptr<BElementC> owner(element);
    Slot slot = {};
    slot.element = element;
    slot.type = element == nullptr ? EBElementType::Nothing : element->Type();
    slot.isNode = element != nullptr;
    m_slots.push_back(slot);
    m_hasNodes = m_hasNodes || slot.isNode;
    if (owner != nullptr) {
        Adopt(owner.release());
    }
}

void BListC::Reserve(int count)
{
    if (count > 0) {
        MakeRoom(static_cast<std::size_t>(count));
    }
}

const BListC::Slot* BListC::At(int index) const
{
    // A negative index is one past every end.
    const auto place = static_cast<std::size_t>(index);
    return place < m_slots.size() ? m_slots.data() + place : nullptr;
}

EBElementType BListC::TypeAt(int index) const
{
    const Slot* const slot = At(index);
    return slot == nullptr ? EBElementType::Nothing : slot->type;
}

int BListC::GetInt(int index) const
{
    const Slot* const slot = At(index);
    if (slot != nullptr && !slot->isNode && slot->type == EBElementType::Double) {
        return Saturated<int>(slot->number);
    }
    return Saturated(GetInt64(index));
}

std::int64_t BListC::GetInt64(int index) const
{
    const Slot* const slot = At(index);
    if (slot == nullptr) {
        return 0;
    }
    if (slot->isNode) {
        const auto* const atom = dynamic_cast<const BAtomC*>(slot->element);
        return atom == nullptr ? 0 : atom->Int64Value();
    }
    if (slot->type == EBElementType::Double) {
        return Saturated<std::int64_t>(slot->number);
    }
    return slot->type == EBElementType::Integer ? slot->integer : 0;
}

double BListC::GetDouble(int index) const
{
    const Slot* const slot = At(index);
    if (slot == nullptr) {
        return 0.0;
    }
    // Nearly all are doubles that lie in place.
    return slot->type == EBElementType::Double && !slot->isNode ? slot->number : DoubleOf(*slot);
}

const std::string& BListC::GetString(int index) const
{
    if (TypeAt(index) != EBElementType::String) {
        return kNoText;
    }
    const auto* const atom = dynamic_cast<const BAtomC*>(GetElement(index));
    return atom == nullptr ? kNoText : atom->StringValue();
}

const BListC* BListC::GetList(int index) const
{
    return TypeAt(index) == EBElementType::List ? static_cast<const BListC*>(GetElement(index))
                                                : nullptr;
}

const BElementC* BListC::GetElement(int index) const
{
    const Slot* const slot = At(index);
    if (slot == nullptr) {
        return nullptr;
    }
    if (BListAccessC::IsText(*slot)) {
        return BListAccessC::MakeNode(*this, static_cast<std::size_t>(index));
    }
    return slot->isNode ? slot->element : nullptr;
}

BElementC* BListC::ReleaseLastChild()
{
    while (m_hasNodes && !m_slots.empty()) {
        const Slot last = m_slots.back();
        m_slots.pop_back();
        if (last.isNode) {
            return last.element;
        }
        if (last.beginsBlock) {
            // The texts behind it in the block have gone before it.
            delete[] last.text;
        }
    }
    return nullptr;
}

BDictionaryC::BDictionaryC(BElementC* parent) : BElementC(parent) {}
BDictionaryC::~BDictionaryC()
{
    DestroyChildren();
}

void BDictionaryC::Add(const std::string& key, BElementC* element)
{
    std::unique_ptr<BElementC> owner(element == nullptr ? new BAtomC : element);
    m_entries.emplace_back(key, owner.get());
    Adopt(owner.release());
}

const BElementC* BDictionaryC::Get(const std::string& key) const
{
    for (const auto& entry : m_entries) {
        if (entry.first == key) {
            return entry.second;
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
    BElementC* const last = m_entries.back().second;
    m_entries.pop_back();
    return last;
}
