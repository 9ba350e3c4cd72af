#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/ScriptedService.h"
#include "tests/integration/EventClient.h"

using Kestrove::Testing::CScriptedService;
using Kestrove::Testing::CValue;

namespace {

using Lines = std::vector<std::string>;

/// An event with a payload, and the calls that it must lead to when everything is subscribed to.
struct PayloadRow
{
    const char* what;
    const char* event;
    std::vector<CValue> payload;
    Lines calls;
};

const PayloadRow kRows[] = {
    {"one short", "cb_engage_status", {1, 1, 1, 1}, {}},
    {"exact", "cb_engage_status", {1, 0, 2, 0, -1}, {"engage 1 0 1 0 1"}},
    {"one long", "cb_engage_status", {1, 1, 1, 1, 1, 1}, {}},
    {"one short", "cb_guidance_status", {1, 0.5, 0.25}, {}},
    {"exact", "cb_guidance_status", {-2, 0.5, 0.25, -0.125}, {"guidance -2 0.5 0.25 -0.125"}},
    {"one long", "cb_guidance_status", {1, 0.5, 0.25, 0.125, 1}, {}},
    {"one short", "cb_offsets", {}, {}},
    {"exact", "cb_offsets", {2.5}, {"offset 2.5"}},
    {"one long", "cb_offsets", {2.5, 1}, {}},
    {"one short", "cb_wayline_status", {1, 1, 0, 4}, {}},
    {"exact",
     "cb_wayline_status",
     {1, 1, 0, 4, 12.5},
     {"wayline4 1 1 0 4", "wayline5 1 1 0 4 12.5"}},
    {"one long",
     "cb_wayline_status",
     {0, 0, 3, -1, 0.5, 7},
     {"wayline4 0 0 1 -1", "wayline5 0 0 1 -1 0.5"}},
    {"a kind without a name",
     "cb_wayline_status",
     {0, 0, 0, 1000, 0.5},
     {"wayline4 0 0 0 1000", "wayline5 0 0 0 1000 0.5"}},
    {"a negative kind",
     "cb_wayline_status",
     {0, 0, 0, -7, 0.5},
     {"wayline4 0 0 0 -7", "wayline5 0 0 0 -7 0.5"}},
    {"one short", "cb_implement_width_changed", {}, {}},
    {"exact", "cb_implement_width_changed", {6.5}, {"width 6.5"}},
    {"one long", "cb_implement_width_changed", {6.5, 1}, {"width 6.5"}},
    {"one short", "cb_tuning_parameter_changed", {3}, {}},
    {"exact", "cb_tuning_parameter_changed", {3, 0.25}, {"tuning 3 0.25"}},
    {"one long", "cb_tuning_parameter_changed", {3, 0.25, 1}, {"tuning 3 0.25"}},
    {"without a name", "cb_tuning_parameter_changed", {1000, 0.25}, {"tuning 1000 0.25"}},
    {"a negative one", "cb_tuning_parameter_changed", {-7, 0.25}, {"tuning -7 0.25"}},
    {"one short", "cb_relative_position", {1.5, 2.5}, {}},
    {"exact", "cb_relative_position", {1.5, 2.5, 3.5}, {"position 1.5 2.5 3.5"}},
    {"one long", "cb_relative_position", {1.5, 2.5, 3.5, 4.5}, {"position 1.5 2.5 3.5"}},
    {"one short", "cb_draw_points", {}, {}},
    {"no point", "cb_draw_points", {0}, {"points"}},
    {"exact", "cb_draw_points", {2, 1.0, 2.0, 3.0, 4.0}, {"points (1 2) (3 4)"}},
    {"one long", "cb_draw_points", {2, 1.0, 2.0, 3.0, 4.0, 5.0}, {"points (1 2) (3 4)"}},
    {"fewer points than announced",
     "cb_draw_points",
     {3, 1.0, 2.0, 3.0, 4.0},
     {"points (1 2) (3 4)"}},
    {"half a point", "cb_draw_points", {2, 1.0, 2.0, 3.0}, {"points (1 2)"}},
    {"more points than announced", "cb_draw_points", {1, 1.0, 2.0, 3.0, 4.0}, {"points (1 2)"}},
};

} // namespace

TEST(EventPayload, ReachesTheFunctorsOfItsEvent)
{
    CScriptedService service;
    CEventClient client;
    client.TakeAll();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_draw_points", 1));
    Lines expected;
    for (const PayloadRow& row : kRows) {
        service.Push(row.event, row.payload);
        expected.insert(expected.end(), row.calls.begin(), row.calls.end());
        service.Push("cb_offsets", {0.0}); // so that there is a call to wait for
        expected.emplace_back("offset 0");
        ASSERT_TRUE(client.ProcessUntil(expected.size())) << row.event << ' ' << row.what;
        EXPECT_EQ(expected, client.Calls()) << row.event << ' ' << row.what;
    }
}

TEST(EventPayload, MayHoldItsDoublesAsInts)
{
    CScriptedService service;
    CEventClient client;
    client.TakeRelativePosition();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_relative_position", 1));
    service.Push("cb_relative_position", {1, 2, 3});
    ASSERT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"position 1 2 3"}, client.Calls());
}

TEST(EventPayload, WithANegativePointCountPassesTheLengthErrorAndTheLinkLives)
{
    CScriptedService service;
    CEventClient client;
    client.TakeDrawPoints();
    ASSERT_TRUE(service.WaitForSubscriptions("cb_draw_points", 1));
    service.Push("cb_draw_points", {-1});
    service.Push("cb_draw_points", {1, 1.0, 2.0});
    EXPECT_THROW(client.ProcessUntil(1), std::length_error);
    EXPECT_TRUE(client.ProcessUntil(1));
    EXPECT_EQ(Lines{"points (1 2)"}, client.Calls());
    EXPECT_EQ(1U, service.AcceptedCount());
}
