#ifndef KESTROVE_RUNTIME_OUTGOINGBYTES_H
#define KESTROVE_RUNTIME_OUTGOINGBYTES_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

/// Bytes that wait to be sent, in order and in portions. Nothing large is ever copied at once: what
/// many may be sent is shared, and what is added goes to portions of bounded size.
///
/// Thread safety: none.
class OutgoingBytesC
{
public:
    /// How much is handed to the system at once.
    static constexpr std::size_t kPortion = std::size_t{256} * 1024;
    /// A shorter text is copied: it leaves in one portion with its neighbours.
    static constexpr std::size_t kLeastShared = std::size_t{32} * 1024;

    /// Adds bytes.
    void Add(const char* bytes, std::size_t count);
    /// Adds a text, which is kept until it has been sent.
    void Add(std::shared_ptr<const std::string> text);

    std::size_t Size() const { return m_size; }
    /// What all of it takes; a shared text counts whole.
    std::size_t Memory() const { return m_memory; }
    /// The next portion to send; empty when there is nothing. It stays valid, whatever is added,
    /// until Sent().
    std::string_view Next();
    /// Forgets the first bytes of the portion.
    ///
    /// @param kept so much room stays for what is added later.
    void Sent(std::size_t count, std::size_t kept);

private:
    struct Piece
    {
        std::string own;
        std::shared_ptr<const std::string> shared; ///< in its place

        const std::string& Bytes() const { return shared ? *shared : own; }
        std::size_t Memory() const { return shared ? shared->size() : own.capacity(); }
    };

    bool MayGrow() const;

    std::deque<Piece> m_pieces;
    std::size_t m_sent = 0; ///< of the first
    std::size_t m_size = 0;
    std::size_t m_memory = 0;
    bool m_isLent = false; ///< the first
};

#endif
