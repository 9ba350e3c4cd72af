#include "recording/McapWriter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "recording/ByteForm.h"

namespace {

std::string Framed(EMcapRecord kind, std::string_view content)
{
    std::string record;
    record.reserve(kMcapFrameBytes + content.size());
    CByteWriter(record).U8(static_cast<std::uint8_t>(kind)).U64(content.size()).Bytes(content);
    return record;
}

/// Writes a number into room that is there: the way of a message, which allocates nothing.
char* PutNumber(char* place, std::uint64_t value, int byteCount)
{
    for (int byte = 0; byte < byteCount; ++byte, value >>= 8U) {
        *place++ = static_cast<char>(value & 0xFFU);
    }
    return place;
}

using MessageHead = std::array<char, kMcapFrameBytes + kMcapMessageHeadBytes>;

MessageHead HeadOf(const CMcapMessage& message)
{
    MessageHead head;
    char* place = PutNumber(head.data(), static_cast<std::uint8_t>(EMcapRecord::Message), 1);
    place = PutNumber(place, kMcapMessageHeadBytes + message.data.size(), 8);
    place = PutNumber(place, message.channelId, 2);
    place = PutNumber(place, message.sequence, 4);
    place = PutNumber(place, message.logTime, 8);
    PutNumber(place, message.publishTime, 8);
    return head;
}

std::string TextOfCounts(const std::map<std::uint16_t, std::uint64_t>& counts)
{
    std::string text;
    for (const auto& [channel, count] : counts) {
        CByteWriter(text).U16(channel).U64(count);
    }
    return text;
}

} // namespace

void CMcapWriter::Times::Include(std::uint64_t time, bool isFirst)
{
    first = isFirst ? time : std::min(first, time);
    last = isFirst ? time : std::max(last, time);
}

bool CMcapWriter::Hand(std::string_view head, std::string_view data)
{
    if (m_hasFailed || !m_sink.Write(head, data)) {
        m_hasFailed = true;
        return false;
    }
    m_crc.Add(head);
    m_crc.Add(data);
    m_size += head.size() + data.size();
    return true;
}

bool CMcapWriter::HandRecord(EMcapRecord kind, std::string_view content)
{
    return Hand(Framed(kind, content));
}

bool CMcapWriter::Put(EMcapRecord kind, std::string_view content)
{
    if (!m_usesChunks) {
        return HandRecord(kind, content);
    }
    m_chunk += Framed(kind, content);
    return !m_hasFailed;
}

bool CMcapWriter::Begin(std::string_view profile, std::string_view library)
{
    std::string content;
    CByteWriter(content).Text(profile).Text(library);
    return Hand(kMcapMagic, Framed(EMcapRecord::Header, content));
}

void CMcapWriter::UseChunks(CMcapChunking chunking)
{
    m_usesChunks = true;
    m_chunking = std::move(chunking);
}

bool CMcapWriter::AddSchema(const CMcapSchema& schema)
{
    if (!m_schemas.emplace(schema.id, schema).second) {
        return !m_hasFailed;
    }
    return Put(EMcapRecord::Schema, ContentOf(schema));
}

bool CMcapWriter::AddChannel(const CMcapChannel& channel)
{
    if (!m_channels.emplace(channel.id, channel).second) {
        return !m_hasFailed;
    }
    return Put(EMcapRecord::Channel, ContentOf(channel));
}

bool CMcapWriter::AddMessage(const CMcapMessage& message)
{
    const MessageHead bytes = HeadOf(message);
    const std::string_view head(bytes.data(), bytes.size());
    if (m_usesChunks) {
        PutIntoChunk(message, head);
    } else if (!Hand(head, message.data)) {
        return false;
    }
    m_times.Include(message.logTime, m_messageCount == 0);
    ++m_messageCount;
    ++m_counts[message.channelId];
    return m_chunk.size() < m_chunking.size ? !m_hasFailed : EndChunk();
}

void CMcapWriter::PutIntoChunk(const CMcapMessage& message, std::string_view head)
{
    m_chunkEntries[message.channelId].push_back({message.logTime, m_chunk.size()});
    m_chunkTimes.Include(message.logTime, m_chunkMessages == 0);
    ++m_chunkMessages;
    m_chunk.append(head).append(message.data);
}

bool CMcapWriter::AddMetadata(const CMcapMetadata& metadata)
{
    const std::string content = ContentOf(metadata);
    std::string index;
    CByteWriter(index).U64(m_size).U64(kMcapFrameBytes + content.size()).Text(metadata.name);
    m_metadataIndexes.push_back(std::move(index));
    return HandRecord(EMcapRecord::Metadata, content);
}

bool CMcapWriter::AddAttachment(const CMcapAttachment& attachment)
{
    const std::string content = ContentOf(attachment);
    std::string index;
    CByteWriter(index)
        .U64(m_size)
        .U64(kMcapFrameBytes + content.size())
        .U64(attachment.logTime)
        .U64(attachment.createTime)
        .U64(attachment.data.size())
        .Text(attachment.name)
        .Text(attachment.mediaType);
    m_attachmentIndexes.push_back(std::move(index));
    return HandRecord(EMcapRecord::Attachment, content);
}

