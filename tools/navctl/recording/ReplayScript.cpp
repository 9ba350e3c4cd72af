#include "tools/navctl/recording/ReplayScript.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "platform/BEncoder.h"
#include "tools/navctl/recording/Recording.h"

namespace {

/// How many bytes of messages are played at once; a longer recording is cut first.
constexpr std::size_t kMostBytes = std::size_t{512} * 1024 * 1024;
constexpr std::size_t kBytesBesides = 512; // of a message, about
constexpr std::size_t kMostNamed = 10;     // clients in the words of a failure

/// The operation by which a client of a stepped simulator has time go on.
const char* const kAdvance = "simulator_advance";

bool IsPlayed(ERecorded kind)
{
    return IsOfApplication(kind) || kind == ERecorded::Reply || kind == ERecorded::Event;
}

std::string Listed(const std::set<std::uint64_t>& clients)
{
    std::string text;
    std::size_t count = 0;
    for (const std::uint64_t client : clients) {
        if (count++ == kMostNamed) {
            return text + ", ...";
        }
        text += (text.empty() ? "" : ", ") + std::to_string(client);
    }
    return text;
}

/// How many bytes the head of a list, or a whole number, takes at a place of a message.
std::size_t HeadLength(const std::string& message, std::size_t place)
{
    const unsigned first = place < message.size() ? static_cast<unsigned char>(message[place]) : 0;
    if (first >= 0xCCU && first <= 0xD3U) { // unsigned and signed numbers of 1, 2, 4 and 8 bytes
        return 1 + (std::size_t{1} << ((first - 0xCCU) % 4));
    }
    if (first == 0xDCU || first == 0xDDU) { // lists whose count has 2 or 4 bytes
        return first == 0xDCU ? 3 : 5;
    }
    return 1;
}

/// The front of a reply: its list, its kind and its number.
std::string FrontOfReply(std::uint64_t number)
{
    BEncoderC encoder;
    encoder.WriteListHeader(4);
    encoder.WriteInteger(1);
    encoder.WriteUnsigned(number);
    return {encoder.Data(), encoder.Size()};
}

/// Why what has been read cannot be played; empty when it can.
std::string ProblemOf(const std::map<std::string, std::string>& origin, const CReplayScript& script,
                      const std::set<std::uint64_t>& clients, std::uint64_t client)
{
    const auto side = origin.find("side");
    const bool isServices = side != origin.end() && side->second == "service";
    if (client == 0 && isServices && clients.size() > 1) {
        return " has many clients; --client N with one of " + Listed(clients);
    }
    if (script.items.empty()) {
        return ": there is nothing to play" +
               (client == 0 ? "" : " of client " + std::to_string(client)) +
               (clients.empty() ? "" : "; there are clients " + Listed(clients));
    }
    return {};
}

} // namespace

std::optional<CReplayScript> ReadScript(CContext& context, const std::string& file,
                                        std::uint64_t client)
{
    CRecording recording(file);
    CReplayScript script;
    CRecordedItem item;
    std::set<std::uint64_t> clients;
    std::size_t bytes = 0;
    while (bytes <= kMostBytes && recording.NextItem(item) == EMcapStep::Record) {
        const bool isWanted = client == 0 || item.client == client;
        if (isWanted && script.start == 0) {
            script.start = item.time;
        }
        if (IsPlayed(item.kind)) {
            clients.insert(item.client);
        }
        if (!isWanted && item.kind == ERecorded::Request && item.name == kAdvance) {
            script.advancer = item.client;
        }
        if (isWanted && IsPlayed(item.kind)) {
            bytes += item.bytes.size() * 2 + kBytesBesides;
            item.value = nullptr;
            script.items.push_back(std::move(item));
        }
    }
    if (bytes > kMostBytes) {
        context.Fail(kExitUsage, file + ": too long to be played as a whole; cut it first");
        return std::nullopt;
    }
    if (!FinishReading(context, recording)) {
        return std::nullopt;
    }
    if (const std::string problem = ProblemOf(recording.Link().Origin(), script, clients, client);
        !problem.empty()) {
        context.Fail(kExitUsage, file + problem);
        return std::nullopt;
    }
    return script;
}

nlohmann::ordered_json ValueOf(const CRecordedItem& item)
{
    CRecordedItem read;
    ReadLinkMessage(item.bytes, item.fromApplication, read);
    return std::move(read.value);
}

std::chrono::nanoseconds Later(std::uint64_t time, std::uint64_t than)
{
    constexpr std::uint64_t kTenYears = 315'360'000'000'000'000;
    const std::uint64_t difference = time > than ? time - than : 0;
    return std::chrono::nanoseconds(std::min(difference, kTenYears));
}

std::string WithNumber(const std::string& reply, std::uint64_t number)
{
    // The service may write a list or a number longer than it must: what is not the number stays.
    const std::size_t kind = HeadLength(reply, 0);
    const std::size_t begin = kind + HeadLength(reply, kind);
    const std::size_t end = begin + HeadLength(reply, begin);
    BEncoderC encoder;
    encoder.WriteUnsigned(number);
    return reply.substr(0, begin) + std::string(encoder.Data(), encoder.Size()) +
           reply.substr(std::min(end, reply.size()));
}

std::string ErrorReply(std::uint64_t number, const std::string& text)
{
    BEncoderC encoder;
    encoder.WriteString(text.data(), text.size());
    encoder.WriteNothing();
    return FrontOfReply(number) + std::string(encoder.Data(), encoder.Size());
}
