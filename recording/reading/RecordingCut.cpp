#include "recording/reading/RecordingCut.h"

#include <utility>

namespace {

ELinkDirection DirectionOf(const CRecordedItem& item)
{
    return item.fromApplication ? ELinkDirection::ToService : ELinkDirection::ToApplication;
}

ELinkState StateOf(const std::string& name)
{
    if (name == "opened") {
        return ELinkState::Opened;
    }
    if (name == "present") {
        return ELinkState::Present;
    }
    return name == "refused" ? ELinkState::Refused : ELinkState::Closed;
}

} // namespace

void CopyRecord(const CMcapReader& reader, CMcapWriter& writer)
{
    CMcapSchema schema;
    CMcapChannel channel;
    CMcapMetadata metadata;
    CMcapAttachment attachment;
    switch (reader.Kind()) {
    case EMcapRecord::Schema:
        ReadContent(reader.Content(), schema);
        writer.AddSchema(schema);
        break;
    case EMcapRecord::Channel:
        ReadContent(reader.Content(), channel);
        writer.AddChannel(channel);
        break;
    case EMcapRecord::Message:
        writer.AddMessage(reader.Message());
        break;
    case EMcapRecord::Metadata:
        ReadContent(reader.Content(), metadata);
        writer.AddMetadata(metadata);
        break;
    case EMcapRecord::Attachment:
        ReadContent(reader.Content(), attachment);
        writer.AddAttachment(attachment);
        break;
    default:
        break;
    }
}

CRecordingCut::CRecordingCut(const CMcapReader& reader, CRecordedLink& link, CMcapSink& sink,
                             Span span)
    : m_reader(reader), m_link(link), m_span(std::move(span)), m_cut(sink)
{
    m_link.HandOn([this](bool isOfLink) { Beside(isOfLink); });
    m_link.ReadValuesOf([](const CRecordedItem&) { return false; }); // bytes are copied
}

void CRecordingCut::Add(const CRecordedItem& item)
{
    Begin();
    if (m_span(item.time)) {
        Keep(item);
    } else if (!m_isWithin) {
        Watch(item);
    }
}

bool CRecordingCut::Finish()
{
    Begin();
    return m_cut.Writer().Finish();
}

/// Once the source has said what it is.
void CRecordingCut::Begin()
{
    if (m_hasBegun) {
        return;
    }
    m_hasBegun = true;
    const auto& origin = m_link.Origin();
    const auto entry = [&origin](const char* key) {
        const auto found = origin.find(key);
        return found == origin.end() ? std::string() : found->second;
    };
    m_cut.Begin(
        {entry("library"), entry("program"), entry("process"), entry("started"), entry("side")});
}

/// Notes which connections are open where the span begins.
void CRecordingCut::Watch(const CRecordedItem& item)
{
    if (item.kind == ERecorded::State && (item.name == "opened" || item.name == "present")) {
        m_open[item.link] = {item.client, item.value.get<std::string>()};
    } else if (item.kind == ERecorded::State) {
        m_open.erase(item.link);
    }
}

void CRecordingCut::Keep(const CRecordedItem& item)
{
    if (!m_isWithin) {
        m_isWithin = true;
        for (const auto& [link, client] : m_open) {
            m_cut.State(item.time, link, client.number, ELinkState::Present, client.peer);
        }
    }
    if (item.kind == ERecorded::State) {
        m_cut.State(item.time, item.link, item.client, StateOf(item.name),
                    item.value.get<std::string>());
    } else {
        m_cut.Bytes(item.time, item.link, DirectionOf(item), item.bytes);
    }
}

/// What stands beside the link: its channels have numbers of their own.
void CRecordingCut::Beside(bool isOfLink)
{
    if (isOfLink || m_reader.Kind() == EMcapRecord::Metadata) {
        return; // the recording's own is written anew
    }
    Begin();
    const bool isMessage = m_reader.Kind() == EMcapRecord::Message;
    CMcapChannel channel;
    const bool isLinksChannel = m_reader.Kind() == EMcapRecord::Channel &&
                                ReadContent(m_reader.Content(), channel) &&
                                channel.id < LinkForm::kFirstOtherChannel;
    if (!isLinksChannel && (!isMessage || m_span(m_reader.Message().logTime))) {
        CopyRecord(m_reader, m_cut.Writer());
    }
}
