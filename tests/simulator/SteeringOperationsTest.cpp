#include "simulator/operations/SteeringOperations.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

const char* const kStraightNorth = "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]";

TEST(SteeringOperations, StartNavigationNeedsAWayline)
{
    Service service;

    EXPECT_EQ("0", service.Request("StartNavigation", "[1, 0]"));
    EXPECT_EQ("0", service.Request("IsNavigationActivated", "[]"));
    EXPECT_NE(std::string::npos, service.Log().find("StartNavigation refused: "));

    service.Request("set_wayline", kStraightNorth);
    EXPECT_EQ("1", service.Request("StartNavigation", "[1, 0]"));
    EXPECT_EQ("1", service.Request("IsNavigationActivated", "[]"));
}

TEST(SteeringOperations, EngageAndDisengage)
{
    Service service;
    service.NavigateNorth();

    EXPECT_EQ("1", service.Request("EngageSteering", "[1]"));
    EXPECT_EQ("1", service.Request("IsSteeringEngaged", "[]"));
    EXPECT_EQ("1", service.Request("DisengageSteering", "[1]"));
    EXPECT_EQ("0", service.Request("IsSteeringEngaged", "[]"));
}

TEST(SteeringOperations, StopNavigationKeepsTheWayline)
{
    Service service;
    service.NavigateNorth();
    service.Request("EngageSteering", "[1]");

    EXPECT_EQ("1", service.Request("StopNavigation", "[1]"));

    EXPECT_EQ("0", service.Request("IsSteeringEngaged", "[]"));
    EXPECT_EQ("0", service.Request("IsNavigationActivated", "[]"));
    EXPECT_EQ(kStraightNorth, service.Request("get_wayline", "[]"));
}

TEST(SteeringOperations, ClearNavigationDropsWaylineWaypointsNudgeAndFieldOffset)
{
    Service service;
    service.Request("start_wayline", "[1]");
    service.Request("set_waypoint", "[0, 0.0, 0.0, 0.0, 0.0]");
    service.Request("StartNavigation", "[1, 0]");
    service.Notify("set_nudge", "[1, 0.5]");
    service.Request("SetFieldOffset", "[1, 0.25]");
    service.Request("SetImplementOffset", "[1, 0.75]");

    EXPECT_EQ("1", service.Request("ClearNavigation", "[]"));

    EXPECT_EQ("0", service.Request("IsNavigationActivated", "[]"));
    EXPECT_EQ("nil", service.Request("get_wayline", "[]"));
    EXPECT_EQ("0", service.Request("is_waypoint_set", "[0]"));
    EXPECT_EQ("0.0", service.Request("get_nudge", "[1]"));
    EXPECT_EQ("0.0", service.Request("GetFieldOffset", "[1]"));
    EXPECT_EQ("0.75", service.Request("GetImplementOffset", "[1]"));
}

/// A condition of engaging, and how a machine comes to miss it.
struct ReasonRow
{
    const char* name;
    double speed;
    std::function<void(Service&)> arrange;
    int reasons;
    const char* reason;
};

const std::vector<ReasonRow> kReasonRows{
    {"navigation is not active", 2.0,
     [](Service& service) { service.Request("StopNavigation", "[1]"); }, 1, "navigation"},
    {"too far from the line", 2.0,
     [](Service& service) {
         service.Request("set_wayline", "[0, 90.0, 0.0, 0.0, 90.0, 100.0, 0.0]");
         service.Request("StartNavigation", "[1, 0]");
     },
     1, "from the line"},
    {"heading too far off", 2.0,
     [](Service& service) {
         service.Request("set_wayline", "[1, 0.0, 0.0, 0.0, 1.5]");
         service.Request("StartNavigation", "[1, 0]");
     },
     1, "degrees"},
    {"moving backwards", -1.0, [](Service&) {}, 2, "backwards"},
    {"too slow", 0.0, [](Service&) {}, 1, "m/s"},
};

TEST(SteeringOperations, GiveTheReasonForARefusal)
{
    for (const ReasonRow& row : kReasonRows) {
        Service service(row.speed);
        service.NavigateNorth();
        row.arrange(service);
        service.Advance(0.2);
        service.Forget();

        EXPECT_EQ("0", service.Request("EngageSteering", "[1]")) << row.name;

        const Answer answer = service.Core().Request("why_not_engaged", BListC(nullptr));
        const std::string why = TextOf(answer.value.get());
        EXPECT_NE(std::string::npos, why.find(row.reason)) << row.name << ": " << why;
        EXPECT_EQ(row.reasons, dynamic_cast<BListC&>(*answer.value).Size())
            << row.name << ": " << why;
        EXPECT_NE(std::string::npos, service.Log().find("EngageSteering refused: "))
            << row.name << ": " << service.Log();
    }
}