bool CMcapWriter::EndChunk()
{
    if (m_chunk.empty()) {
        return !m_hasFailed;
    }
    const std::string packed = m_chunking.compress ? m_chunking.compress(m_chunk) : m_chunk;
    std::string content;
    CByteWriter(content)
        .U64(m_chunkTimes.first)
        .U64(m_chunkTimes.last)
        .U64(m_chunk.size())
        .U32(Crc32Of(m_chunk))
        .Text(m_chunking.compression)
        .U64(packed.size())
        .Bytes(packed);
    const std::uint64_t start = m_size;
    HandRecord(EMcapRecord::Chunk, content);
    const std::uint64_t end = m_size;
    std::map<std::uint16_t, std::uint64_t> offsets;
    WriteMessageIndexes(offsets);
    std::string index;
    CByteWriter(index)
        .U64(m_chunkTimes.first)
        .U64(m_chunkTimes.last)
        .U64(start)
        .U64(end - start)
        .Text(TextOfCounts(offsets))
        .U64(m_size - end)
        .Text(m_chunking.compression)
        .U64(packed.size())
        .U64(m_chunk.size());
    m_chunkIndexes.push_back(std::move(index));
    m_chunk.clear();
    m_chunkEntries.clear();
    m_chunkMessages = 0;
    m_chunkTimes = {};
    return !m_hasFailed;
}

bool CMcapWriter::WriteMessageIndexes(std::map<std::uint16_t, std::uint64_t>& offsets)
{
    for (const auto& [channel, entries] : m_chunkEntries) {
        offsets[channel] = m_size;
        std::string content;
        std::string list;
        for (const IndexEntry& entry : entries) {
            CByteWriter(list).U64(entry.time).U64(entry.offset);
        }
        CByteWriter(content).U16(channel).Text(list);
        HandRecord(EMcapRecord::MessageIndex, content);
    }
    return !m_hasFailed;
}

std::string CMcapWriter::Statistics() const
{
    std::string content;
    CByteWriter(content)
        .U64(m_messageCount)
        .U16(static_cast<std::uint16_t>(m_schemas.size()))
        .U32(static_cast<std::uint32_t>(m_channels.size()))
        .U32(static_cast<std::uint32_t>(m_attachmentIndexes.size()))
        .U32(static_cast<std::uint32_t>(m_metadataIndexes.size()))
        .U32(static_cast<std::uint32_t>(m_chunkIndexes.size()))
        .U64(m_times.first)
        .U64(m_times.last)
        .Text(TextOfCounts(m_counts));
    return content;
}

std::string CMcapWriter::Summary(std::uint64_t start, std::uint64_t& offsetStart) const
{
    std::vector<std::pair<EMcapRecord, std::vector<std::string>>> groups;
    groups.emplace_back(EMcapRecord::Schema, std::vector<std::string>());
    for (const auto& schema : m_schemas) {
        groups.back().second.push_back(ContentOf(schema.second));
    }
    groups.emplace_back(EMcapRecord::Channel, std::vector<std::string>());
    for (const auto& channel : m_channels) {
        groups.back().second.push_back(ContentOf(channel.second));
    }
    groups.emplace_back(EMcapRecord::Statistics, std::vector<std::string>{Statistics()});
    groups.emplace_back(EMcapRecord::ChunkIndex, m_chunkIndexes);
    groups.emplace_back(EMcapRecord::AttachmentIndex, m_attachmentIndexes);
    groups.emplace_back(EMcapRecord::MetadataIndex, m_metadataIndexes);

    std::string summary;
    std::string offsets;
    for (const auto& [kind, contents] : groups) {
        const std::size_t groupStart = summary.size();
        for (const std::string& content : contents) {
            summary += Framed(kind, content);
        }
        if (!contents.empty()) {
            std::string offset;
            CByteWriter(offset)
                .U8(static_cast<std::uint8_t>(kind))
                .U64(start + groupStart)
                .U64(summary.size() - groupStart);
            offsets += Framed(EMcapRecord::SummaryOffset, offset);
        }
    }
    offsetStart = start + summary.size();
    return summary + offsets;
}

bool CMcapWriter::Finish(EMcapSummary summary)
{
    EndChunk();
    std::string end;
    CByteWriter(end).U32(m_crc.Value());
    HandRecord(EMcapRecord::DataEnd, end);
    std::uint64_t start = 0;
    std::uint64_t offsetStart = 0;
    std::string tail;
    if (summary == EMcapSummary::Whole) {
        start = m_size;
        tail = Summary(start, offsetStart);
    }
    CByteWriter footer(tail);
    footer.U8(static_cast<std::uint8_t>(EMcapRecord::Footer)).U64(20).U64(start).U64(offsetStart);
    footer.U32(Crc32Of(tail)).Bytes(kMcapMagic);
    return Hand(tail);
}
