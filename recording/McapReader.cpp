#include "recording/McapReader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "recording/ByteForm.h"

namespace {

constexpr std::size_t kPortion = std::size_t{64} * 1024;
constexpr std::size_t kChecksumBytes = 4;
constexpr std::size_t kDataEndBytes = kChecksumBytes; // what an end of the data has at least
constexpr std::size_t kFooterBytes = 20;              // and a footer

bool IsOfUse(EMcapRecord kind)
{
    switch (kind) {
    case EMcapRecord::Header:
    case EMcapRecord::Schema:
    case EMcapRecord::Channel:
    case EMcapRecord::Message:
    case EMcapRecord::Chunk:
    case EMcapRecord::Attachment:
    case EMcapRecord::Metadata:
    case EMcapRecord::DataEnd:
        return true;
    default:
        return false;
    }
}

struct Frame
{
    EMcapRecord kind;
    std::uint64_t length;
};

Frame FrameOf(std::string_view bytes)
{
    CByteReader reader(bytes);
    const auto kind = static_cast<EMcapRecord>(reader.U8());
    return {kind, reader.U64()};
}

} // namespace

std::size_t CMcapBytes::Read(char* into, std::size_t room)
{
    const std::size_t count = std::min(room, m_rest.size());
    if (count > 0) {
        std::memcpy(into, m_rest.data(), count);
        m_rest.remove_prefix(count);
    }
    return count;
}

CMcapReader::CMcapReader(CMcapSource& source, std::map<std::string, Decompression> decompressions)
    : m_source(source), m_decompressions(std::move(decompressions))
{
}

std::string_view CMcapReader::There() const
{
    return {m_buffer.data() + m_begin, m_end - m_begin};
}

/// Has `size` bytes in the buffer, which grows no faster than they come; false where the file ends.
bool CMcapReader::Fill(std::uint64_t size)
{
    while (m_end - m_begin < size) {
        if (m_begin > 0 && (m_begin == m_end || m_buffer.size() - m_begin < size)) {
            std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
            m_end -= m_begin;
            m_begin = 0;
        }
        if (m_end == m_buffer.size()) {
            m_buffer.resize(std::max(kPortion, m_buffer.size() * 2));
        }
        const std::size_t count = m_source.Read(m_buffer.data() + m_end, m_buffer.size() - m_end);
        if (count == 0) {
            return false;
        }
        m_end += count;
    }
    return true;
}

void CMcapReader::Consume(std::size_t size)
{
    m_crc.Add(There().substr(0, size));
    m_begin += size;
    m_position += size;
}

bool CMcapReader::Skip(std::uint64_t size)
{
    while (size > 0) {
        if (!Fill(1)) {
            return false;
        }
        const auto step = static_cast<std::size_t>(std::min<std::uint64_t>(size, There().size()));
        Consume(step);
        size -= step;
    }
    return true;
}

EMcapStep CMcapReader::Stop(EMcapStep step, std::string problem)
{
    m_step = step;
    m_problem = std::move(problem);
    m_content = {};
    return step;
}

EMcapStep CMcapReader::StopCut()
{
    return Stop(EMcapStep::Cut, "the file stops after " +
                                    std::to_string(m_position + There().size()) +
                                    " bytes, before its end");
}

EMcapStep CMcapReader::StopBad(const std::string& problem)
{
    return Stop(EMcapStep::Bad, "at byte " + std::to_string(m_position) + ": " + problem);
}

EMcapStep CMcapReader::Next()
{
    if (m_step != EMcapStep::Record) {
        return m_step;
    }
    if (m_isInChunk) {
        const EMcapStep step = NextInChunk();
        if (m_isInChunk || step != EMcapStep::Record) {
            return step;
        }
    }
    return NextInFile();
}

EMcapStep CMcapReader::ReadMagic()
{
    Fill(kMcapMagic.size());
    const std::string_view start = There().substr(0, kMcapMagic.size());
    if (start != kMcapMagic.substr(0, start.size())) {
        return StopBad("this is no MCAP file");
    }
    if (start.size() < kMcapMagic.size()) {
        return StopCut();
    }
    Consume(kMcapMagic.size());
    m_hasBegun = true;
    return EMcapStep::Record;
}

