#include "recording/reading/RecordedLink.h"

#include <utility>

using Json = nlohmann::ordered_json;

EMcapStep CRecordedLink::Next(CRecordedItem& item)
{
    while (true) {
        if (m_hasState) {
            m_hasState = false;
            item = std::move(m_state);
            item.number = m_items.TakeNumber();
            return EMcapStep::Record;
        }
        if (m_items.Next(item)) {
            return EMcapStep::Record;
        }
        const EMcapStep step = m_reader.Next();
        if (step != EMcapStep::Record) {
            return step;
        }
        TakeRecord();
    }
}

void CRecordedLink::TakeRecord()
{
    if (m_reader.Kind() == EMcapRecord::Message && !m_start) {
        m_start = m_reader.Message().logTime;
    }
    const bool isOfLink =
        m_reader.Kind() == EMcapRecord::Message && TakeMessage(m_reader.Message());
    CMcapMetadata metadata;
    if (m_reader.Kind() == EMcapRecord::Metadata && ReadContent(m_reader.Content(), metadata) &&
        metadata.name == LinkForm::kMetadataName) {
        m_origin = metadata.entries;
    }
    m_handOn(isOfLink);
}

/// Takes a message of the link; false for what stands beside it.
bool CRecordedLink::TakeMessage(const CMcapMessage& message)
{
    const CMcapChannel& channel = m_reader.Channels().at(message.channelId);
    if (channel.topic == LinkForm::kStateTopic) {
        TakeState(message);
        return true;
    }
    if (channel.messageEncoding != LinkForm::kStreamEncoding || message.channelId == 0 ||
        message.channelId > 2 * LinkForm::kMostLinks) {
        return false;
    }
    const auto number = static_cast<std::uint16_t>((message.channelId + 1) / 2);
    m_items.Add(message.logTime, number,
                message.channelId % 2 == 1 ? ELinkDirection::ToService
                                           : ELinkDirection::ToApplication,
                message.data);
    return true;
}

void CRecordedLink::TakeState(const CMcapMessage& message)
{
    const Json state = Json::parse(message.data.begin(), message.data.end(), nullptr, false);
    const auto number = [&state](const char* key) -> std::uint64_t {
        return state.is_object() && state.contains(key) && state[key].is_number_unsigned()
                   ? state[key].get<std::uint64_t>()
                   : 0;
    };
    const auto text = [&state](const char* key) -> std::string {
        return state.is_object() && state.contains(key) && state[key].is_string()
                   ? state[key].get<std::string>()
                   : "";
    };
    const std::uint64_t link = number("link");
    if (link == 0 || link > LinkForm::kMostLinks) {
        return;
    }
    const std::string word = text("state");
    if (word == "opened" || word == "present") {
        m_items.Open(static_cast<std::uint16_t>(link), number("client"));
    }
    m_state = {};
    m_state.time = message.logTime;
    m_state.client = number("client");
    m_state.link = static_cast<std::uint16_t>(link);
    m_state.kind = ERecorded::State;
    m_state.name = word;
    m_state.value = text("text");
    m_hasState = true;
}