TEST(SteeringOperations, TellOfAnyOperationWhyItWasRefusedTheLastTime)
{
    Service service(0.0);
    EXPECT_EQ("nil", service.Request("why_refused", "['StartNavigation']"));

    service.Request("StartNavigation", "[1, 1]");
    service.Request("set_waypoint", "[7, 0.0, 0.0, 0.0, 0.0]");
    service.Notify("set_nudge", "[1, 5000.0]");

    EXPECT_EQ("'there is no complete line'", service.Request("why_refused", "['StartNavigation']"));
    EXPECT_NE(std::string::npos, service.Request("why_refused", "['set_waypoint']").find('7'));
    EXPECT_NE(std::string::npos, service.Request("why_refused", "['set_nudge']").find("5000"));
    service.Notify("set_nudge", "[1, -1000.00001]");
    EXPECT_EQ("'the offset -1000.00001 m is not within -1000 and 1000 m'",
              service.Request("why_refused", "['set_nudge']"));

    service.NavigateNorth();
    EXPECT_EQ("nil", service.Request("why_refused", "['StartNavigation']"));
    EXPECT_EQ("nil", service.Request("why_refused", "['no_such_operation']"));
}

TEST(SteeringOperations, SayWhetherSettingsOutliveARestart)
{
    EXPECT_EQ("1", Service().Request("simulator_keeps", "[]"));

    CServiceCore forgetful{ServiceCoreOptions{}};
    const Answer answer = forgetful.Request("simulator_keeps", BListC(nullptr));
    EXPECT_EQ("0", TextOf(answer.value.get()));
}

TEST(SteeringOperations, EngageBackwardsNeedsBothEnabledAndAllowed)
{
    for (const int switches : {0, 1, 2, 3}) {
        Service service(-1.0);
        service.NavigateNorth();
        service.Notify("set_reverse_engage_enabled", (switches & 1) != 0 ? "[1, 0]" : "[0, 0]");
        service.Notify("set_reverse_engage_allowed", (switches & 2) != 0 ? "[1, 0]" : "[0, 0]");
        service.Advance(0.2);

        EXPECT_EQ(switches == 3 ? "1" : "0", service.Request("EngageSteering", "[1]"))
            << "switches " << switches;
    }
}

TEST(SteeringOperations, EngageAStandingMachineWhenLowSpeedIsAllowed)
{
    Service service(0.0);
    service.NavigateNorth();
    service.Notify("set_low_speed_engage_allowed", "[1, 0]");

    EXPECT_EQ("1", service.Request("EngageSteering", "[1]"));
}

TEST(SteeringOperations, DropSteeringAfterTheLowSpeedTimeout)
{
    Service service(1.0);
    service.NavigateNorth();
    service.Notify("set_low_speed_engage_timeout", "[3.0, 0]");
    service.Request("EngageSteering", "[1]");
    service.Notify("SetVelocitySetPoint", "[0.0]");
    while (service.World().Speed() >= 0.3) {
        service.Advance(0.1);
    }
    const double slowAt = service.World().Time();

    ASSERT_TRUE(service.AdvanceUntil("IsSteeringEngaged", "[]", "0", 10.0));

    EXPECT_NEAR(3.0, service.World().Time() - slowAt, 0.25);
    EXPECT_NE(std::string::npos, service.Log().find("steering dropped: ")) << service.Log();
}

TEST(SteeringOperations, DropSteeringWhenTheLineIsTakenAway)
{
    Service service;
    service.NavigateNorth();
    service.Request("EngageSteering", "[1]");

    service.Request("set_wayline", "[0, 90.0, 0.0, 0.0, 90.0, 100.0, 0.0]");
    service.Request("StartNavigation", "[1, 0]");
    service.Advance(0.2);

    EXPECT_EQ("0", service.Request("IsSteeringEngaged", "[]"));
    EXPECT_EQ("[0, 0, 1, 0, 1]", service.Subscribe("cb_engage_status")[0].substr(17));
}

