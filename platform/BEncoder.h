#ifndef KESTROVE_PLATFORM_BENCODER_H
#define KESTROVE_PLATFORM_BENCODER_H

/// @file
/// Writes values in the form in which they travel.

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/Export.h"
#include "platform/BElement.h"

/// Writes structured values into the bytes that cross the link.
///
/// The bytes of several calls follow one another; Clear() starts anew and keeps the memory, so that
/// one encoder serves message after message without allocating. Thread safety: none.
class KESTROVE_EXPORT BEncoderC
{
public:
    /// Holds no bytes.
    BEncoderC();
    ~BEncoderC();
    BEncoderC(const BEncoderC&) = delete;
    BEncoderC& operator=(const BEncoderC&) = delete;

    /// Drops the bytes written so far.
    void Clear();

    /// Opens a list.
    ///
    /// @param count how many of the values written next are its elements.
    void WriteListHeader(std::uint32_t count);
    /// Writes a whole number in its shortest form.
    ///
    /// @param value the number.
    void WriteInteger(std::int64_t value);
    /// Writes an unsigned whole number in its shortest form.
    ///
    /// @param value the number.
    void WriteUnsigned(std::uint64_t value);
    /// Writes a text.
    ///
    /// @param text its bytes; stay the caller's.
    /// @param length their number.
    void WriteString(const char* text, std::size_t length);
    /// Writes "nothing".
    void WriteNothing();
    /// Writes a whole value.
    ///
    /// @param element the value; stays the caller's.
    /// @return false when it is nested deeper than 64 levels, which no receiver accepts; the bytes
    ///         written so far are then of no use.
    [[nodiscard]] bool Write(const BElementC& element);

    /// @return the bytes written since the last Clear(); valid until the next call that writes.
    [[nodiscard]] const char* Data() const { return m_bytes.data(); }
    /// @return their number.
    [[nodiscard]] std::size_t Size() const { return m_bytes.size(); }

private:
    std::string m_bytes;
};

#endif
