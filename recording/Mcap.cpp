#include "recording/Mcap.h"

#include "recording/ByteForm.h"
#include "recording/Crc32.h"

std::string ContentOf(const CMcapSchema& schema)
{
    std::string content;
    CByteWriter(content).U16(schema.id).Text(schema.name).Text(schema.encoding).Text(schema.data);
    return content;
}

std::string ContentOf(const CMcapChannel& channel)
{
    std::string content;
    CByteWriter(content)
        .U16(channel.id)
        .U16(channel.schemaId)
        .Text(channel.topic)
        .Text(channel.messageEncoding)
        .Map(channel.metadata);
    return content;
}

std::string ContentOf(const CMcapMetadata& metadata)
{
    std::string content;
    CByteWriter(content).Text(metadata.name).Map(metadata.entries);
    return content;
}

std::string ContentOf(const CMcapAttachment& attachment)
{
    std::string content;
    CByteWriter writer(content);
    writer.U64(attachment.logTime).U64(attachment.createTime);
    writer.Text(attachment.name).Text(attachment.mediaType);
    writer.U64(attachment.data.size()).Bytes(attachment.data);
    writer.U32(Crc32Of(content));
    return content;
}

bool ReadContent(std::string_view content, CMcapSchema& schema)
{
    CByteReader reader(content);
    schema.id = reader.U16();
    schema.name = reader.Text();
    schema.encoding = reader.Text();
    schema.data = reader.Text();
    return !reader.HasFailed() && schema.id != 0;
}

bool ReadContent(std::string_view content, CMcapChannel& channel)
{
    CByteReader reader(content);
    channel.id = reader.U16();
    channel.schemaId = reader.U16();
    channel.topic = reader.Text();
    channel.messageEncoding = reader.Text();
    channel.metadata = reader.Map();
    return !reader.HasFailed();
}

bool ReadContent(std::string_view content, CMcapMessage& message)
{
    CByteReader reader(content);
    message.channelId = reader.U16();
    message.sequence = reader.U32();
    message.logTime = reader.U64();
    message.publishTime = reader.U64();
    message.data = reader.Rest();
    return !reader.HasFailed();
}

bool ReadContent(std::string_view content, CMcapMetadata& metadata)
{
    CByteReader reader(content);
    metadata.name = reader.Text();
    metadata.entries = reader.Map();
    return !reader.HasFailed();
}

bool ReadContent(std::string_view content, CMcapAttachment& attachment)
{
    CByteReader reader(content);
    attachment.logTime = reader.U64();
    attachment.createTime = reader.U64();
    attachment.name = reader.Text();
    attachment.mediaType = reader.Text();
    attachment.data = reader.Bytes(reader.U64());
    reader.U32();
    return !reader.HasFailed();
}

bool ReadContent(std::string_view content, CMcapChunk& chunk)
{
    CByteReader reader(content);
    chunk.startTime = reader.U64();
    chunk.endTime = reader.U64();
    chunk.uncompressedSize = reader.U64();
    chunk.uncompressedCrc = reader.U32();
    chunk.compression = reader.Text();
    chunk.records = reader.Bytes(reader.U64());
    return !reader.HasFailed();
}
