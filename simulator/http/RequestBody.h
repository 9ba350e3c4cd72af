#ifndef KESTROVE_SIMULATOR_HTTP_REQUESTBODY_H
#define KESTROVE_SIMULATOR_HTTP_REQUESTBODY_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// The body of a request as it comes, in blocks: what is there is not copied again for what comes
/// behind it, and what is only announced takes no memory beyond a block.
///
/// Thread safety: none; may be handed over to another thread.
class CRequestBody
{
public:
    /// What a block has at most, bytes. The end of a text takes one more.
    static constexpr std::size_t kBlockBytes = 16 * 1024 - 1;

    /// @param announced how long the body is going to be, bytes.
    explicit CRequestBody(std::size_t announced = 0) : m_announced(announced) {}

    /// Takes bytes in, up to the announced length. What is beyond it is left out.
    void Append(const char* bytes, std::size_t count)
    {
        std::size_t left = std::min(count, m_announced - m_size);
        while (left > 0) {
            if (m_blocks.empty() || m_blocks.back().size() >= kBlockBytes) {
                m_blocks.emplace_back().reserve(std::min(kBlockBytes, m_announced - m_size));
            }
            const std::size_t part = std::min(left, kBlockBytes - m_blocks.back().size());
            m_blocks.back().append(bytes, part);
            m_size += part;
            bytes += part;
            left -= part;
        }
    }
    std::size_t Announced() const { return m_announced; }
    std::size_t Size() const { return m_size; }
    bool IsWhole() const { return m_size == m_announced; }
    /// How much memory is held, bytes.
    std::size_t Held() const
    {
        std::size_t held = m_blocks.capacity() * sizeof(std::string);
        if (!m_blocks.empty()) {
            held += (m_blocks.size() - 1) * kBlockBytes + m_blocks.back().capacity();
        }
        return held;
    }
    /// All of it in one, to keep; the body is empty then. What is long takes long: it is for a
    /// thread on which nobody waits.
    std::string TakeText()
    {
        std::vector<std::string> blocks = std::exchange(m_blocks, {});
        const std::size_t size = std::exchange(m_size, 0);
        if (blocks.size() == 1) {
            return std::move(blocks.front());
        }
        std::string text;
        text.reserve(size);
        for (const std::string& block : blocks) {
            text += block;
        }
        return text;
    }

private:
    std::size_t m_announced;
    std::size_t m_size = 0;
    std::vector<std::string> m_blocks;
};

#endif
