#include "benchmarks/support/Service.h"

#include <vector>

namespace Benchmarks {

namespace {

// The kind of a message stands before its number: a list of four, 0 for a request, 1 for a reply.
constexpr std::size_t kNumberPlace = 2;
const std::string kRequestHead("\x94\x00", 2);
const std::string kReplyHead("\x94\x01", 2);
// Of 32 bits, as nearly all of the library's are.
const std::string kNumber("\xce\x10\x20\x30\x40", 5);
const std::string kRequestTail = "\xae"
                                 "EngageSteering"
                                 "\x91\x01";
// Behind the number: no error, and the result 1.
const std::string kReplyTail = "\xc0\x01";

/// The bytes of a message number that begins with `first`, in MessagePack's forms.
std::size_t NumberLength(char first)
{
    switch (static_cast<unsigned char>(first)) {
    case 0xcc:
        return 2;
    case 0xcd:
        return 3;
    case 0xce:
        return 5;
    default:
        return 1;
    }
}

} // namespace

std::string RequestBytes()
{
    return kRequestHead + kNumber + kRequestTail;
}

std::size_t ReplyLength()
{
    return kReplyHead.size() + kNumber.size() + kReplyTail.size();
}

void AnswerRequests(const CTcp& listener)
{
    const CTcp connection = listener.Accept();
    char request[256];
    std::string reply;
    // A small message that is sent at once arrives at once.
    while (connection.Read(request, sizeof(request)) > kNumberPlace) {
        reply.assign(kReplyHead);
        reply.append(request + kNumberPlace, NumberLength(request[kNumberPlace]));
        reply.append(kReplyTail);
        connection.Write(reply);
    }
}

void DropEverything(const CTcp& listener)
{
    const CTcp connection = listener.Accept();
    std::vector<char> space(std::size_t{64} * 1024);
    while (connection.Read(space.data(), space.size()) > 0) {
    }
}

} // namespace Benchmarks
