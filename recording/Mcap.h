#ifndef KESTROVE_RECORDING_MCAP_H
#define KESTROVE_RECORDING_MCAP_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// The records of MCAP, as far as they are read and written here. Times are nanoseconds since 1970.

/// What both ends of a file are.
constexpr std::string_view kMcapMagic{"\x89MCAP0\r\n", 8};
/// What stands in front of a record's content: its opcode and its length.
constexpr std::size_t kMcapFrameBytes = 9;
/// What a message has in front of its data.
constexpr std::size_t kMcapMessageHeadBytes = 22;

/// Which record it is.
enum class EMcapRecord : std::uint8_t
{
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Attachment = 0x09,
    AttachmentIndex = 0x0A,
    Statistics = 0x0B,
    Metadata = 0x0C,
    MetadataIndex = 0x0D,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

/// How the messages of a channel read.
struct CMcapSchema
{
    std::uint16_t id = 0; ///< never 0
    std::string name;
    std::string encoding; ///< "jsonschema"
    std::string data;
};

/// A series of messages.
struct CMcapChannel
{
    std::uint16_t id = 0;
    std::uint16_t schemaId = 0; ///< 0: none
    std::string topic;
    std::string messageEncoding; ///< "json", for example
    std::map<std::string, std::string> metadata;
};

/// A message; its data belongs to whoever gives it.
struct CMcapMessage
{
    std::uint16_t channelId = 0;
    std::uint32_t sequence = 0;
    std::uint64_t logTime = 0;
    std::uint64_t publishTime = 0;
    std::string_view data;
};

/// Named texts about the recording.
struct CMcapMetadata
{
    std::string name;
    std::map<std::string, std::string> entries;
};

/// A file within the file; its data belongs to whoever gives it.
struct CMcapAttachment
{
    std::uint64_t logTime = 0;
    std::uint64_t createTime = 0;
    std::string name;
    std::string mediaType;
    std::string_view data;
};

/// A block of records; they belong to whoever gives it.
struct CMcapChunk
{
    std::uint64_t startTime = 0;
    std::uint64_t endTime = 0;
    std::uint64_t uncompressedSize = 0;
    std::uint32_t uncompressedCrc = 0; ///< 0: not given
    std::string compression;           ///< empty, "zstd" or "lz4"
    std::string_view records;
};

// The content of a record, and the record of a content. Reading gives false for one that ends too
// early; what stands behind the known entries is passed over.

std::string ContentOf(const CMcapSchema& schema);
std::string ContentOf(const CMcapChannel& channel);
std::string ContentOf(const CMcapMetadata& metadata);
std::string ContentOf(const CMcapAttachment& attachment);
bool ReadContent(std::string_view content, CMcapSchema& schema);
bool ReadContent(std::string_view content, CMcapChannel& channel);
bool ReadContent(std::string_view content, CMcapMessage& message);
bool ReadContent(std::string_view content, CMcapMetadata& metadata);
bool ReadContent(std::string_view content, CMcapAttachment& attachment);
bool ReadContent(std::string_view content, CMcapChunk& chunk);

#endif