TEST(SteeringOperations, ReinitialisePutsEverySettingBack)
{
    Service fresh;
    Service service;
    const std::vector<std::pair<const char*, const char*>> settings{
        {"set_reverse_engage_enabled", "[1, 0]"},
        {"set_reverse_engage_allowed", "[1, 0]"},
        {"set_low_speed_engage_allowed", "[1, 0]"},
        {"set_low_speed_engage_timeout", "[7.5, 0]"},
        {"set_lookahead_time", "[3.5, 0]"},
        {"set_nudge", "[1, 0.5]"},
        {"SetFieldOffset", "[1, 0.5]"},
        {"SetImplementOffset", "[1, 0.5]"},
        {"SetImplementWidth", "[1, 7.5]"},
        {"set_tuning_parameter", "[1, 0.7, 0]"},
        {"SetTuningLimits", "[0, 0.1, 0.2, 0.3]"},
        {"SetVelocitySetPoint", "[4.5]"},
        {"SetCurveFilterSize", "[1, 21]"}};
    for (const auto& [name, arguments] : settings) {
        service.Notify(name, arguments);
    }

    EXPECT_EQ("1", service.Request("ReinitialiseNavigation", "[1]"));

    for (const auto& [getter, arguments] :
         std::vector<std::pair<const char*, const char*>>{{"get_reverse_engage_enabled", "[1]"},
                                                          {"get_reverse_engage_allowed", "[1]"},
                                                          {"get_low_speed_engage_allowed", "[1]"},
                                                          {"get_low_speed_engage_timeout", "[1]"},
                                                          {"get_lookahead_time", "[1]"},
                                                          {"get_nudge", "[1]"},
                                                          {"GetFieldOffset", "[1]"},
                                                          {"GetImplementOffset", "[1]"},
                                                          {"GetImplementWidth", "[1]"},
                                                          {"get_tuning_parameter", "[1]"},
                                                          {"GetTuningLimits", "[0]"},
                                                          {"GetVelocitySetPoint", "[]"},
                                                          {"GetCurveFilterSize", "[1]"}}) {
        EXPECT_EQ(fresh.Request(getter, arguments), service.Request(getter, arguments)) << getter;
    }
}

TEST(SteeringOperations, ReinitialiseLeavesTheImplementOffsetOutOfSplinesAgain)
{
    Service service;
    service.Request("set_wayline", "[3, 3, 0.0, 0.0, 0.0, 0.0, 50.0, 0.0, 0.0, 100.0, 0.0]");
    service.Notify("SetSplinesUseImplementOffset", "[1]");

    service.Request("ReinitialiseNavigation", "[1]");
    service.Request("SetImplementOffset", "[1, 0.5]");

    EXPECT_EQ(0.0, service.World().LineShift());
}

TEST(SteeringOperations, RefuseToEngageWithoutAFreshPosition)
{
    Service service;
    service.NavigateNorth();
    const std::string sample =
        "1=50;2=10;3=0;4=0;5=2;6=0;7=0;8=0;9=0;10=0;11=0;12=0.01;13=0.01;14=0.01;15=1;16=4;17=12;"
        "18=1;19=0;20=1;21=0";
    service.Notify("SetPositionData", "['" + sample + "']");
    EXPECT_EQ("1", service.Request("EngageSteering", "[1]")) << service.Log();
    service.Request("DisengageSteering", "[1]");

    service.Advance(1.2);

    EXPECT_EQ("0", service.Request("EngageSteering", "[1]"));
    EXPECT_EQ("EngageSteering refused: no fresh position has come for 1 s\n", service.Log());
}

TEST(SteeringOperations, ChangeWhatIsKeptOnTheLine)
{
    Service service;
    EXPECT_EQ("'machine'", service.Request("simulator_guide", "[]"));
    EXPECT_EQ("1", service.Request("simulator_set_guide", "['implement']"));
    EXPECT_EQ("'implement'", service.Request("simulator_guide", "[]"));

    EXPECT_EQ("0", service.Request("simulator_set_guide", "['both']"));
    EXPECT_EQ("'implement'", service.Request("simulator_guide", "[]"));
    EXPECT_NE(
        std::string::npos,
        service.Request("why_refused", "['simulator_set_guide']").find("allowed is implement"));

    EXPECT_EQ("1", service.Request("ReinitialiseNavigation", "[1]"));
    EXPECT_EQ("'machine'", service.Request("simulator_guide", "[]"));
}

} // namespace
