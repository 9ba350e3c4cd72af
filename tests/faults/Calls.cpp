#include "tests/faults/Calls.h"

#include "tests/support/Bytes.h"

const CCall kCalls[3] = {
    {"EngageSteering", true, 7.0, -1.0,
     [](CNavigationAPI& navigation) { return static_cast<double>(navigation.EngageSteering()); }},
    {"get_lookahead_time", true, kFirstLookAheadTime, 0.0,
     [](CNavigationAPI& navigation) { return navigation.GetLookAheadTime(); }},
    {"set_lookahead_time", false, 0.0, 0.0,
     [](CNavigationAPI& navigation) {
         navigation.SetLookAheadTime(kSecondLookAheadTime, true);
         return 0.0;
     }},
};

CRawMessage NextCall(CRawLink& link)
{
    CRawMessage message = link.Read();
    while (message.name == "subscribe") {
        message = link.Read();
    }
    return message;
}

std::string ReplyTo(const CRawMessage& call)
{
    return ReplyTo(call, call.number);
}

std::string ReplyTo(const CRawMessage& call, std::uint64_t number)
{
    const std::string result = call.name == "get_lookahead_time"
                                   ? Bytes::Float64(kFirstLookAheadTime)
                                   : Bytes::FromHex("d2 00 00 00 07");
    return Bytes::Response(number, result);
}

std::string OffsetEvent(double offset)
{
    return Bytes::Notification("cb_offsets", '\x91' + Bytes::Float64(offset));
}

std::string StateEvent(int state)
{
    const std::string zero = Bytes::Float64(0.0);
    return Bytes::Notification("cb_guidance_status", '\x94' +
                                                         std::string(1, static_cast<char>(state)) +
                                                         zero + zero + zero);
}

void Serve(CRawLink& link)
{
    const std::string events = OffsetEvent(kToldOffset) + StateEvent(kToldState);
    bool hasSubscriber = false;
    double lookAheadTime = kFirstLookAheadTime;
    while (true) {
        const CRawMessage message = link.Read();
        if (message.name == "subscribe") {
            hasSubscriber = true;
        } else if (message.name == "set_lookahead_time") {
            lookAheadTime = kSecondLookAheadTime;
        } else if (message.kind == 0) {
            const bool asksForTime = message.name == "get_lookahead_time";
            link.Send((hasSubscriber ? events : std::string()) +
                      (asksForTime ? Bytes::Response(message.number, Bytes::Float64(lookAheadTime))
                                   : ReplyTo(message)));
        }
    }
}
