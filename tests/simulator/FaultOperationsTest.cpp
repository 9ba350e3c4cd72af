#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "simulator/machine/ReceiverReport.h"
#include "simulator/world/Faults.h"
#include "tests/simulator/Service.h"

namespace {

bool Mentions(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(SimulatorFault, LastsAsLongAsItIsToldTo)
{
    Service service;
    ASSERT_EQ("1", service.Request("simulator_fault", "['gnss-outage', 'on', 2.0]"));
    for (int step = 0; step < 100; ++step) {
        service.Advance(0.02);
        EXPECT_TRUE(service.World().Conditions().reception.isCovered) << step;
    }
    service.Advance(0.02);
    EXPECT_FALSE(service.World().Conditions().reception.isCovered);
    service.Advance(0.1);
    EXPECT_NE(EFix::None, service.World().Reported().fix);
}

TEST(SimulatorFault, LastsUntilItIsEndedWithoutATime)
{
    Service service;
    service.Request("simulator_fault", "['slope', 8, 0]");
    service.Advance(600.0);
    EXPECT_NEAR(8.0, Degrees(service.World().Lean().roll), 1e-9);
    EXPECT_EQ("1", service.Request("simulator_fault", "['slope', 'off', 0]"));
    EXPECT_EQ(0.0, service.World().Lean().roll);
}

TEST(SimulatorFault, LeavesOthersAsTheyAreWhenItEnds)
{
    SimulationOptions world = IdealWorld(2.0);
    world.conditions.valve.deadband = Radians(0.25);
    Service service(world);
    service.Request("simulator_fault", "['steering-deadband', 1.5, 1.0]");
    service.Request("simulator_fault", "['steering-rate-left', 5.0, 3.0]");
    EXPECT_DOUBLE_EQ(Radians(1.5), service.World().Conditions().valve.deadband);
    service.Advance(2.0);
    EXPECT_DOUBLE_EQ(Radians(0.25), service.World().Conditions().valve.deadband);
    EXPECT_DOUBLE_EQ(Radians(5.0), service.World().Conditions().valve.rateLeft);
    service.Advance(2.0);
    EXPECT_EQ(kSteeringRateLimit, service.World().Conditions().valve.rateLeft);
}

TEST(SimulatorFault, TakesThePlaceOfTheSameOne)
{
    Service service;
    service.Request("simulator_fault", "['receiver', 'single', 1.0]");
    service.Request("simulator_fault", "['receiver', 'float', 3.0]");
    service.Advance(2.0);
    EXPECT_EQ(EFix::Float, service.World().Reported().fix);
    service.Advance(2.0);
    EXPECT_EQ(EFix::Fixed, service.World().Reported().fix);
}

TEST(SimulatorFault, EveryKindChangesTheWorldAndEndsWithIt)
{
    for (const FaultKind& kind : FaultKinds()) {
        Service service;
        const std::string value =
            kind.words.empty() ? std::to_string(kind.highest) : "'" + kind.words.back() + "'";
        const std::string name = kind.name;
        const auto conditions = [&service] {
            const WorldConditions& now = service.World().Conditions();
            return std::vector<double>{
                now.reception.isCovered ? 1.0 : 0.0,
                now.reception.hasCorrections ? 1.0 : 0.0,
                static_cast<double>(now.reception.bestFix.value_or(EFix::Fixed)),
                now.reception.multipath,
                now.slope.value_or(-99.0),
                now.valve.deadband,
                now.valve.rateLeft,
                now.valve.rateRight,
                now.manualHeading.value_or(-99.0),
                now.manualCurvature.value_or(-99.0)};
        };
        const std::vector<double> before = conditions();
        EXPECT_EQ("1", service.Request("simulator_fault", "['" + name + "', " + value + ", 1.0]"));
        EXPECT_NE(before, conditions()) << name;
        service.Advance(1.1);
        EXPECT_EQ(before, conditions()) << name;
    }
}

TEST(SimulatorFault, RefusesWhatItDoesNotKnowAndNamesWhatIsAllowed)
{
    const struct
    {
        const char* arguments;
        const char* said;
    } rows[] = {
        {"['earthquake', 1.0, 1.0]",
         "there is no fault \"earthquake\", allowed is corrections-lost"},
        {"['slope', 31, 1.0]", "31 is not allowed for slope, allowed is -30 to 30 degrees, off"},
        {"['slope', nan, 1.0]", "nan is not allowed for slope"},
        {"['slope', 'steep', 1.0]", "\"steep\" is not allowed for slope"},
        {"['receiver', 'good', 1.0]", "allowed is fixed, float, none, single, off"},
        {"['receiver', 1.0, 1.0]", "1 is not allowed for receiver"},
        {"['gnss-outage', 3.0, 1.0]", "3 is not allowed for gnss-outage, allowed is on, off"},
        {"['gnss-outage', 'on', -1.0]", "-1 s is not a time for a fault"},
        {"['gnss-outage', 'on', nan]", "nan s is not a time for a fault"},
        {"['gnss-outage', 'on', 86401]",
         "86401 s is not a time for a fault, allowed is 0 to 86400"},
    };
    for (const auto& row : rows) {
        Service service;
        const std::string reply = service.Request("simulator_fault", row.arguments);
        EXPECT_EQ(0u, reply.find("error: simulator_fault")) << reply;
        EXPECT_TRUE(Mentions(reply, row.said)) << reply;
        EXPECT_EQ(0.0, service.World().Lean().roll);
        EXPECT_FALSE(service.World().Conditions().reception.isCovered);
    }
}

TEST(SimulatorFaults, ListAllWithTheirRangesAndWhatGoesOn)
{
    Service service;
    service.Advance(1.0);
    service.Request("simulator_fault", "['slope', 8, 10]");
    service.Request("simulator_fault", "['receiver', 'float', 0]");
    const std::string listed = service.Request("simulator_faults", "[]");
    EXPECT_TRUE(Mentions(listed,
                         "['slope', 'the ground falls to the east', 'degrees', -30.0, 30.0, "
                         "[], 8.0, 11.0]"))
        << listed;
    EXPECT_TRUE(Mentions(listed, "['receiver', 'the best fix that there is', '', 0.0, 0.0, "
                                 "['fixed', 'float', 'none', 'single'], 'float', 0.0]"))
        << listed;
    EXPECT_TRUE(Mentions(listed,
                         "['multipath', 'positions jump as near trees', 'm', 0.0, 10.0, [], "
                         "'off', 0.0]"))
        << listed;
}

TEST(SimulatorFault, LosesTheFixAsTheCorrectionAges)
{
    Service service;
    service.Request("simulator_fault", "['corrections-lost', 'on', 40.0]");
    service.Advance(18.0);
    EXPECT_EQ(EFix::Fixed, service.World().Reported().fix);
    service.Advance(2.0);
    EXPECT_EQ(EFix::Float, service.World().Reported().fix);
    EXPECT_NEAR(21.0, service.World().Reported().correctionAge, 0.2);
    service.Advance(30.0);
    EXPECT_EQ(EFix::Fixed, service.World().Reported().fix);
    EXPECT_EQ(1.0, service.World().Reported().correctionAge);
}

} // namespace
