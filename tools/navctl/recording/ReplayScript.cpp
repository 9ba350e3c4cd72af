#include "tools/navctl/recording/ReplayScript.h"

#include <set>

#include "platform/BEncoder.h"
#include "tools/navctl/recording/Recording.h"

namespace {

/// How many bytes of messages are played at once; a longer recording is cut first.
constexpr std::size_t kMostBytes = std::size_t{512} * 1024 * 1024;
constexpr std::size_t kBytesBesides = 512; // of a message, about
constexpr std::size_t kMostNamed = 10;     // clients in the words of a failure

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

/// The front of a reply: its list, its kind and its number.
std::string FrontOfReply(std::uint64_t number)
{
    BEncoderC encoder;
    encoder.WriteListHeader(4);
    encoder.WriteInteger(1);
    encoder.WriteUnsigned(number);
    return {encoder.Data(), encoder.Size()};
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
        if (isWanted && IsPlayed(item.kind)) {
            bytes += item.bytes.size() * 2 + kBytesBesides;
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
    const auto side = recording.Link().Origin().find("side");
    const bool isServices = side != recording.Link().Origin().end() && side->second == "service";
    if (client == 0 && isServices && clients.size() > 1) {
        context.Fail(kExitUsage,
                     file + " has many clients; --client N with one of " + Listed(clients));
        return std::nullopt;
    }
    if (script.items.empty()) {
        context.Fail(kExitUsage,
                     file + ": there is nothing to play" +
                         (client == 0 ? "" : " of client " + std::to_string(client)) +
                         (clients.empty() ? "" : "; there are clients " + Listed(clients)));
        return std::nullopt;
    }
    return script;
}

std::string WithNumber(const std::string& reply, std::uint64_t number)
{
    // Behind the list's byte and the kind's stands the number, in one of five lengths.
    const unsigned first = reply.size() > 2 ? static_cast<unsigned char>(reply[2]) : 0;
    std::size_t length = 1;
    if (first >= 0xCCU && first <= 0xCFU) {
        length += std::size_t{1} << (first - 0xCCU);
    } else if (first >= 0xD0U && first <= 0xD3U) {
        length += std::size_t{1} << (first - 0xD0U);
    }
    return FrontOfReply(number) + reply.substr(std::min(2 + length, reply.size()));
}

std::string ErrorReply(std::uint64_t number, const std::string& text)
{
    BEncoderC encoder;
    encoder.WriteString(text.data(), text.size());
    encoder.WriteNothing();
    return FrontOfReply(number) + std::string(encoder.Data(), encoder.Size());
}
