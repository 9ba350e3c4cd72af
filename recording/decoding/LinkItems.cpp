#include "recording/decoding/LinkItems.h"

#include <algorithm>
#include <utility>

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kMostOpenRequests = 65'536;
constexpr std::size_t kMostNameBytes = std::size_t{1024} * 1024;
// On all links together:
constexpr std::size_t kMostHeldBytes = std::size_t{128} * 1024 * 1024;
constexpr std::size_t kMostRequests = 262'144;
constexpr std::size_t kMostNames = 16 * kMostNameBytes;

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
    Close(link);
    m_links[link].client = client;
}

void CLinkItems::Close(std::uint16_t link)
{
    const auto found = m_links.find(link);
    if (found == m_links.end()) {
        return;
    }
    for (const Stream& stream : found->second.streams) {
        m_heldBytes -= stream.held;
    }
    m_openRequests -= found->second.requests.size();
    m_nameBytes -= found->second.nameBytes;
    m_links.erase(found);
}

/// Counts what a stream holds by now.
void CLinkItems::Count(Stream& stream)
{
    const std::size_t held = stream.cutter.Held();
    m_heldBytes = m_heldBytes - stream.held + held;
    stream.held = held;
}

void CLinkItems::Add(std::uint64_t time, std::uint16_t link, ELinkDirection direction,
                     std::string_view bytes)
{
    m_time = time;
    m_link = link;
    m_direction = direction;
    Stream& stream = m_links[link].streams[static_cast<std::size_t>(direction)];
    if (!stream.isBad) {
        stream.cutter.Add(bytes);
        Count(stream);
    }
}

bool CLinkItems::Next(CRecordedItem& item)
{
    const auto found = m_links.find(m_link);
    if (found == m_links.end()) {
        return false;
    }
    Stream& stream = found->second.streams[static_cast<std::size_t>(m_direction)];
    std::string_view bytes;
    if (stream.isBad) {
        return false;
    }
    const CMessageCutter::EResult result = stream.cutter.Next(bytes);
    Count(stream);
    const bool isTooMuch = m_heldBytes > kMostHeldBytes && stream.cutter.IsInMessage();
    if (result == CMessageCutter::EResult::NeedMore && !isTooMuch) {
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
    if (result == CMessageCutter::EResult::NeedMore) {
        item.value = "the rest, since more is unfinished on all links than is kept";
    }
    if (result != CMessageCutter::EResult::Complete) {
        stream.isBad = true;
        stream.cutter.Reset();
        Count(stream);
    }
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

bool CLinkItems::HasTooMany(const Link& link) const
{
    return link.requests.size() > kMostOpenRequests || link.nameBytes > kMostNameBytes ||
           m_openRequests > kMostRequests || m_nameBytes > kMostNames;
}

void CLinkItems::Hold(Link& link, const CRecordedItem& request)
{
    link.requests.push_back({request.id, request.number, request.name});
    link.nameBytes += request.name.size();
    m_nameBytes += request.name.size();
    ++m_openRequests;
    while (!link.requests.empty() && HasTooMany(link)) {
        ForgetOldest(link);
    }
}

void CLinkItems::ForgetOldest(Link& link)
{
    link.nameBytes -= link.requests.front().name.size();
    m_nameBytes -= link.requests.front().name.size();
    --m_openRequests;
    link.requests.pop_front();
}

/// Gives a reply the name of its request.
void CLinkItems::Pair(Link& link, CRecordedItem& item)
{
    if (item.kind == ERecorded::Request) {
        return Hold(link, item);
    }
    auto& requests = link.requests;
    const auto found =
        item.kind != ERecorded::Reply
            ? requests.end()
            : std::find_if(requests.begin(), requests.end(),
                           [&item](const Request& request) { return request.id == item.id; });
    if (found == requests.end()) {
        return;
    }
    item.request = found->number;
    item.name = found->name;
    link.nameBytes -= found->name.size();
    m_nameBytes -= found->name.size();
    --m_openRequests;
    requests.erase(found);
}
