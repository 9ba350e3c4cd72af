#include "core/SharedPtr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Core::SimpleReferenceCounter;

constexpr std::uint32_t kHighestCount = std::numeric_limits<std::uint32_t>::max();

/// An object that is missed: it counts how many were destroyed.
class CThing
{
public:
    explicit CThing(int& destroyed) : m_destroyed(destroyed) {}
    virtual ~CThing() { ++m_destroyed; }
    int number = 7;

private:
    int& m_destroyed;
};

using ThingPtr = Core::SharedPtr<CThing, SimpleReferenceCounter>;

/// The two members of a shared pointer, as applications have them in memory.
struct Halves
{
    SimpleReferenceCounter* counter = nullptr;
    CThing* object = nullptr;
};

static_assert(sizeof(ThingPtr) == sizeof(Halves));
static_assert(sizeof(SimpleReferenceCounter) == sizeof(std::uint32_t));
static_assert(
    std::is_same_v<decltype(std::declval<ThingPtr&>() = std::declval<ThingPtr&>()), ThingPtr>,
    "assignment returns by value");
static_assert(!std::is_convertible_v<CThing*, ThingPtr>, "ownership is taken explicitly");
static_assert(!std::is_convertible_v<ThingPtr, bool>);

Halves Inside(const ThingPtr& pointer)
{
    Halves halves;
    std::memcpy(&halves, static_cast<const void*>(&pointer), sizeof halves);
    return halves;
}

void Put(ThingPtr& pointer, const Halves& halves)
{
    std::memcpy(static_cast<void*>(&pointer), &halves, sizeof halves);
}

void ExpectNull(const ThingPtr& pointer)
{
    EXPECT_EQ(Inside(pointer).counter, nullptr);
    EXPECT_EQ(Inside(pointer).object, nullptr);
}

class SharedPtr : public testing::Test
{
protected:
    /// The only owner of a new thing.
    ThingPtr NewThing() { return ThingPtr(new CThing(m_destroyed)); }
    /// The owner of a new thing whose counter stands at `count`.
    ThingPtr NewThing(std::uint32_t count)
    {
        ThingPtr pointer = NewThing();
        *Inside(pointer).counter = SimpleReferenceCounter(count);
        return pointer;
    }

    int m_destroyed = 0;
};

TEST_F(SharedPtr, HoldsCounterAndObjectInThisOrder)
{
    auto* thing = new CThing(m_destroyed);
    const ThingPtr pointer(thing);

    EXPECT_EQ(Inside(pointer).object, thing);
    ASSERT_NE(Inside(pointer).counter, nullptr);
    EXPECT_EQ(Inside(pointer).counter->Count(), 1u);
}

TEST_F(SharedPtr, IsNullByDefaultAndForANullObject)
{
    ExpectNull(ThingPtr());
    ExpectNull(ThingPtr(nullptr));
}

TEST_F(SharedPtr, LeadsToItsObject)
{
    auto* thing = new CThing(m_destroyed);
    const ThingPtr pointer(thing);

    EXPECT_EQ(pointer.Get(), thing);
    EXPECT_EQ(&*pointer, thing);
    EXPECT_EQ(pointer->number, 7);
    EXPECT_TRUE(pointer);
    EXPECT_FALSE(ThingPtr());
    EXPECT_EQ(ThingPtr().Get(), nullptr);
}

TEST_F(SharedPtr, DestroysItsObjectWithTheLastOwner)
{
    {
        const ThingPtr first = NewThing();
        {
            const ThingPtr second = first; // NOLINT(performance-unnecessary-copy-initialization)
            EXPECT_EQ(Inside(first).counter->Count(), 2u);
            EXPECT_EQ(second.Get(), first.Get());
        }
        EXPECT_EQ(Inside(first).counter->Count(), 1u);
        EXPECT_EQ(m_destroyed, 0);
    }
    EXPECT_EQ(m_destroyed, 1);
}

TEST_F(SharedPtr, CopiedFromNothingIsNull)
{
    const ThingPtr null;
    ExpectNull(ThingPtr(null)); // NOLINT(performance-unnecessary-copy-initialization)
}

TEST_F(SharedPtr, CopiedFromAHalfIsNull)
{
    SimpleReferenceCounter counter(1);
    CThing thing(m_destroyed);
    for (const Halves& halves : {Halves{&counter, nullptr}, Halves{nullptr, &thing}}) {
        SCOPED_TRACE(halves.object == nullptr ? "no object" : "no counter");
        ThingPtr pointer;
        Put(pointer, halves);

        const ThingPtr copy(pointer); // NOLINT(performance-unnecessary-copy-initialization)

        ExpectNull(copy);
        EXPECT_EQ(counter.Count(), 1u);
        EXPECT_EQ(m_destroyed, 0);
    }
}

