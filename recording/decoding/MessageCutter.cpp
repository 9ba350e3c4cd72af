#include "recording/decoding/MessageCutter.h"

#include <utility>

namespace {

constexpr std::uint64_t kLargestMessage = std::uint64_t{32} * 1024 * 1024;
constexpr std::uint64_t kMostElements = 4'194'304;
constexpr std::size_t kDeepest = 64;
/// What is taken from the front is dropped when so much has come together.
constexpr std::size_t kDropBytes = std::size_t{64} * 1024;

/// What stands behind the first byte of an element: the bytes of its length, those that follow
/// whatever the length, and whether the length counts elements.
struct Form
{
    int lengthBytes;
    int fixedBytes;
    int elementsEach; ///< 1 for lists, 2 for dictionaries, 0 for what has none
};

Form FormOf(unsigned first)
{
    constexpr Form kForms[] = {
        {0, 0, 0}, {-1, 0, 0}, {0, 0, 0}, {0, 0, 0},             // nil, (never used), false, true
        {1, 0, 0}, {2, 0, 0},  {4, 0, 0},                        // bytes
        {1, 1, 0}, {2, 1, 0},  {4, 1, 0},                        // extensions
        {0, 4, 0}, {0, 8, 0},                                    // float, double
        {0, 1, 0}, {0, 2, 0},  {0, 4, 0}, {0, 8, 0},             // unsigned
        {0, 1, 0}, {0, 2, 0},  {0, 4, 0}, {0, 8, 0},             // signed
        {0, 2, 0}, {0, 3, 0},  {0, 5, 0}, {0, 9, 0}, {0, 17, 0}, // extensions of fixed sizes
        {1, 0, 0}, {2, 0, 0},  {4, 0, 0},                        // texts
        {2, 0, 1}, {4, 0, 1},  {2, 0, 2}, {4, 0, 2},             // lists, dictionaries
    };
    return kForms[first - 0xC0U];
}

} // namespace

void CMessageCutter::Reset()
{
    CMessageCutter fresh;
    std::swap(*this, fresh); // assigning would keep the memory
}

void CMessageCutter::Add(std::string_view bytes)
{
    if (m_taken >= kDropBytes || m_taken == m_bytes.size()) {
        m_bytes.erase(0, m_taken);
        m_taken = 0;
    }
    m_bytes.append(bytes);
}

CMessageCutter::EResult CMessageCutter::Next(std::string_view& message)
{
    if (m_taken == m_bytes.size() && m_bytes.capacity() > kDropBytes) {
        std::string().swap(m_bytes); // a long message has gone, and its memory with it
        m_taken = 0;
    }
    if (m_isBad || !Scan()) {
        return m_isBad ? EResult::Bad : EResult::NeedMore;
    }
    const auto size = static_cast<std::size_t>(m_scanned);
    message = std::string_view(m_bytes).substr(m_taken, size);
    m_taken += size;
    m_scanned = 0;
    m_elements = 0;
    m_isEndKnown = false;
    return EResult::Complete;
}

/// How many elements the element at m_scanned brings, and how many bytes it takes without them.
///
/// @return false when its front has not come whole.
bool CMessageCutter::ScanElement(std::uint64_t& children, std::uint64_t& length) const
{
    const std::size_t at = m_taken + static_cast<std::size_t>(m_scanned);
    const auto byte = [&](std::size_t index) {
        return static_cast<unsigned char>(m_bytes[at + index]);
    };
    children = 0;
    length = 1;
    if (at >= m_bytes.size()) {
        return false;
    }
    const unsigned first = byte(0);
    if (first < 0x80U || first >= 0xE0U) {
        return true; // a small integer
    }
    if (first < 0xC0U) {
        const std::uint64_t count = first & (first < 0xA0U ? 0x0FU : 0x1FU);
        children = first < 0x90U ? 2 * count : first < 0xA0U ? count : 0;
        length += first < 0xA0U ? 0 : count;
        return true;
    }
    const Form form = FormOf(first);
    const auto lengthBytes = static_cast<std::size_t>(form.lengthBytes < 0 ? 0 : form.lengthBytes);
    if (form.lengthBytes < 0 || m_bytes.size() - at < 1 + lengthBytes) {
        length = form.lengthBytes < 0 ? kLargestMessage + 1 : 1;
        return form.lengthBytes < 0;
    }
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < lengthBytes; ++index) {
        number = number << 8U | byte(1 + index);
    }
    length += lengthBytes + static_cast<std::uint64_t>(form.fixedBytes);
    children = number * static_cast<std::uint64_t>(form.elementsEach);
    length += form.elementsEach == 0 ? number : 0;
    return true;
}

/// Goes on to the end of the present message; false when it has not come, or when it is bad.
bool CMessageCutter::Scan()
{
    std::uint64_t children = 0;
    std::uint64_t length = 0;
    while (!m_isEndKnown) {
        if (m_scanned > m_bytes.size() - m_taken || !ScanElement(children, length)) {
            return false;
        }
        m_scanned += length;
        m_elements += children;
        m_isBad = m_scanned > kLargestMessage || m_elements > kMostElements ||
                  (children > 0 && m_missing.size() >= kDeepest);
        if (m_isBad) {
            return false;
        }
        if (children > 0) {
            m_missing.push_back(children);
            continue;
        }
        while (!m_missing.empty() && --m_missing.back() == 0) {
            m_missing.pop_back();
        }
        m_isEndKnown = m_missing.empty();
    }
    // The last element may have come in part: where it ends is known and not looked for again.
    return m_scanned <= m_bytes.size() - m_taken;
}
