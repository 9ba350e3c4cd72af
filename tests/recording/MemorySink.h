#ifndef KESTROVE_TESTS_RECORDING_MEMORYSINK_H
#define KESTROVE_TESTS_RECORDING_MEMORYSINK_H

#include <string>

#include "recording/McapReader.h"
#include "recording/McapWriter.h"

/// Keeps a file in memory.
class CMemorySink : public CMcapSink
{
public:
    bool Write(std::string_view head, std::string_view data) override
    {
        bytes.append(head).append(data);
        ++writes;
        return true;
    }
    std::string bytes;
    int writes = 0;
};

/// What a reader makes of a file: a line a record, and how it ends.
struct CReadBack
{
    std::vector<std::string> messages; ///< the data of each
    std::vector<std::uint64_t> times;
    std::vector<std::string> metadata;
    std::vector<std::string> attachments;
    EMcapStep end = EMcapStep::Record;
    std::string problem;
    unsigned long wrongChecksums = 0;
    unsigned long chunks = 0;
    std::map<std::uint16_t, CMcapChannel> channels;
    std::map<std::uint16_t, CMcapSchema> schemas;
};

inline CReadBack ReadBack(CMcapReader& reader)
{
    CReadBack found;
    while ((found.end = reader.Next()) == EMcapStep::Record) {
        if (reader.Kind() == EMcapRecord::Message) {
            found.messages.emplace_back(reader.Message().data);
            found.times.push_back(reader.Message().logTime);
        } else if (reader.Kind() == EMcapRecord::Metadata) {
            found.metadata.emplace_back(reader.Content());
        } else if (reader.Kind() == EMcapRecord::Attachment) {
            found.attachments.emplace_back(reader.Content());
        }
    }
    found.problem = reader.Problem();
    found.wrongChecksums = reader.WrongChecksums();
    found.chunks = reader.Chunks();
    found.channels = reader.Channels();
    found.schemas = reader.Schemas();
    return found;
}

inline CReadBack ReadBack(const std::string& file,
                          std::map<std::string, CMcapReader::Decompression> decompressions = {})
{
    CMcapBytes source(file);
    CMcapReader reader(source, std::move(decompressions));
    return ReadBack(reader);
}

#endif
