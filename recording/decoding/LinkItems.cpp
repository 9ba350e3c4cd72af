#include "recording/decoding/LinkItems.h"

#include <algorithm>
#include <utility>

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kMostOpenRequests = 65'536;
constexpr std::size_t kMostNameBytes = std::size_t{1024} * 1024;

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

/// Takes a number, in big-endian bytes, off the front.
std::uint64_t TakeNumber(std::string_view& bytes, std::size_t count)
{
    std::uint64_t number = 0;
    for (const char byte : bytes.substr(0, count)) {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    bytes.remove_prefix(std::min(count, bytes.size()));
    return number;
}

/// How numbers or the lengths of texts begin.
struct Front
{
    unsigned first;      ///< byte that holds the number itself: 0
    unsigned mostWithin; ///< number that is held so
    unsigned firstLong;  ///< byte behind which the number has 1 byte; 2, 4 and 8 behind the next
    unsigned longForms;
};
constexpr Front kNumber{0x00, 0x7F, 0xCC, 4}; // from 0 on
constexpr Front kText{0xA0, 0x1F, 0xD9, 3};

bool TakeFront(std::string_view& bytes, const Front& front, std::uint64_t& number)
{
    const auto byte = static_cast<unsigned>(TakeNumber(bytes, 1));
    if (byte >= front.first && byte - front.first <= front.mostWithin) {
        number = byte - front.first;
        return true;
    }
    const unsigned form = byte - front.firstLong; // more than there are where the byte is less
    number = form < front.longForms ? TakeNumber(bytes, std::size_t{1} << form) : 0;
    return form < front.longForms;
}

/// Reads what a message is, and no value.
///
/// @return false for one that is written in an unusual way, or that is not one.
bool ReadHead(std::string_view bytes, CRecordedItem& item)
{
    const std::uint64_t size = TakeNumber(bytes, 1);
    const std::uint64_t kind = TakeNumber(bytes, 1);
    std::uint64_t id = 0;
    std::uint64_t length = 0;
    if (kind > 2 || size != (kind == 2 ? 0x93 : 0x94) ||
        (kind != 2 && !TakeFront(bytes, kNumber, id))) {
        return false;
    }
    if (kind != 1) {
        if (!TakeFront(bytes, kText, length) || length > bytes.size()) {
            return false;
        }
        item.name = bytes.substr(0, static_cast<std::size_t>(length));
    }
    item.id = id;
    item.kind = KindOf(static_cast<std::int64_t>(kind), item.fromApplication);
    return true;
}

} // namespace

const char* NameOf(ERecorded kind)
{
    constexpr const char* kNames[] = {"state", "request", "notification", "reply",
                                      "event", "other",   "bad"};
    return kNames[static_cast<int>(kind)];
}

bool IsOfApplication(ERecorded kind)
{
    return kind == ERecorded::Request || kind == ERecorded::Notification;
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
    if (kind != 1) { // a reply has the name of its request
        item.name = message[name].get<std::string>();
    }
    item.isError = kind == 1 && !message[2].is_null();
    item.value = std::move(message[item.isError ? 2 : message.size() - 1]);
    return true;
}

void CLinkItems::Open(std::uint16_t link, std::uint64_t client)
{
    m_links[link] = Link();
    m_links[link].client = client;
}

void CLinkItems::Add(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                     std::string_view bytes)
{
    m_time = time;
    m_link = link;
    m_direction = direction;
    m_links[link].streams[static_cast<std::size_t>(direction)].cutter.Add(bytes);
}

bool CLinkItems::Next(CRecordedItem& item)
{
    const auto found = m_links.find(m_link);
    if (found == m_links.end()) {
        return false;
    }
    Stream& stream = found->second.streams[static_cast<std::size_t>(m_direction)];
    std::string_view bytes;
    const CMessageCutter::EResult result = stream.cutter.Next(bytes);
    if (result == CMessageCutter::EResult::NeedMore || stream.isBad) {
        return false;
    }
    item = {};
    item.number = TakeNumber();
    item.time = m_time;
    item.client = found->second.client;
    item.link = m_link;
    item.fromApplication = m_direction == ELinkDirection::ToService;
    Fill(found->second, item,
         result == CMessageCutter::EResult::Complete ? bytes : std::string_view());
    stream.isBad = result == CMessageCutter::EResult::Bad;
    return true;
}

void CLinkItems::Fill(Link& link, CRecordedItem& item, std::string_view bytes)
{
    item.bytes = bytes;
    const bool hasHead = m_wanted && ReadHead(bytes, item);
    if (hasHead) {
        Pair(link, item);
        if (!m_wanted(item)) {
            return;
        }
    }
    if (!ReadLinkMessage(bytes, item.fromApplication, item)) {
        item.value = item.fromApplication ? "bytes of the application that are no message"
                                          : "bytes of the service that are no message";
    } else if (!hasHead) {
        Pair(link, item);
    }
}

/// Gives a reply the name of its request.
void CLinkItems::Pair(Link& link, CRecordedItem& item)
{
    auto& requests = link.requests;
    if (item.kind == ERecorded::Request) {
        requests.push_back({item.id, item.number, item.name});
        link.nameBytes += item.name.size();
        while (requests.size() > kMostOpenRequests || link.nameBytes > kMostNameBytes) {
            link.nameBytes -= requests.front().name.size();
            requests.pop_front();
        }
    } else if (item.kind == ERecorded::Reply) {
        const auto found =
            std::find_if(requests.begin(), requests.end(),
                         [&item](const Request& request) { return request.id == item.id; });
        if (found != requests.end()) {
            item.request = found->number;
            item.name = found->name;
            link.nameBytes -= found->name.size();
            requests.erase(found);
        }
    }
}
