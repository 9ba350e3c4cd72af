#ifndef KESTROVE_TESTS_API_APITEST_H
#define KESTROVE_TESTS_API_APITEST_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "tests/doubles/Recording.h"

/// The transcript of a reconnecting guard with the link up, down and coming back, and down for
/// good.
const std::vector<std::string> kLinkUp = {"IsLinkUp: true"};
const std::vector<std::string> kReconnected = {"IsLinkUp: false", "Connect localhost 5010 -1",
                                               "IsLinkUp: true"};
const std::vector<std::string> kUnreachable = {"IsLinkUp: false", "Connect localhost 5010 -1",
                                               "IsLinkUp: false"};

using Lines = std::vector<std::string>;

inline Lines operator+(Lines left, const Lines& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// Forgets what an earlier test did. Stands before the client, so that its construction is
/// recorded.
struct CFreshRecording
{
    CFreshRecording() { Doubles::Recording().Reset(); }
    ~CFreshRecording() { Doubles::Recording().Reset(); } // with the replies nobody has asked for
};

/// A client that is connected, and an empty transcript.
class CApiTest : public testing::Test
{
protected:
    CApiTest() { recording.ClearTranscript(); }

    /// The service goes away and does not come back.
    void TakeServiceDown()
    {
        recording.SetServiceReachable(false);
        recording.SetVerified(false);
        recording.DropLink();
    }

    /// Hands an event to every callback that is registered for it.
    void Deliver(const std::string& event, BListC& payload)
    {
        for (MPICallbackBase* callback : recording.Callbacks(event)) {
            EXPECT_EQ(callback->Callback(&payload), 0) << event;
        }
    }

    CFreshRecording fresh;
    Doubles::CRecording& recording = Doubles::Recording();
    CNavigationAPI api;
};

#endif
