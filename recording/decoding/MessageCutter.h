#ifndef KESTROVE_RECORDING_DECODING_MESSAGECUTTER_H
#define KESTROVE_RECORDING_DECODING_MESSAGECUTTER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Finds where the messages end in a stream of MessagePack that comes in any portions.
///
/// Keeps the library's limits: 32 MiB and 4 194 304 elements a message, 64 levels of nesting. Holds
/// no more than has come. Behind what is not a message there is no known place to go on at.
class CMessageCutter
{
public:
    enum class EResult
    {
        Complete, ///< Next() gives a message
        NeedMore,
        Bad, ///< no message, or over a limit; stays so until Reset()
    };

    /// Adds what has come.
    void Add(std::string_view bytes);
    /// Takes the next message off the front.
    ///
    /// @param message receives its bytes; valid until the next call of an operation.
    EResult Next(std::string_view& message);
    /// Whether part of a message has come.
    bool IsInMessage() const { return m_taken < m_bytes.size(); }
    /// How much memory the bytes take.
    std::size_t Held() const { return m_bytes.capacity(); }
    /// Begins a new stream.
    void Reset();

private:
    bool Scan();
    bool ScanElement(std::uint64_t& children, std::uint64_t& length) const;

    std::string m_bytes;
    std::size_t m_taken = 0;              // from the front, given already
    std::uint64_t m_scanned = 0;          // behind that, of the present message; may lie ahead
    std::vector<std::uint64_t> m_missing; // elements, of each list that is open
    std::uint64_t m_elements = 0;         // of the present message
    bool m_isEndKnown = false;            // the present message ends at m_scanned
    bool m_isBad = false;
};

#endif
