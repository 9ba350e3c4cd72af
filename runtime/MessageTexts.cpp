#include "runtime/MessageBuilder.h"

#include <algorithm>
#include <utility>

#include "runtime/ListAccess.h"
#include "runtime/MessageCost.h"

namespace {

/// The texts of a list that announces no more than this are nodes from the start, which is what
/// they become when they are read.
constexpr std::size_t kFewElements = 64;
constexpr std::size_t kSmallestBlock = 24;
constexpr std::size_t kLargestBlock = std::size_t{64} * 1024;

} // namespace

bool MessageBuilderC::TakeText(const char* text, std::size_t length)
{
    if (IsForBlock(length)) {
        return PlaceText(text, length);
    }
    return Claim(MessageCost::TextBytes(length)) && TakeString(std::string(text, length));
}

bool MessageBuilderC::AddText(const char* piece, std::size_t length, std::size_t announced)
{
    const std::size_t needed = m_text.size() + length;
    if (needed > m_text.capacity()) {
        const std::size_t before = MessageCost::TextBytes(m_text.capacity());
        const std::size_t room = std::max(RoomFor(needed, announced), MessageCost::LeastTextRoom());
        if (!Claim(MessageCost::TextBytes(room))) {
            return false;
        }
        std::string grown; // one that is full would take twice its room
        grown.reserve(room);
        grown.append(m_text);
        m_text.swap(grown);
        m_held -= before;
    }
    m_text.append(piece, length);
    return true;
}

bool MessageBuilderC::EndText()
{
    std::string text;
    text.swap(m_text);
    if (!IsForBlock(text.size()) && text.capacity() == text.size()) {
        return TakeString(std::move(text));
    }
    // In any pieces, a text takes as much in the end as one that came whole.
    m_held -= MessageCost::TextBytes(text.capacity());
    return TakeText(text.data(), text.size());
}

/// True for a text that shares a block with others of its list.
bool MessageBuilderC::IsForBlock(std::size_t length) const
{
    return OpenList() != nullptr && m_open.back().announced > kFewElements &&
           length <= BListAccessC::kLongestTextInPlace;
}

bool MessageBuilderC::PlaceText(const char* text, std::size_t length)
{
    Container& container = m_open.back();
    m_message.memory += kSlotBytes + length;
    if (!MakePlace(container)) {
        return false;
    }
    const bool beginsBlock = container.blockSize - container.blockUsed < length;
    if (!beginsBlock) {
        char* const place = container.block + container.blockUsed;
        std::copy_n(text, length, place);
        container.blockUsed += length;
        BListAccessC::AddText(*container.list, place, length, false);
        return true;
    }
    if (!StartBlock(container, length)) {
        return false;
    }
    std::copy_n(text, length, container.block);
    container.blockUsed = length;
    BListAccessC::AddText(*container.list, container.block, length, true);
    return true;
}

bool MessageBuilderC::StartBlock(Container& container, std::size_t length)
{
    const std::size_t size = std::max(
        length, std::min(std::max(2 * container.blockSize, kSmallestBlock), kLargestBlock));
    if (!Claim(MessageCost::BlockBytes(size))) {
        return false;
    }
    container.block = new char[size]; // the list's with the first text in it, which follows
    container.blockSize = size;
    return true;
}

/// Takes a text whose bytes have been claimed.
bool MessageBuilderC::TakeString(std::string text)
{
    if (m_open.empty() && m_field == EField::Method) {
        m_message.method = std::move(text);
        return true;
    }
    if (m_inKey) {
        m_key = std::move(text);
        m_inKey = false;
        return true;
    }
    m_message.memory += MessageCost::TextBytes(text.capacity());
    return Claim(MessageCost::kAtomBytes) && TakeNode(std::make_unique<BAtomC>(std::move(text)));
}
