#include "tools/navctl/recording/RecordedLink.h"

#include <algorithm>
#include <utility>

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kMostOpenRequests = 65'536;

ERecorded KindOf(std::int64_t kind, bool fromApplication)
{
    if (kind == 0) {
        return fromApplication ? ERecorded::Request : ERecorded::Other;
    }
    if (kind == 1) {
        return fromApplication ? ERecorded::Other : ERecorded::Reply;
    }
    return fromApplication ? ERecorded::Notification : ERecorded::Event;
}

} // namespace

const char* NameOf(ERecorded kind)
{
    constexpr const char* kNames[] = {"state", "request", "notification", "reply",
                                      "event", "other",   "bad"};
    return kNames[static_cast<int>(kind)];
}

bool ReadLinkMessage(std::string_view bytes, bool fromApplication, CRecordedItem& item)
{
    item.kind = ERecorded::Bad;
    Json message = Json::from_msgpack(bytes.begin(), bytes.end(), true, false);
    const bool isMessage = message.is_array() && message.size() >= 3 && message.size() <= 4 &&
                           message[0].is_number_integer();
    const std::int64_t kind = isMessage ? message[0].get<std::int64_t>() : -1;
    if (kind < 0 || kind > 2 || message.size() != (kind == 2 ? 3U : 4U)) {
        return false;
    }
    const std::size_t name = kind == 2 ? 1 : 2;
    if (kind != 1 && !message[name].is_string()) {
        return false;
    }
    if (kind != 2 && !message[1].is_number_integer()) {
        return false;
    }
    item.kind = KindOf(kind, fromApplication);
    item.id = kind == 2 ? 0 : message[1].get<std::uint64_t>();
    item.name = kind == 1 ? "" : message[name].get<std::string>();
    item.isError = kind == 1 && !message[2].is_null();
    item.value = std::move(message[item.isError ? 2 : message.size() - 1]);
    return true;
}

EMcapStep CRecordedLink::Next(CRecordedItem& item)
{
    while (true) {
        if (m_hasState) {
            m_hasState = false;
            item = std::move(m_state);
            item.number = ++m_count;
            return EMcapStep::Record;
        }
        if (m_link != nullptr && CutNext(item)) {
            return EMcapStep::Record;
        }
        m_link = nullptr;
        const EMcapStep step = m_reader.Next();
        if (step != EMcapStep::Record) {
            return step;
        }
        TakeRecord();
    }
}

void CRecordedLink::TakeRecord()
{
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
    m_time = message.logTime;
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
    m_linkNumber = number;
    m_link = &m_links[number];
    m_direction =
        message.channelId % 2 == 1 ? ELinkDirection::ToService : ELinkDirection::ToApplication;
    m_link->streams[static_cast<int>(m_direction)].cutter.Add(message.data);
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
        Link& opened = m_links[static_cast<std::uint16_t>(link)];
        opened = Link();
        opened.client = number("client");
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

bool CRecordedLink::CutNext(CRecordedItem& item)
{
    Stream& stream = m_link->streams[static_cast<int>(m_direction)];
    std::string_view bytes;
    const CMessageCutter::EResult result = stream.cutter.Next(bytes);
    if (result == CMessageCutter::EResult::NeedMore || stream.isBad) {
        return false;
    }
    item = {};
    item.number = ++m_count;
    item.time = m_time;
    item.client = m_link->client;
    item.link = m_linkNumber;
    item.fromApplication = m_direction == ELinkDirection::ToService;
    Fill(item, result == CMessageCutter::EResult::Complete ? bytes : std::string_view());
    stream.isBad = item.kind == ERecorded::Bad;
    return true;
}

void CRecordedLink::Fill(CRecordedItem& item, std::string_view bytes)
{
    item.bytes = bytes;
    if (ReadLinkMessage(bytes, m_direction == ELinkDirection::ToService, item)) {
        Pair(item);
    } else {
        item.value = m_direction == ELinkDirection::ToService
                         ? "bytes of the application that are no message"
                         : "bytes of the service that are no message";
    }
}

/// Gives a reply the name of its request.
void CRecordedLink::Pair(CRecordedItem& item)
{
    auto& requests = m_link->requests;
    if (item.kind == ERecorded::Request) {
        if (requests.size() == kMostOpenRequests) {
            requests.pop_front();
        }
        requests.push_back({item.id, item.number, item.name});
    } else if (item.kind == ERecorded::Reply) {
        const auto found =
            std::find_if(requests.begin(), requests.end(),
                         [&item](const Link::Request& request) { return request.id == item.id; });
        if (found != requests.end()) {
            item.request = found->number;
            item.name = found->name;
            requests.erase(found);
        }
    }
}
