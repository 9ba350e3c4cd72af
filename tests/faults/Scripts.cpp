#include "tests/faults/Scripts.h"

#include <utility>

namespace Scripts {

namespace {

Bytes Fixed(const std::string& bytes)
{
    return [bytes](const CRawMessage&) { return bytes; };
}

} // namespace

CFault::Script OnFirstConnection(CFault::Script script)
{
    return [script = std::move(script)](CRawLink& link) {
        if (link.Number() == 1) {
            script(link);
        } else {
            Serve(link);
        }
    };
}

CFault::Script Send(Bytes bytes)
{
    return OnFirstConnection([bytes = std::move(bytes)](CRawLink& link) {
        link.Send(bytes(NextCall(link)));
        Serve(link);
    });
}

CFault::Script Send(const std::string& bytes)
{
    return Send(Fixed(bytes));
}

CFault::Script SendAndStall(Bytes bytes)
{
    return OnFirstConnection([bytes = std::move(bytes)](CRawLink& link) {
        link.Send(bytes(NextCall(link)));
        link.WaitForEnd();
    });
}

CFault::Script SendAndClose(Bytes bytes)
{
    return OnFirstConnection(
        [bytes = std::move(bytes)](CRawLink& link) { link.Send(bytes(NextCall(link))); });
}

CFault::Script SendAndReset(Bytes bytes)
{
    return OnFirstConnection([bytes = std::move(bytes)](CRawLink& link) {
        link.Send(bytes(NextCall(link)));
        link.Reset();
    });
}

CFault::Script SendAhead(const std::string& bytes)
{
    return Send([bytes](const CRawMessage& call) { return bytes + ReplyTo(call); });
}

CFault::Script Trickle(Bytes bytes, int pauseMilliseconds)
{
    return OnFirstConnection([bytes = std::move(bytes), pauseMilliseconds](CRawLink& link) {
        for (const char byte : bytes(NextCall(link))) {
            link.Send(std::string(1, byte));
            link.WaitUntilTaken();
            link.Pause(pauseMilliseconds);
        }
        Serve(link);
    });
}

CFault::Script SendWithoutEnd(const std::string& start, const std::string& rest)
{
    return OnFirstConnection([start, portion = Repeated(rest)](CRawLink& link) {
        NextCall(link);
        link.Send(start);
        while (true) {
            link.Send(portion);
        }
    });
}

CFault::Script FloodFromTheStart(const std::string& bytes)
{
    return [portion = Repeated(bytes)](CRawLink& link) {
        while (true) {
            link.Send(portion);
        }
    };
}

std::string Repeated(const std::string& bytes)
{
    constexpr std::size_t kPortion = 65536;
    std::string repeated;
    while (!bytes.empty() && repeated.size() < kPortion) {
        repeated += bytes;
    }
    return repeated;
}

} // namespace Scripts
