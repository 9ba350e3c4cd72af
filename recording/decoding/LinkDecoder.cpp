#include "recording/decoding/LinkDecoder.h"

#include <utility>

#include "recording/decoding/JsonSchemas.h"
#include "recording/decoding/ViewerMessages.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kMostChannels = 10'000;
constexpr std::size_t kMostTopicBytes = std::size_t{1024} * 1024;
constexpr std::size_t kMostRequestBytes = std::size_t{16} * 1024 * 1024;
/// What a request takes beside its texts.
constexpr std::size_t kBytesBesides = 256;

const char* const kOperation = "kestrove.Operation";

std::string TextOf(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The JSON of a message of a client without its last brace.
std::string StartOf(const CRecordedItem& item, const char* key)
{
    return "{\"client\":" + std::to_string(item.client) + ",\"" + key + "\":" + TextOf(item.value);
}

std::string OperationTopic(const std::string& name)
{
    return "/operations/" + name;
}

} // namespace

bool CLinkDecoder::Add(const CRecordedItem& item)
{
    if (const auto viewed = ViewerMessageOf(item)) {
        Write(viewed->topic, viewed->schema, item.time, item.time, TextOf(viewed->value));
    }
    switch (item.kind) {
    case ERecorded::Request:
        return Hold(item);
    case ERecorded::Notification:
        return Write(OperationTopic(item.name), kOperation, item.time, item.time,
                     StartOf(item, "arguments") + "}");
    case ERecorded::Event:
        return Write("/events/" + item.name, "kestrove.Event", item.time, item.time,
                     StartOf(item, "payload") + "}");
    case ERecorded::Reply:
        return WriteReply(item);
    default:
        return true;
    }
}

bool CLinkDecoder::Hold(const CRecordedItem& request)
{
    const auto held = m_requests.insert_or_assign(
        request.number, Request{request.time, request.name, StartOf(request, "arguments")});
    m_requestBytes += held.first->second.start.size() + request.name.size() + kBytesBesides;
    bool isWritten = true;
    while (m_requestBytes > kMostRequestBytes && m_requests.size() > 1) {
        isWritten = WriteAlone(m_requests.begin());
    }
    return isWritten;
}

void CLinkDecoder::Forget(Requests::iterator request)
{
    m_requestBytes -= request->second.start.size() + request->second.name.size() + kBytesBesides;
    m_requests.erase(request);
}

bool CLinkDecoder::WriteReply(const CRecordedItem& reply)
{
    const auto found = m_requests.find(reply.request);
    if (found == m_requests.end()) {
        return true;
    }
    const Request& request = found->second;
    // Below 0 where somebody has set the times.
    const double seconds =
        static_cast<double>(static_cast<std::int64_t>(reply.time - request.time)) / 1e9;
    const bool isWritten = Write(OperationTopic(request.name), kOperation, reply.time, request.time,
                                 request.start + (reply.isError ? ",\"error\":" : ",\"reply\":") +
                                     TextOf(reply.value) + ",\"seconds\":" + TextOf(seconds) + "}");
    Forget(found);
    return isWritten;
}

bool CLinkDecoder::WriteAlone(Requests::iterator request)
{
    const bool isWritten =
        Write(OperationTopic(request->second.name), kOperation, request->second.time,
              request->second.time, request->second.start + "}");
    Forget(request);
    return isWritten;
}

bool CLinkDecoder::Finish()
{
    bool isWritten = true;
    while (!m_requests.empty()) {
        isWritten = WriteAlone(m_requests.begin());
    }
    return isWritten;
}

bool CLinkDecoder::Write(const std::string& topic, const std::string& schema, std::uint64_t time,
                         std::uint64_t begun, const std::string& json)
{
    auto known = m_channels.find(topic);
    if (known == m_channels.end()) {
        if (m_channels.size() == kMostChannels || m_topicBytes + topic.size() > kMostTopicBytes) {
            return true; // names that somebody makes up
        }
        m_topicBytes += topic.size();
        const auto id = static_cast<std::uint16_t>(kFirstChannel + m_channels.size());
        known = m_channels.emplace(topic, Channel{id, 0}).first;
        m_writer.AddChannel({id, SchemaId(schema), topic, "json", {}});
    }
    return m_writer.AddMessage({known->second.id, known->second.count++, time, begun, json});
}

std::uint16_t CLinkDecoder::SchemaId(const std::string& name)
{
    const auto id = static_cast<std::uint16_t>(kFirstChannel + m_schemas.size());
    const auto added = m_schemas.emplace(name, id);
    if (added.second) {
        m_writer.AddSchema({id, name, "jsonschema", JsonSchemaOf(name)});
    }
    return added.first->second;
}