TEST_F(SharedPtr, CopiedFromACountOfZeroIsNull)
{
    const ThingPtr pointer = NewThing(0);
    const ThingPtr copy(pointer); // NOLINT(performance-unnecessary-copy-initialization)

    ExpectNull(copy);
    EXPECT_EQ(Inside(pointer).counter->Count(), 0u);
}

TEST_F(SharedPtr, CopiedWhenTheCountWrapsIsNull)
{
    const ThingPtr pointer = NewThing(kHighestCount);
    const ThingPtr copy(pointer); // NOLINT(performance-unnecessary-copy-initialization)

    ExpectNull(copy);
    EXPECT_EQ(Inside(pointer).counter->Count(), 0u);
}

TEST_F(SharedPtr, DestroysTheObjectItCannotCount)
{
    struct CNoMemory : SimpleReferenceCounter
    {
        explicit CNoMemory(std::uint32_t count) : SimpleReferenceCounter(count)
        {
            throw std::bad_alloc();
        }
    };
    using Pointer = Core::SharedPtr<CThing, CNoMemory>;

    EXPECT_THROW(Pointer(new CThing(m_destroyed)), std::bad_alloc);
    EXPECT_EQ(m_destroyed, 1);
}

TEST_F(SharedPtr, DereferencedByTheLastOwnerIsNull)
{
    for (const std::uint32_t count : {0u, 1u}) {
        SCOPED_TRACE("count " + std::to_string(count));
        m_destroyed = 0;
        ThingPtr pointer = NewThing(count);

        pointer.Dereference();

        EXPECT_EQ(m_destroyed, 1);
        ExpectNull(pointer);
    }
}

TEST_F(SharedPtr, DereferencedWhileOthersShareKeepsPointing)
{
    ThingPtr pointer = NewThing(3);
    const Halves before = Inside(pointer);

    pointer.Dereference();

    EXPECT_EQ(m_destroyed, 0);
    EXPECT_EQ(before.counter->Count(), 2u);
    EXPECT_EQ(Inside(pointer).counter, before.counter);
    EXPECT_EQ(Inside(pointer).object, before.object);
    pointer.Dereference(); // to one; the destructor is the last owner
}

TEST_F(SharedPtr, DereferencedWithOneHalfMissingChangesNothing)
{
    SimpleReferenceCounter counter(1);
    CThing thing(m_destroyed);
    for (const Halves& halves : {Halves{&counter, nullptr}, Halves{nullptr, &thing}, Halves{}}) {
        SCOPED_TRACE(halves.counter != nullptr ? "no object" : "no counter");
        ThingPtr pointer;
        Put(pointer, halves);

        pointer.Dereference();

        EXPECT_EQ(Inside(pointer).counter, halves.counter);
        EXPECT_EQ(Inside(pointer).object, halves.object);
        EXPECT_EQ(counter.Count(), 1u);
        EXPECT_EQ(m_destroyed, 0);
    }
}

TEST_F(SharedPtr, FreesTheCounterBeforeTheObject)
{
    static std::string order;
    struct CNotedCounter : SimpleReferenceCounter
    {
        using SimpleReferenceCounter::SimpleReferenceCounter;
        ~CNotedCounter() { order += "counter "; }
    };
    struct CNotedThing
    {
        ~CNotedThing() { order += "object "; }
    };

    order.clear();
    Core::SharedPtr<CNotedThing, CNotedCounter>(new CNotedThing).Dereference();

    EXPECT_EQ(order, "counter object ");
}

/// A thing that, while it is destroyed, looks at the pointer that held it.
class CWitness
{
public:
    explicit CWitness(std::string& seen) : m_seen(seen) {}
    ~CWitness() { m_seen += pointer->Get() == this ? "still held" : "not held"; }
    const Core::SharedPtr<CWitness, SimpleReferenceCounter>* pointer = nullptr;

private:
    std::string& m_seen;
};

TEST_F(SharedPtr, HoldsItsObjectUntilThatIsDestroyed)
{
    std::string seen;
    Core::SharedPtr<CWitness, SimpleReferenceCounter> pointer(new CWitness(seen));
    pointer->pointer = &pointer;

    pointer.Dereference();

    EXPECT_EQ(seen, "still held");
    EXPECT_EQ(pointer.Get(), nullptr);
}

TEST_F(SharedPtr, AssignedReturnsAFurtherOwner)
{
    ThingPtr target = NewThing();
    const ThingPtr source = NewThing();

    const ThingPtr returned = target = source;

    EXPECT_EQ(m_destroyed, 1) << "the target's former object";
    EXPECT_EQ(target.Get(), source.Get());
    EXPECT_EQ(returned.Get(), source.Get());
    EXPECT_EQ(Inside(source).counter->Count(), 3u);
}

