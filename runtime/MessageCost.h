#ifndef KESTROVE_RUNTIME_MESSAGECOST_H
#define KESTROVE_RUNTIME_MESSAGECOST_H

#include <algorithm>
#include <cstddef>
#include <string>

#include "platform/BElement.h"
#include "runtime/ListAccess.h"

/// What the values of a message take, in bytes, as the C library's allocator hands memory out,
/// which applications have. The simulator's, jemalloc, rounds blocks to quarters of a power of two:
/// there they take up to a quarter more than is counted.
namespace MessageCost {

/// What the C library takes for a block of so many bytes.
constexpr std::size_t BlockBytes(std::size_t size)
{
    constexpr std::size_t overhead = 8;
    constexpr std::size_t unit = 16;
    return std::max<std::size_t>((size + overhead + unit - 1) / unit * unit, 2 * unit);
}

inline constexpr std::size_t kAtomBytes = BlockBytes(sizeof(BAtomC));
inline constexpr std::size_t kListBytes = BlockBytes(sizeof(BListC));
inline constexpr std::size_t kDictionaryBytes = BlockBytes(sizeof(BDictionaryC));
inline constexpr std::size_t kEntryBytes = sizeof(BListAccessC::Entry);

/// What a text takes beside the string itself, which keeps a short one inside.
inline std::size_t TextBytes(std::size_t capacity)
{
    static const std::size_t inside = std::string().capacity();
    return capacity <= inside ? 0 : BlockBytes(capacity + 1);
}

/// A string that is asked to make room makes no less than this, once what it has inside is too
/// little.
inline std::size_t LeastTextRoom()
{
    static const std::size_t least = [] {
        std::string text;
        text.reserve(text.capacity() + 1);
        return text.capacity();
    }();
    return least;
}

inline std::size_t RoomBytes(std::size_t room, std::size_t bytesEach)
{
    return room == 0 ? 0 : BlockBytes(room * bytesEach);
}

inline std::size_t NodeBytes(const BElementC& element)
{
    switch (element.Type()) {
    case EBElementType::List:
        return kListBytes;
    case EBElementType::Dictionary:
        return kDictionaryBytes;
    default:
        return kAtomBytes;
    }
}

} // namespace MessageCost

#endif
