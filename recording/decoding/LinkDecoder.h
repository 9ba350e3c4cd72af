#ifndef KESTROVE_RECORDING_DECODING_LINKDECODER_H
#define KESTROVE_RECORDING_DECODING_LINKDECODER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "recording/McapWriter.h"
#include "recording/decoding/LinkItems.h"

/// Writes the messages of links in JSON, with a schema: a channel an operation ("/operations/NAME",
/// a message when its reply comes) and an event ("/events/NAME"), and those that viewers draw.
///
/// Memory is bounded: the arguments of requests that wait for their replies have 16 MiB, or one of
/// them; the oldest is written without its reply where there would be more. Of 10 000 channels on,
/// or of names of 1 MiB together, further names are left out. Thread safety: none.
class CLinkDecoder
{
public:
    /// The first channel and schema that are written, as large as what comes from elsewhere is not.
    static constexpr std::uint16_t kFirstChannel = 0xC000;

    /// @param writer must outlive this object.
    explicit CLinkDecoder(CMcapWriter& writer) : m_writer(writer) {}

    /// Writes what a message stands for; a request waits for its reply.
    ///
    /// @return false when the writer's sink has refused something, now or before.
    bool Add(const CRecordedItem& item);
    /// Writes the requests that no reply has come for.
    bool Finish();
    /// Writes a message of a channel of its own, in JSON.
    ///
    /// @param schema the name of one that JsonSchemaOf() knows.
    bool Write(const std::string& topic, const std::string& schema, std::uint64_t time,
               std::uint64_t begun, const std::string& json);

private:
    struct Request
    {
        std::uint64_t time;
        std::string name;
        std::string start; ///< of its JSON, up to the arguments
    };
    struct Channel
    {
        std::uint16_t id;
        std::uint32_t count;
    };
    using Requests = std::map<std::uint64_t, Request>; // by their numbers

    bool Hold(const CRecordedItem& request);
    bool WriteReply(const CRecordedItem& reply);
    bool WriteAlone(Requests::iterator request);
    void Forget(Requests::iterator request);
    std::uint16_t SchemaId(const std::string& name);

    CMcapWriter& m_writer;
    Requests m_requests; // without a reply so far
    std::size_t m_requestBytes = 0;
    std::map<std::string, Channel> m_channels; // by their topics
    std::size_t m_topicBytes = 0;              // of those
    std::map<std::string, std::uint16_t> m_schemas;
};

#endif
