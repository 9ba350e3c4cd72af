#ifndef KESTROVE_RECORDING_MCAPWRITER_H
#define KESTROVE_RECORDING_MCAPWRITER_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "recording/Crc32.h"
#include "recording/Mcap.h"

/// Where a writer's bytes go.
class CMcapSink
{
public:
    virtual ~CMcapSink() = default;
    /// Takes a record, or several, in two parts.
    ///
    /// @return false when it could not be taken as a whole; nothing more is written then.
    virtual bool Write(std::string_view head, std::string_view data) = 0;
};

/// How messages are gathered into chunks.
struct CMcapChunking
{
    std::size_t size = std::size_t{1024} * 1024; ///< of a chunk before compression, at least
    std::string compression;                     ///< its name in the file; empty for none
    /// Compresses the records of a chunk; unset for none.
    std::function<std::string(std::string_view records)> compress;
};

/// What stands behind the data.
enum class EMcapSummary
{
    None,
    Whole, ///< schemas, channels, counts and indexes
};

/// Writes an MCAP file record by record, from the front to the end.
///
/// Without chunks each record is handed on at once, so that a file that stops anywhere has every
/// record that was handed on before. Keeps the schemas, the channels and the indexes for the
/// summary, and nothing of the messages but an entry a message of the present chunk.
///
/// Each call gives false when the sink has refused something, now or before. Thread safety: none.
class CMcapWriter
{
public:
    /// @param sink must outlive this object.
    explicit CMcapWriter(CMcapSink& sink) : m_sink(sink) {}

    /// Writes the start of the file.
    ///
    /// @param library what writes it, in words.
    bool Begin(std::string_view profile, std::string_view library);
    /// Gathers what follows into chunks. To be called before the first schema or channel.
    void UseChunks(CMcapChunking chunking);

    /// Adds a schema; one with an id that is there already is taken for the same.
    bool AddSchema(const CMcapSchema& schema);
    /// Adds a channel, likewise; its schema must be there.
    bool AddChannel(const CMcapChannel& channel);
    /// Adds a message of a channel that must be there.
    bool AddMessage(const CMcapMessage& message);
    bool AddMetadata(const CMcapMetadata& metadata);
    bool AddAttachment(const CMcapAttachment& attachment);
    /// Ends the present chunk; nothing happens where none has begun.
    bool EndChunk();
    /// Writes the end of the file.
    bool Finish(EMcapSummary summary = EMcapSummary::Whole);

    /// How many bytes have been handed on.
    std::uint64_t Size() const { return m_size; }
    std::uint64_t MessageCount() const { return m_messageCount; }

private:
    struct IndexEntry
    {
        std::uint64_t time;
        std::uint64_t offset;
    };
    struct Times
    {
        std::uint64_t first = 0;
        std::uint64_t last = 0;
        void Include(std::uint64_t time, bool isFirst);
    };

    bool Hand(std::string_view head, std::string_view data = {});
    bool HandRecord(EMcapRecord kind, std::string_view content);
    bool Put(EMcapRecord kind, std::string_view content);
    void PutIntoChunk(const CMcapMessage& message, std::string_view head);
    bool WriteMessageIndexes(std::map<std::uint16_t, std::uint64_t>& offsets);
    std::string Statistics() const;
    std::string Summary(std::uint64_t start, std::uint64_t& offsetStart) const;

    CMcapSink& m_sink;
    bool m_hasFailed = false;
    std::uint64_t m_size = 0;
    CCrc32 m_crc; // of all that has been handed on, up to the end of the data

    std::map<std::uint16_t, CMcapSchema> m_schemas;
    std::map<std::uint16_t, CMcapChannel> m_channels;
    std::map<std::uint16_t, std::uint64_t> m_counts; // of messages
    std::uint64_t m_messageCount = 0;
    Times m_times;
    std::vector<std::string> m_chunkIndexes; // contents of records
    std::vector<std::string> m_attachmentIndexes;
    std::vector<std::string> m_metadataIndexes;

    bool m_usesChunks = false;
    CMcapChunking m_chunking;
    std::string m_chunk;
    std::size_t m_chunkMessages = 0;
    Times m_chunkTimes;
    std::map<std::uint16_t, std::vector<IndexEntry>> m_chunkEntries;
};

#endif
