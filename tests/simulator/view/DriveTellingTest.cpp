// What the page makes of a recording: from what a service writes down, and from what a client is
// told.

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "simulator/view/DriveTelling.h"

using Json = nlohmann::ordered_json;

namespace {

constexpr std::size_t kBytes = HistorySample::kBytes;

std::string SamplesOf(const HistoryView& view)
{
    std::string all;
    for (const auto& piece : view.pieces) {
        EXPECT_EQ(CHistory::kPieceSamples * kBytes, piece->size());
        all += *piece;
    }
    return all + view.open;
}

template <typename Whole>
Whole At(const std::string& bytes, std::size_t sample, std::size_t place)
{
    Whole value{};
    std::memcpy(&value, bytes.data() + sample * kBytes + place, sizeof value);
    return value;
}

/// The marks as "kind: text".
std::vector<std::string> MarksOf(const HistoryView& view)
{
    std::vector<std::string> marks;
    for (const auto& mark : view.marks) {
        marks.push_back(std::string(NameOf(mark->kind)) + ": " + mark->text);
    }
    return marks;
}

CRecordedItem Event(const char* name, const Json& values, std::uint64_t client = 1)
{
    CRecordedItem item;
    item.kind = ERecorded::Event;
    item.client = client;
    item.name = name;
    item.value = values;
    return item;
}

Json State(const char* word, double north, const std::vector<std::string>& faults = {})
{
    return {{"x_m", 1.5},
            {"y_m", north},
            {"heading_rad", 0.0},
            {"speed_mps", 2.0},
            {"cross_track_error_m", 0.25},
            {"steering_angle_rad", 0.0},
            {"engaged", std::string(word) == "engaged"},
            {"state", word},
            {"drop_reason", std::string(word) == "dropped" ? "too far away" : ""},
            {"fix", "float"},
            {"faults", faults}};
}

TEST(DriveTelling, OfAServiceHasWhereTheMachineWasAndWhatHappened)
{
    CDriveTelling telling;
    telling.TakeState(0.0, State("ready", 0.0));
    telling.TakeState(0.1, State("engaged", 0.2));
    telling.TakeState(0.2, State("engaged", 0.4, {"gnss-outage"}));
    telling.TakeState(0.3, State("dropped", 0.6, {"gnss-outage"}));
    telling.TakeState(0.4, State("ready", 0.8));

    const HistoryView view = telling.View();
    const std::string samples = SamplesOf(view);

    ASSERT_EQ(5 * kBytes, samples.size());
    EXPECT_EQ(20u, At<std::uint32_t>(samples, 2, 0));
    EXPECT_EQ(1500, At<std::int32_t>(samples, 2, 4));
    EXPECT_EQ(400, At<std::int32_t>(samples, 2, 8));
    EXPECT_EQ(2500, At<std::int32_t>(samples, 2, 28));
    EXPECT_EQ(2, At<std::uint16_t>(samples, 2, 48) & 3);
    EXPECT_EQ(3, At<std::uint8_t>(samples, 2, 50));
    EXPECT_EQ(2u, At<std::uint32_t>(samples, 2, 52));
    EXPECT_EQ((std::vector<std::string>{"engaged: engaged", "dropped: too far away",
                                        "fault: gnss-outage on", "fault: gnss-outage off"}),
              MarksOf(view));
}

TEST(DriveTelling, OfAServiceThatTellsLessHasWhetherItWasEngaged)
{
    CDriveTelling telling;
    for (const bool isEngaged : {false, true, false}) {
        telling.TakeState(0.1, {{"x_m", 0.0}, {"y_m", 0.0}, {"engaged", isEngaged}});
    }
    EXPECT_EQ((std::vector<std::string>{"engaged: engaged", "ended: steering ended by hand"}),
              MarksOf(telling.View()));
}

TEST(DriveTelling, OfAClientHasWhatItWasTold)
{
    CDriveTelling telling;
    telling.TakeItem(0.0, Event("cb_engage_status", {0, 1, 1, 0, 0}));
    telling.TakeItem(0.0, Event("cb_guidance_status", {-2, 0.5, 0.1, 0.0}));
    telling.TakeItem(0.0, Event("cb_relative_position", {1.0, 2.0, 0.0}));
    telling.TakeItem(0.5, Event("cb_engage_status", {1, 1, 1, 0, 0}));
    telling.TakeItem(0.5, Event("cb_relative_position", {1.0, 3.0, 0.0}));
    telling.TakeItem(0.6, Event("cb_engage_status", {0, 0, 1, 0, 1}));
    telling.TakeItem(0.7, Event("cb_relative_position", {9.0, 9.0, 0.0}, 2)); // another client

    const HistoryView view = telling.View();
    const std::string samples = SamplesOf(view);

    ASSERT_EQ(2 * kBytes, samples.size());
    EXPECT_EQ(-2, At<std::int16_t>(samples, 0, 38));
    EXPECT_EQ(5000, At<std::int32_t>(samples, 0, 28));
    EXPECT_EQ(2000, At<std::int16_t>(samples, 1, 20)) << "a metre in half a second";
    EXPECT_EQ((std::vector<std::string>{"engaged: engaged", "dropped: "}), MarksOf(view));
}

TEST(DriveTelling, OfAServiceTakesNothingThatItsClientsAreToldBesideIt)
{
    CDriveTelling telling;
    telling.TakeState(0.0, State("ready", 0.0));
    telling.TakeItem(0.0, Event("cb_relative_position", {100.0, 200.0, 0.0}));
    EXPECT_EQ(kBytes, SamplesOf(telling.View()).size());
}

TEST(DriveTelling, TakesValuesOfAnyFormFromAStranger)
{
    CDriveTelling telling;
    for (const Json& value :
         {Json(), Json(1), Json("text"), Json::array(), Json::array({"a", nullptr, Json::object()}),
          Json::array({1e308, -1e308, 1e308}), Json::object()}) {
        for (const char* name :
             {"cb_relative_position", "cb_guidance_status", "cb_engage_status"}) {
            telling.TakeItem(0.0, Event(name, value));
        }
    }
    for (const Json& value :
         {Json(), Json::array(), Json::object(), Json{{"x_m", "a"}, {"faults", 1}},
          Json{{"faults", {1, nullptr, "no fault"}}, {"state", 1}, {"drop_reason", 2}},
          Json(Json::value_t::discarded)}) {
        telling.TakeState(1e12, value);
    }
    EXPECT_EQ(0u, SamplesOf(telling.View()).size() % kBytes);
}

TEST(DriveTelling, HasAnySpanOfTimeInBoundedMemoryFromItsBeginningToItsEnd)
{
    CDriveTelling telling;
    const Json state = State("ready", 0.0);
    constexpr int kStates = 300000;
    for (int count = 0; count < kStates; ++count) {
        telling.TakeItem(count * 0.1, Event("cb_relative_position", {0.1 * count, 0.0, 0.0}));
    }

    const std::string samples = SamplesOf(telling.View());
    const std::size_t count = samples.size() / kBytes;

    EXPECT_LE(count, CDriveTelling::kMostSamples);
    EXPECT_GE(count, CDriveTelling::kMostSamples / 2);
    EXPECT_EQ(0u, At<std::uint32_t>(samples, 0, 0));
    const auto interval = At<std::uint32_t>(samples, 1, 0);
    for (std::size_t sample = 0; sample < count; sample += 97) {
        ASSERT_EQ(sample * interval, At<std::uint32_t>(samples, sample, 0)) << sample;
    }
    EXPECT_NEAR(kStates * 10.0, At<std::uint32_t>(samples, count - 1, 0), interval);
}

} // namespace
