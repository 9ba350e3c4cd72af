#ifndef KESTROVE_CORE_SHAREDPTR_H
#define KESTROVE_CORE_SHAREDPTR_H

/// @file
/// The pointer that shares what it points to.

#include <cstdint>
#include <memory>

namespace Core {

/// Counts the owners of one object in 32 bits, without locking. The count wraps like any unsigned
/// number.
class SimpleReferenceCounter
{
public:
    /// A counter.
    ///
    /// @param count where it stands.
    explicit SimpleReferenceCounter(std::uint32_t count) : m_count(count) {}

    /// @return the number of owners.
    std::uint32_t Count() const { return m_count; }
    /// Counts one owner more.
    ///
    /// @return the new count; 0 when it has wrapped.
    std::uint32_t Increment() { return ++m_count; }
    /// Counts one owner less. Must not be called at 0.
    void Decrement() { --m_count; }

private:
    std::uint32_t m_count;
};

/// An owning pointer to an object that several such pointers share: the last one that lets go
/// destroys the object. A null pointer holds nothing.
///
/// @tparam T the object's type; a base class needs a virtual destructor.
/// @tparam Counter counts the owners, as SimpleReferenceCounter does; one is allocated an object.
///
/// Applications hold these pointers too, so the two members and their order stay as they are: an
/// application keeps working with a newer library without a rebuild.
///
/// Lifetime: a pointer or reference that Get(), operator-> or operator* gave out is valid while at
/// least one owner is left. Thread safety: none; pointers that share an object count as one object.
template <typename T, typename Counter>
class SharedPtr
{
public:
    /// A null pointer.
    SharedPtr() = default;
    /// Becomes the only owner of an object.
    ///
    /// @param object was made with `new`; owned from now on. Null gives a null pointer. When there
    ///        is no memory for the counter, the object is destroyed and std::bad_alloc passes
    ///        through.
    explicit SharedPtr(T* object);
    /// Shares what another pointer holds.
    ///
    /// @param other the other. This pointer becomes null when it holds nothing or has a count of 0,
    ///        and when the count wraps.
    SharedPtr(const SharedPtr& other);
    /// Lets go of the share, as Dereference() does.
    ~SharedPtr() { Dereference(); }

    /// Lets go of the present share, as Dereference() does, and shares what another pointer holds.
    ///
    /// Assigning a pointer to itself is not a special case. The share is let go of first: the only
    /// owner thereby destroys the object and ends up null; with further owners nothing changes.
    ///
    /// @param other the other. This pointer becomes null when it holds nothing or has a count of 0.
    /// @return a further owner, by value; it gives its share back when it is dropped. Null when
    ///         this pointer became null, and when the count wrapped.
    SharedPtr
    operator=(const SharedPtr& other); // NOLINT(bugprone-unhandled-self-assignment): see above

    /// Lets go of this pointer's share of the object. The last owner destroys the object and
    /// becomes null. While others share the object, only the count goes down, and this pointer
    /// still points to it, though it has no share in it any more. Nothing happens unless both the
    /// counter and the object are there.
    void Dereference();

    /// @return the object, still owned by this pointer and those that share it; null when there is
    ///         none.
    [[nodiscard]] T* Get() const { return m_object; }
    /// @return the object, for a look at its members; still owned. The pointer must not be null.
    T* operator->() const { return m_object; }
    /// @return the object, still owned. The pointer must not be null.
    T& operator*() const { return *m_object; }
    /// @return whether there is an object.
    explicit operator bool() const { return m_object != nullptr; }

private:
    /// Takes over a share that is counted already.
    SharedPtr(Counter* counter, T* object) : m_counter(counter), m_object(object) {}

    bool IsComplete() const { return m_counter != nullptr && m_object != nullptr; }
    bool CanBeShared() const { return IsComplete() && m_counter->Count() != 0; }

    Counter* m_counter = nullptr;
    T* m_object = nullptr;
};

template <typename T, typename Counter>
SharedPtr<T, Counter>::SharedPtr(T* object)
{
    if (object == nullptr) {
        return;
    }
    std::unique_ptr<T> guarded(object);
    m_counter = new Counter(1);
    m_object = guarded.release();
}

template <typename T, typename Counter>
SharedPtr<T, Counter>::SharedPtr(const SharedPtr& other)
{
    if (other.CanBeShared() && other.m_counter->Increment() != 0) {
        m_counter = other.m_counter;
        m_object = other.m_object;
    }
}

template <typename T, typename Counter>
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it is handled, by when `other` is read.
SharedPtr<T, Counter> SharedPtr<T, Counter>::operator=(const SharedPtr& other)
{
    const bool shares = other.CanBeShared();
    Dereference();
    // Read only now: when `other` is this very pointer, letting go may have made it null.
    m_counter = shares ? other.m_counter : nullptr;
    m_object = shares ? other.m_object : nullptr;
    // One owner more for this pointer, then one for the copy that is returned.
    if (!IsComplete() || m_counter->Increment() == 0 || m_counter->Increment() == 0) {
        return SharedPtr();
    }
    return SharedPtr(m_counter, m_object);
}

template <typename T, typename Counter>
void SharedPtr<T, Counter>::Dereference()
{
    if (!IsComplete()) {
        return;
    }
    const auto count = m_counter->Count();
    if (count != 0) {
        m_counter->Decrement();
    }
    if (count > 1) {
        return;
    }
    delete m_counter;
    delete m_object;
    m_counter = nullptr;
    m_object = nullptr;
}

} // namespace Core

#endif
