#ifndef KESTROVE_TESTS_FAULTS_CALLS_H
#define KESTROVE_TESTS_FAULTS_CALLS_H

#include <string>

#include "api/NavigationAPI.h"
#include "tests/support/RawPeer.h"

/// An operation as an application calls it: one of each way in which operations use the link.
struct CCall
{
    const char* serviceName;
    bool isRequest;
    double value;   ///< what a healthy service makes it return
    double failure; ///< its failure value
    double (*make)(CNavigationAPI&);
};

/// A request of the reconnecting guard, a request of the verifying guard, and a notification of it.
/// The notification returns nothing, which counts as 0.
extern const CCall kCalls[3];

/// Both look-ahead times of a healthy service: the one at the start, and the one that the
/// notification sets.
constexpr double kFirstLookAheadTime = 2.5;
constexpr double kSecondLookAheadTime = 1.5;
/// The offset and the guidance state that a healthy service sends its subscribers ahead of every
/// reply.
constexpr double kToldOffset = 0.625;
constexpr int kToldState = 2;

/// Waits for the next call; subscriptions are passed over.
CRawMessage NextCall(CRawLink& link);
/// The bytes of the right reply to a call. A notification, which has no reply, gets one to a
/// request that was never made.
std::string ReplyTo(const CRawMessage& call);
/// The same under another number.
std::string ReplyTo(const CRawMessage& call, std::uint64_t number);
/// The offset as an event.
std::string OffsetEvent(double offset);
/// The guidance state as an event.
std::string StateEvent(int state);
/// Does what a healthy service does, until the connection ends.
void Serve(CRawLink& link);

#endif
