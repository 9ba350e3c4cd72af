#ifndef KESTROVE_RECORDING_BYTEFORM_H
#define KESTROVE_RECORDING_BYTEFORM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// Appends numbers, texts and maps to a text in MCAP's form: little-endian, lengths in bytes.
class CByteWriter
{
public:
    /// @param bytes is appended to; must outlive this object.
    explicit CByteWriter(std::string& bytes) : m_bytes(bytes) {}

    /// Appends the lowest bytes of a number.
    CByteWriter& Number(std::uint64_t value, int byteCount)
    {
        for (int byte = 0; byte < byteCount; ++byte, value >>= 8U) {
            m_bytes.push_back(static_cast<char>(value & 0xFFU));
        }
        return *this;
    }
    CByteWriter& U8(std::uint8_t value) { return Number(value, 1); }
    CByteWriter& U16(std::uint16_t value) { return Number(value, 2); }
    CByteWriter& U32(std::uint32_t value) { return Number(value, 4); }
    CByteWriter& U64(std::uint64_t value) { return Number(value, 8); }
    /// A text with its length, of at most 4 GiB, in front.
    CByteWriter& Text(std::string_view text)
    {
        U32(static_cast<std::uint32_t>(text.size()));
        m_bytes.append(text);
        return *this;
    }
    CByteWriter& Bytes(std::string_view bytes)
    {
        m_bytes.append(bytes);
        return *this;
    }
    CByteWriter& Map(const std::map<std::string, std::string>& entries)
    {
        std::string content;
        CByteWriter writer(content);
        for (const auto& [key, value] : entries) {
            writer.Text(key).Text(value);
        }
        return Text(content);
    }

private:
    std::string& m_bytes;
};

/// Reads what CByteWriter writes. After the first reading beyond the end everything reads as 0 or
/// empty, and HasFailed() is true; nothing is allocated for a length that is not there.
class CByteReader
{
public:
    /// @param bytes must outlive this object and what it gives.
    explicit CByteReader(std::string_view bytes) : m_rest(bytes) {}

    std::uint64_t Number(int byteCount)
    {
        const std::string_view bytes = Bytes(static_cast<std::size_t>(byteCount));
        std::uint64_t value = 0;
        for (std::size_t byte = bytes.size(); byte > 0; --byte) {
            value = value << 8U | static_cast<unsigned char>(bytes[byte - 1]);
        }
        return value;
    }
    std::uint8_t U8() { return static_cast<std::uint8_t>(Number(1)); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(Number(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Number(4)); }
    std::uint64_t U64() { return Number(8); }
    std::string_view Text() { return Bytes(U32()); }
    std::string_view Bytes(std::uint64_t count)
    {
        if (count > m_rest.size()) {
            m_hasFailed = true;
            m_rest = {};
            return {};
        }
        const std::string_view bytes = m_rest.substr(0, static_cast<std::size_t>(count));
        m_rest.remove_prefix(bytes.size());
        return bytes;
    }
    std::map<std::string, std::string> Map()
    {
        CByteReader content(Text());
        std::map<std::string, std::string> entries;
        while (!content.Rest().empty()) {
            const std::string_view key = content.Text();
            const std::string_view value = content.Text();
            if (!content.HasFailed()) {
                entries.emplace(key, value);
            }
        }
        m_hasFailed = m_hasFailed || content.HasFailed();
        return entries;
    }
    std::string_view Rest() const { return m_rest; }
    bool HasFailed() const { return m_hasFailed; }

private:
    std::string_view m_rest;
    bool m_hasFailed = false;
};

#endif
