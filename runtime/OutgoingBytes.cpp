#include "runtime/OutgoingBytes.h"

#include <algorithm>
#include <utility>

namespace {

/// Makes room for so many bytes in a text, by doubling: so the last step is the portion, and not
/// beyond.
void MakeRoom(std::string& text, std::size_t size)
{
    constexpr std::size_t least = 64;
    std::size_t room = least;
    while (room < size) {
        room *= 2;
    }
    if (size > text.capacity()) {
        text.reserve(room);
    }
}

} // namespace

/// Whether the last piece is one to which bytes may be added.
bool OutgoingBytesC::MayGrow() const
{
    return !m_pieces.empty() && !m_pieces.back().shared && !(m_isLent && m_pieces.size() == 1) &&
           m_pieces.back().own.size() < kPortion;
}

void OutgoingBytesC::Add(const char* bytes, std::size_t count)
{
    m_size += count;
    while (count > 0) {
        if (!MayGrow()) {
            m_pieces.emplace_back();
            m_memory += m_pieces.back().Memory();
        }
        Piece& piece = m_pieces.back();
        const std::size_t part = std::min(count, kPortion - piece.own.size());
        m_memory -= piece.Memory();
        MakeRoom(piece.own, piece.own.size() + part);
        piece.own.append(bytes, part);
        m_memory += piece.Memory();
        bytes += part;
        count -= part;
    }
}

void OutgoingBytesC::Add(std::shared_ptr<const std::string> text)
{
    if (text->size() < kLeastShared) {
        Add(text->data(), text->size());
        return;
    }
    if (m_size == 0) {
        m_pieces.clear(); // of the room that was kept
        m_memory = 0;
    }
    m_size += text->size();
    m_memory += text->size();
    m_pieces.push_back({{}, std::move(text)});
}

std::string_view OutgoingBytesC::Next()
{
    if (m_size == 0) {
        return {};
    }
    m_isLent = true;
    return std::string_view(m_pieces.front().Bytes()).substr(m_sent, kPortion);
}

void OutgoingBytesC::Sent(std::size_t count, std::size_t kept)
{
    m_isLent = false;
    m_sent += count;
    m_size -= count;
    Piece& first = m_pieces.front();
    if (m_sent < first.Bytes().size()) {
        return;
    }
    m_sent = 0;
    if (m_size == 0 && !first.shared && first.own.capacity() <= kept) {
        first.own.clear();
        return;
    }
    m_memory -= first.Memory();
    m_pieces.pop_front();
}