EMcapStep CMcapReader::NextInFile()
{
    if (!m_hasBegun && ReadMagic() != EMcapStep::Record) {
        return m_step;
    }
    while (true) {
        Consume(m_given);
        m_given = 0;
        if (!Fill(kMcapFrameBytes)) {
            return StopCut();
        }
        const Frame frame = FrameOf(There());
        if (frame.kind == EMcapRecord{} || frame.kind == EMcapRecord::Footer) {
            return StopBad("a record of kind " + std::to_string(static_cast<int>(frame.kind)) +
                           " where data is");
        }
        if (!IsOfUse(frame.kind)) {
            if (!Skip(kMcapFrameBytes) || !Skip(frame.length)) {
                return StopCut();
            }
            continue;
        }
        if (frame.length > kLargestRecord) {
            return StopBad("a record of " + std::to_string(frame.length) + " bytes; at most " +
                           std::to_string(kLargestRecord) + " are read");
        }
        if (!Fill(kMcapFrameBytes + frame.length)) {
            return StopCut();
        }
        const auto length = static_cast<std::size_t>(frame.length);
        if (frame.kind == EMcapRecord::DataEnd) {
            if (length < kDataEndBytes) {
                return StopBad("an end of the data that is none");
            }
            return ReadTail(length);
        }
        m_given = kMcapFrameBytes + length;
        bool isGiven = true;
        const EMcapStep step = Take(frame.kind, There().substr(kMcapFrameBytes, length), isGiven);
        if (step != EMcapStep::Record || isGiven) {
            return step;
        }
        if (m_isInChunk) {
            const EMcapStep inner = NextInChunk();
            if (m_isInChunk || inner != EMcapStep::Record) {
                return inner;
            }
        }
    }
}

/// The end of the data has come: checks its checksum and that the rest of the file is there.
EMcapStep CMcapReader::ReadTail(std::size_t length)
{
    CByteReader end(There().substr(kMcapFrameBytes, kDataEndBytes));
    const std::uint32_t expected = end.U32();
    if (expected != 0 && expected != m_crc.Value()) {
        ++m_wrongChecksums;
    }
    if (!Skip(kMcapFrameBytes) || !Skip(length)) {
        return StopCut();
    }
    m_crc = CCrc32(); // of the summary from here on
    while (true) {
        if (!Fill(kMcapFrameBytes)) {
            return StopCut();
        }
        const Frame frame = FrameOf(There());
        if (frame.kind == EMcapRecord::Footer && frame.length >= kFooterBytes) {
            return ReadFooter(frame.length);
        }
        if (!Skip(kMcapFrameBytes) || !Skip(frame.length)) {
            return StopCut();
        }
        if (frame.kind == EMcapRecord{}) {
            return StopBad("a record of kind 0 in the summary");
        }
        if (frame.kind == EMcapRecord::Footer) {
            return StopBad("a footer that is none");
        }
    }
}

/// Checks the summary's checksum, which covers the footer up to its own place, and the end.
EMcapStep CMcapReader::ReadFooter(std::uint64_t length)
{
    if (!Fill(kMcapFrameBytes + kFooterBytes)) {
        return StopCut();
    }
    Consume(kMcapFrameBytes + kFooterBytes - kChecksumBytes);
    CByteReader end(There());
    const std::uint32_t expected = end.U32();
    if (expected != 0 && expected != m_crc.Value()) {
        ++m_wrongChecksums;
    }
    Consume(kChecksumBytes);
    if (!Skip(length - kFooterBytes)) {
        return StopCut();
    }
    if (!Fill(kMcapMagic.size())) {
        return StopCut();
    }
    if (There() != kMcapMagic) {
        return StopBad("the end of the file is not that of an MCAP file");
    }
    Consume(kMcapMagic.size());
    return Fill(1) ? StopBad("something stands behind the end of the file")
                   : Stop(EMcapStep::End, "");
}