TEST_F(SharedPtr, AssignedGivesTheReturnedShareBack)
{
    ThingPtr target;
    const ThingPtr source = NewThing();

    target = source;

    EXPECT_EQ(Inside(target).counter, Inside(source).counter);
    EXPECT_EQ(Inside(source).counter->Count(), 2u);
}

TEST_F(SharedPtr, AssignedFromAnOwnerOfTheSameObjectLeavesTheCount)
{
    ThingPtr target = NewThing();
    const ThingPtr source = target;

    target = source;

    EXPECT_EQ(Inside(source).counter->Count(), 2u);
    EXPECT_EQ(target.Get(), source.Get());
    EXPECT_EQ(m_destroyed, 0);
}

TEST_F(SharedPtr, AssignedToItselfAsTheOnlyOwnerDestroysItsObject)
{
    ThingPtr pointer = NewThing();
    ThingPtr& itself = pointer;

    const ThingPtr returned = pointer = itself;

    EXPECT_EQ(m_destroyed, 1);
    ExpectNull(pointer);
    ExpectNull(returned);
}

TEST_F(SharedPtr, AssignedToItselfAmongOthersChangesNothing)
{
    ThingPtr pointer = NewThing();
    ThingPtr& itself = pointer;
    const ThingPtr other = pointer;

    pointer = itself;

    EXPECT_EQ(m_destroyed, 0);
    EXPECT_EQ(pointer.Get(), other.Get());
    EXPECT_EQ(Inside(pointer).counter->Count(), 2u);
}

TEST_F(SharedPtr, AssignedFromNothingLetsGoAndIsNull)
{
    ThingPtr alone = NewThing();
    ThingPtr shared = NewThing();
    const ThingPtr other = shared;

    const ThingPtr returned = alone = ThingPtr();
    shared = ThingPtr();

    EXPECT_EQ(m_destroyed, 1);
    ExpectNull(alone);
    ExpectNull(returned);
    ExpectNull(shared);
    EXPECT_EQ(Inside(other).counter->Count(), 1u);
}

TEST_F(SharedPtr, AssignedFromWhatCannotBeSharedIsNull)
{
    SimpleReferenceCounter one(1);
    SimpleReferenceCounter zero(0);
    CThing thing(m_destroyed);
    for (const Halves& halves :
         {Halves{&one, nullptr}, Halves{nullptr, &thing}, Halves{&zero, &thing}}) {
        SCOPED_TRACE(halves.object == nullptr    ? "no object"
                     : halves.counter == nullptr ? "no counter"
                                                 : "count 0");
        m_destroyed = 0;
        ThingPtr target = NewThing();
        ThingPtr source;
        Put(source, halves);

        const ThingPtr returned = target = source;

        EXPECT_EQ(m_destroyed, 1) << "the target's former object";
        ExpectNull(target);
        ExpectNull(returned);
        EXPECT_EQ(one.Count(), 1u);
        EXPECT_EQ(zero.Count(), 0u);
        Put(source, Halves{});
    }
}

/// A thing that lets go of a pointer when it is destroyed.
class CHolder : public CThing
{
public:
    CHolder(int& destroyed, ThingPtr& held) : CThing(destroyed), m_held(held) {}
    ~CHolder() override { m_held.Dereference(); }

private:
    ThingPtr& m_held;
};

TEST_F(SharedPtr, AssignedReadsTheSourceAgainAfterLettingGo)
{
    ThingPtr source = NewThing();
    ThingPtr target(new CHolder(m_destroyed, source));

    const ThingPtr returned = target = source;

    EXPECT_EQ(m_destroyed, 2) << "the target's former object, and with it the source's";
    ExpectNull(target);
    ExpectNull(source);
    ExpectNull(returned);
}

TEST_F(SharedPtr, AssignedFromNothingForgetsAHalf)
{
    SimpleReferenceCounter counter(1);
    CThing thing(m_destroyed);
    for (const Halves& halves : {Halves{&counter, nullptr}, Halves{nullptr, &thing}}) {
        ThingPtr target;
        Put(target, halves);

        target = ThingPtr();

        ExpectNull(target);
        EXPECT_EQ(counter.Count(), 1u);
        EXPECT_EQ(m_destroyed, 0);
    }
}

TEST_F(SharedPtr, AssignedReturnsNullWhenTheCountWraps)
{
    for (const std::uint32_t count : {kHighestCount, kHighestCount - 1}) {
        SCOPED_TRACE("count " + std::to_string(count));
        const ThingPtr source = NewThing(count);
        ThingPtr target;

        const ThingPtr returned = target = source;

        ExpectNull(returned);
        EXPECT_EQ(target.Get(), source.Get());
        EXPECT_EQ(Inside(source).counter->Count(), 0u);
        Put(target, Halves{}); // the count no longer knows of it
    }
}

} // namespace
