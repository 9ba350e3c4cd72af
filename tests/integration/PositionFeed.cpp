#include "tests/integration/PositionFeed.h"

#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "platform/ObjectStore.h"
#include "testing/ScriptedService.h"

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CReceived;
using Kestrove::Testing::CScriptedService;

namespace {

constexpr int kSamplesPerSecond = 1000;

double LatitudeOf(int sample)
{
    return 51.5 + sample / 7.0;
}

int Feed(CNavigationAPI& navigation, int sample)
{
    return navigation.SetPositionData(LatitudeOf(sample), -0.25, 80.0, 0.1, 2.5, 0.0, 0.0, 0.1, 0.0,
                                      0.0, 0.0, 0.02, 0.02, 0.04, true, 4, 17, true, false, sample,
                                      1e9 + sample / 1000.0);
}

/// The number of the sample that a record carries; -1 when its values are not the sample's.
int SampleIn(const CReceived& received)
{
    Core::IO::ObjectStore store;
    double latitude = 0.0;
    int sample = -1;
    const bool isRead = store.SetInputMode(received.arguments->GetString(0)) &&
                        store.ProcessDouble(latitude, 1) && store.ProcessInt(sample, 20);
    return isRead && latitude == LatitudeOf(sample) ? sample : -1;
}

} // namespace

void FeedAndCheck(int seconds)
{
    CScriptedService service;
    service.Answer("SetPositionData", CAnswer::Nothing());
    CNavigationAPI navigation;
    const int count = seconds * kSamplesPerSecond;
    const auto start = std::chrono::steady_clock::now();
    for (int sample = 0; sample < count; ++sample) {
        const auto due = start + std::chrono::microseconds(1000) * sample;
        std::this_thread::sleep_until(due); // the pace of the feed, not a wait for anything
        ASSERT_EQ(0, Feed(navigation, sample)) << sample;
    }
    ASSERT_TRUE(service.WaitForCalls("SetPositionData", static_cast<std::size_t>(count)));
    const auto received = service.Received();
    ASSERT_EQ(static_cast<std::size_t>(count), received.size());
    for (int sample = 0; sample < count; ++sample) {
        ASSERT_EQ(sample, SampleIn(received[static_cast<std::size_t>(sample)]));
    }
    EXPECT_EQ(1U, service.AcceptedCount());
    EXPECT_EQ("", service.Problems());
}