EMcapStep CMcapReader::NextInChunk()
{
    while (!m_chunkRest.empty()) {
        if (m_chunkRest.size() < kMcapFrameBytes) {
            return StopBad("a chunk that ends within a record");
        }
        const Frame frame = FrameOf(m_chunkRest);
        m_chunkRest.remove_prefix(kMcapFrameBytes);
        if (frame.length > m_chunkRest.size()) {
            return StopBad("a chunk that ends within a record");
        }
        const auto length = static_cast<std::size_t>(frame.length);
        const std::string_view content = m_chunkRest.substr(0, length);
        m_chunkRest.remove_prefix(length);
        const bool isOfUse = frame.kind == EMcapRecord::Schema ||
                             frame.kind == EMcapRecord::Channel ||
                             frame.kind == EMcapRecord::Message;
        bool isGiven = true;
        if (isOfUse) {
            return Take(frame.kind, content, isGiven);
        }
    }
    m_isInChunk = false;
    return EMcapStep::Record;
}

EMcapStep CMcapReader::Take(EMcapRecord kind, std::string_view content, bool& isGiven)
{
    m_kind = kind;
    m_content = content;
    CByteReader reader(content);
    switch (kind) {
    case EMcapRecord::Header:
        reader.Text();
        m_library = reader.Text();
        isGiven = false;
        return EMcapStep::Record;
    case EMcapRecord::Chunk:
        isGiven = false;
        return Open(content);
    case EMcapRecord::Schema:
        return TakeSchema(content) ? EMcapStep::Record : StopBad("a schema that is none");
    case EMcapRecord::Channel:
        return TakeChannel(content) ? EMcapStep::Record : StopBad("a channel that is none");
    case EMcapRecord::Message:
        return TakeMessage(content) ? EMcapStep::Record
                                    : StopBad("a message that is none, or of no channel");
    case EMcapRecord::Attachment:
        CheckAttachment(content);
        return EMcapStep::Record;
    default:
        return EMcapStep::Record;
    }
}

EMcapStep CMcapReader::Open(std::string_view content)
{
    CMcapChunk chunk;
    if (!ReadContent(content, chunk) || chunk.uncompressedSize > kLargestRecord) {
        return StopBad("a chunk that is none, or of too much");
    }
    ++m_chunks;
    m_chunkRest = chunk.records;
    if (chunk.compression.empty() && chunk.records.size() != chunk.uncompressedSize) {
        return StopBad("a chunk whose size is not the one that it announces");
    }
    if (!chunk.compression.empty()) {
        const auto found = m_decompressions.find(chunk.compression);
        if (found == m_decompressions.end()) {
            return StopBad("a chunk that is compressed as \"" + chunk.compression.substr(0, 40) +
                           "\"");
        }
        m_unpacked.resize(static_cast<std::size_t>(chunk.uncompressedSize));
        if (!found->second(chunk.records, m_unpacked)) {
            return StopBad("a chunk that cannot be decompressed");
        }
        m_chunkRest = m_unpacked;
    }
    if (chunk.uncompressedCrc != 0 && chunk.uncompressedCrc != Crc32Of(m_chunkRest)) {
        ++m_wrongChecksums;
    }
    m_isInChunk = true;
    return EMcapStep::Record;
}

void CMcapReader::CheckAttachment(std::string_view content)
{
    const std::size_t covered = content.size() - std::min(content.size(), kChecksumBytes);
    CByteReader end(content.substr(covered));
    const std::uint32_t expected = end.U32();
    if (expected != 0 && expected != Crc32Of(content.substr(0, covered))) {
        ++m_wrongChecksums;
    }
}

bool CMcapReader::TakeSchema(std::string_view content)
{
    CMcapSchema schema;
    if (!ReadContent(content, schema)) {
        return false;
    }
    const auto added = m_schemas.emplace(schema.id, schema);
    m_declared += added.second ? content.size() : 0;
    return m_declared <= kMostDeclared && ContentOf(added.first->second) == ContentOf(schema);
}

bool CMcapReader::TakeChannel(std::string_view content)
{
    CMcapChannel channel;
    if (!ReadContent(content, channel) ||
        (channel.schemaId != 0 && m_schemas.count(channel.schemaId) == 0)) {
        return false;
    }
    const auto added = m_channels.emplace(channel.id, channel);
    m_declared += added.second ? content.size() : 0;
    return m_declared <= kMostDeclared && ContentOf(added.first->second) == ContentOf(channel);
}

bool CMcapReader::TakeMessage(std::string_view content)
{
    return ReadContent(content, m_message) && m_channels.count(m_message.channelId) != 0;
}
