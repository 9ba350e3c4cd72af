#include "testing/DrivingService.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/NavigationAPI.h"
#include "api/Subscription.h"

using Kestrove::Testing::CDrivingOptions;
using Kestrove::Testing::CDrivingService;
using Kestrove::Testing::CTrueState;
using Kestrove::Testing::EDrivingGround;
using Kestrove::Testing::EDrivingReceiver;

namespace {

constexpr double kStartEast = 1.0;

/// Starts a metre beside a line to the north, at 2 m/s.
CDrivingOptions Driving()
{
    CDrivingOptions options;
    options.speed = 2.0;
    options.x = kStartEast;
    return options;
}

/// Sets a line to the north and engages.
void Engage(CNavigationAPI& navigation)
{
    ASSERT_TRUE(navigation.SetWayline(
        Kestrove::WaylinePtr(new Kestrove::CABWayline({0.0, 0.0, 0.0}, {0.0, 100.0, 0.0}))));
    ASSERT_EQ(1, navigation.StartNavigation(true));
    ASSERT_EQ(1, navigation.EngageSteering());
}

TEST(DrivingService, StandsUntilItIsAdvanced)
{
    CDrivingService service(Driving());
    CNavigationAPI navigation;
    EXPECT_TRUE(navigation.IsLinkUp());
    EXPECT_EQ(0.0, service.Time());
    EXPECT_EQ(kStartEast, service.State().x);
    EXPECT_DOUBLE_EQ(1.5, service.Advance(1.5));
    EXPECT_NEAR(3.0, service.State().y, 0.01);
}

TEST(DrivingService, SteersTheMachineToTheLine)
{
    CDrivingService service(Driving());
    CNavigationAPI navigation;
    Engage(navigation);
    EXPECT_NEAR(kStartEast, service.State().crossTrackError, 0.01);
    service.Advance(30.0);
    const CTrueState state = service.State();
    EXPECT_TRUE(state.isEngaged);
    EXPECT_TRUE(state.isNavigationActive);
    EXPECT_LT(std::abs(state.crossTrackError), 0.05);
}

TEST(DrivingService, HasTheEventsOfAnAdvanceThereWhenItReturns)
{
    CDrivingService service(Driving());
    for (int round = 0; round < 20; ++round) {
        // Connected and subscribed in this moment, and not yet looked at by the service.
        CNavigationAPI navigation;
        int count = 0;
        const Kestrove::Subscription positions = Kestrove::OnRelativePosition(
            navigation, [&count](const Core::Maths::Vector2<double>&, double) { ++count; });
        service.Advance(6.0);
        navigation.CheckCallbacks();
        EXPECT_EQ(61, count) << round; // the first says where it was
    }
}

TEST(DrivingService, CountsWhatWasSentBeforeAnAdvance)
{
    CDrivingService service(Driving());
    CNavigationAPI navigation;
    for (const double speed : {3.0, 1.0, 4.0, 2.0}) {
        navigation.SetVelocitySetPoint(static_cast<float>(speed)); // that nothing answers
        service.Advance(5.0);
        EXPECT_NEAR(speed, service.State().speed, 1e-6);
    }
}

TEST(DrivingService, IsTheSameEachTime)
{
    const auto drive = [] {
        CDrivingOptions options = Driving();
        options.ground = EDrivingGround::Field;
        options.backlash = 0.005;
        options.seed = 7;
        CDrivingService service(options);
        CNavigationAPI navigation;
        Engage(navigation);
        service.Advance(60.0);
        return service.State();
    };
    const CTrueState first = drive();
    const CTrueState second = drive();
    EXPECT_EQ(first.x, second.x);
    EXPECT_EQ(first.y, second.y);
    EXPECT_EQ(first.heading, second.heading);
    EXPECT_NE(0.0, first.crossTrackError);
}

TEST(DrivingService, StartsAsItIsToldTo)
{
    CDrivingOptions options;
    options.x = 5.0;
    options.y = -3.0;
    options.heading = 1.0;
    options.receiver = EDrivingReceiver::Ideal;
    CDrivingService service(options);
    const CTrueState state = service.State();
    EXPECT_EQ(5.0, state.x);
    EXPECT_EQ(-3.0, state.y);
    EXPECT_EQ(1.0, state.heading);
    EXPECT_EQ(0.0, state.speed);
    EXPECT_FALSE(state.isEngaged);
}

TEST(DrivingService, AdvancesUntilSomethingHolds)
{
    CDrivingService service(Driving());
    EXPECT_TRUE(service.AdvanceUntil([&] { return service.State().y > 20.0; }, 60.0));
    EXPECT_NEAR(10.1, service.Time(), 0.11);
    EXPECT_FALSE(service.AdvanceUntil([] { return false; }, 3.0));
    EXPECT_NEAR(13.1, service.Time(), 0.21);
    EXPECT_TRUE(service.AdvanceUntil([] { return true; }, 0.0));
}

TEST(DrivingService, RefusesWhatIsNotAWholeNumberOfStepsOrTooLong)
{
    CDrivingService service;
    for (const double seconds :
         {0.03, -0.02, 60.02, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(service.Advance(seconds), std::invalid_argument) << seconds;
    }
    EXPECT_EQ(0.0, service.Time());
}

TEST(DrivingService, ReportsWhyItDroppedSteering)
{
    CDrivingService service(Driving());
    CNavigationAPI navigation;
    Engage(navigation);
    service.Advance(30.0);
    navigation.SetVelocitySetPoint(0.0F);
    EXPECT_TRUE(service.AdvanceUntil([&] { return !service.State().isEngaged; }, 30.0));
    EXPECT_NE("", service.State().dropReason);
    EXPECT_THAT(service.Log(), testing::Contains(testing::HasSubstr("steering dropped")));
}

TEST(DrivingService, CannotBeThereTwice)
{
    CDrivingService service;
    EXPECT_THROW(CDrivingService(), std::runtime_error);
}

TEST(DrivingService, EndsWithClientsAndWithout)
{
    CNavigationAPI navigation;
    for (int round = 0; round < 5; ++round) {
        CDrivingService service(Driving());
        EXPECT_EQ(0, navigation.StartNavigation(true));
        service.Advance(1.0);
    }
    EXPECT_EQ(-1, navigation.StartNavigation(true));
}

} // namespace
