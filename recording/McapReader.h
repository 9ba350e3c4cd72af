#ifndef KESTROVE_RECORDING_MCAPREADER_H
#define KESTROVE_RECORDING_MCAPREADER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "recording/Crc32.h"
#include "recording/Mcap.h"

/// Where a reader's bytes come from.
class CMcapSource
{
public:
    virtual ~CMcapSource() = default;
    /// Reads up to `room` bytes.
    ///
    /// @return how many; 0 at the end.
    virtual std::size_t Read(char* into, std::size_t room) = 0;
};

/// Bytes that are all there. They must outlive the source.
class CMcapBytes : public CMcapSource
{
public:
    explicit CMcapBytes(std::string_view bytes) : m_rest(bytes) {}
    std::size_t Read(char* into, std::size_t room) override;

private:
    std::string_view m_rest;
};

/// What a reader has come upon.
enum class EMcapStep
{
    Record, ///< a schema, a channel, a message, metadata or an attachment
    End,    ///< the end of a file that was closed
    Cut,    ///< the file stops before its end; all that was given is good
    Bad,    ///< what is not MCAP, or over a limit; Problem() says
};

/// Reads an MCAP file from the front to the end, whole or cut, in bounded memory.
///
/// A file is a stranger's: a length is held against what there is and against a limit before
/// anything is allocated for it, and so is the size of what a chunk is decompressed to. Records
/// that are of no use here, those that the format reserves for others included, are passed over,
/// however long they are.
///
/// Thread safety: none.
class CMcapReader
{
public:
    /// The longest record that is read, and the most that a chunk may hold.
    static constexpr std::uint64_t kLargestRecord = std::uint64_t{64} * 1024 * 1024;
    /// How much all schemas, or all channels, may take together.
    static constexpr std::size_t kMostDeclared = std::size_t{16} * 1024 * 1024;

    /// Decompresses a chunk into `records`, which has the size that the chunk announces; false when
    /// it has another or is damaged.
    using Decompression = std::function<bool(std::string_view packed, std::string& records)>;

    /// @param source must outlive this object.
    /// @param decompressions by their names in the file; without, such chunks are refused.
    explicit CMcapReader(CMcapSource& source,
                         std::map<std::string, Decompression> decompressions = {});

    /// Goes to the next record. After another answer than Record it stays the same.
    EMcapStep Next();
    /// The kind of the present record.
    EMcapRecord Kind() const { return m_kind; }
    /// The content of the present record; valid until the next call.
    std::string_view Content() const { return m_content; }
    /// The present record, when it is a message; valid until the next call.
    const CMcapMessage& Message() const { return m_message; }
    /// How many bytes of the file have been read.
    std::uint64_t Position() const { return m_position; }

    const std::map<std::uint16_t, CMcapSchema>& Schemas() const { return m_schemas; }
    const std::map<std::uint16_t, CMcapChannel>& Channels() const { return m_channels; }
    /// What is wrong, for people; empty after End.
    const std::string& Problem() const { return m_problem; }
    /// How many checksums did not agree; what they stand for has been given all the same.
    unsigned long WrongChecksums() const { return m_wrongChecksums; }
    unsigned long Chunks() const { return m_chunks; }
    /// What wrote the file, in its own words.
    const std::string& Library() const { return m_library; }

private:
    EMcapStep Stop(EMcapStep step, std::string problem);
    EMcapStep StopCut();
    EMcapStep StopBad(const std::string& problem);
    EMcapStep NextInFile();
    EMcapStep NextInChunk();
    EMcapStep ReadMagic();
    EMcapStep ReadTail(std::size_t length);
    EMcapStep ReadFooter(std::uint64_t length);
    void CheckAttachment(std::string_view content);
    EMcapStep Take(EMcapRecord kind, std::string_view content, bool& isGiven);
    EMcapStep Open(std::string_view content);
    bool TakeSchema(std::string_view content);
    bool TakeChannel(std::string_view content);
    bool TakeMessage(std::string_view content);
    bool Fill(std::uint64_t size);
    bool Skip(std::uint64_t size);
    void Consume(std::size_t size);
    std::string_view There() const;

    CMcapSource& m_source;
    const std::map<std::string, Decompression> m_decompressions;
    std::string m_buffer;
    std::size_t m_begin = 0; // of what is there in the buffer
    std::size_t m_end = 0;
    std::size_t m_given = 0; // bytes of the record that is given, which are not consumed yet
    std::uint64_t m_position = 0;
    bool m_hasBegun = false;
    bool m_isInChunk = false;
    std::string m_unpacked;
    std::string_view m_chunkRest;
    CCrc32 m_crc;

    EMcapStep m_step = EMcapStep::Record;
    EMcapRecord m_kind = EMcapRecord::Header;
    std::string_view m_content;
    CMcapMessage m_message;
    std::map<std::uint16_t, CMcapSchema> m_schemas;
    std::map<std::uint16_t, CMcapChannel> m_channels;
    std::size_t m_declared = 0;
    std::string m_library;
    std::string m_problem;
    unsigned long m_wrongChecksums = 0;
    unsigned long m_chunks = 0;
};

#endif
