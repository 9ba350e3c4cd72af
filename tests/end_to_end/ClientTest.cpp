// The client library against the simulator: what an application says is what the service does.

#include "api/NavigationAPI.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/end_to_end/Program.h"

using Core::Maths::Vector2;
using Core::Maths::Vector3;
using Kestrove::WaylinePtr;

namespace {

WaylinePtr LineNorth()
{
    return WaylinePtr(new Kestrove::CABWayline({0.0, 0.0, 0.0}, {0.0, 100.0, 0.0}));
}

/// Delivers events until a condition holds; false when it does not within 20 s.
bool WaitFor(CNavigationAPI& navigation, const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        navigation.ProcessMessages(true);
    }
    return true;
}

TEST(ClientAndSimulator, AgreeOnTheEngageSettings)
{
    const Program simulator;
    CNavigationAPI navigation;

    navigation.SetReverseEngageEnabled(true, false);
    navigation.SetAllowReverseEngage(true, false);
    navigation.SetLowSpeedEngageEnabled(true, false);
    navigation.SetLowSpeedEngageTimeout(4.5, false);
    navigation.SetLookAheadTime(2.25, false);

    EXPECT_TRUE(navigation.GetReverseEngageEnabled());
    EXPECT_TRUE(navigation.GetAllowReverseEngage());
    EXPECT_TRUE(navigation.GetLowSpeedEngageEnabled());
    EXPECT_EQ(4.5, navigation.GetLowSpeedEngageTimeout());
    EXPECT_EQ(2.25, navigation.GetLookAheadTime());
    EXPECT_EQ(1, navigation.ReinitialiseNavigation());
    EXPECT_FALSE(navigation.GetLowSpeedEngageEnabled());
}

TEST(ClientAndSimulator, EngageAndDisengage)
{
    const Program simulator({"--speed", "2"});
    CNavigationAPI navigation;
    EXPECT_EQ(0, navigation.StartNavigation(true));
    EXPECT_EQ(0, navigation.EngageSteering());

    EXPECT_TRUE(navigation.SetWayline(LineNorth()));
    EXPECT_EQ(1, navigation.StartNavigation(true));
    EXPECT_TRUE(navigation.IsNavigationActivated());
    EXPECT_EQ(1, navigation.EngageSteering());
    EXPECT_TRUE(navigation.IsSteeringEngaged());
    EXPECT_EQ(1, navigation.DisengageSteering());
    EXPECT_FALSE(navigation.IsSteeringEngaged());
    EXPECT_EQ(1, navigation.StopNavigation());
    EXPECT_FALSE(navigation.IsNavigationActivated());
    EXPECT_EQ(1, navigation.ClearNavigation());
}

TEST(ClientAndSimulator, AgreeOnEveryKindOfWayline)
{
    const Program simulator;
    CNavigationAPI navigation;
    const std::vector<Vector3<double>> points{{0.0, 0.0, 1.0}, {5.0, 50.0, 1.0}, {0.0, 99.0, 1.0}};
    for (const WaylinePtr& wayline : std::vector<WaylinePtr>{
             LineNorth(), WaylinePtr(new Kestrove::CAHeadingWayline({1.0, 2.0, 3.0}, 0.5)),
             WaylinePtr(new Kestrove::CCircleWayline({0.0, 0.0, 0.0}, {20.0, 20.0, 0.0},
                                                     {40.0, 0.0, 0.0})),
             WaylinePtr(new Kestrove::CSplineWayline(points)),
             WaylinePtr(new Kestrove::CABCurveWayline(points))}) {
        EXPECT_TRUE(navigation.SetWayline(wayline));

        const WaylinePtr received = navigation.GetWayline();
        ASSERT_TRUE(received) << wayline->ToString();
        EXPECT_EQ(wayline->ToString(), received->ToString());
    }
    EXPECT_TRUE(navigation.ClearWayline());
    EXPECT_FALSE(navigation.GetWayline());
    EXPECT_FALSE(navigation.ClearWayline());
}

TEST(ClientAndSimulator, AgreeOnWaypointsAndHeadings)
{
    const Program simulator;
    CNavigationAPI navigation;

    EXPECT_TRUE(navigation.StartWayline(Kestrove::EWaylineTypeAB));
    EXPECT_TRUE(navigation.SetWaypoint(0, 0.0, 0.0, 0.0, 0.0));
    EXPECT_TRUE(navigation.IsWaypointSet(0));
    EXPECT_FALSE(navigation.IsWaypointSet(1));
    EXPECT_TRUE(navigation.SetWaypoint(1, 50.0, 0.0, 0.0, 0.0));
    const WaylinePtr wayline = navigation.GetWayline();
    ASSERT_TRUE(wayline);
    const std::vector<double> headings = navigation.CalculateHeadings({wayline, LineNorth()});
    ASSERT_EQ(2u, headings.size());
    EXPECT_NEAR(1.5707963, headings[0], 1e-6);
    EXPECT_NEAR(0.0, headings[1], 1e-6);
    EXPECT_EQ(1, navigation.RestoreWaypoints());
}

TEST(ClientAndSimulator, AgreeOnOffsets)
{
    const Program simulator;
    CNavigationAPI navigation;
    navigation.SetWayline(LineNorth());
    Vector3<double> nudge;

    EXPECT_EQ(1, navigation.Nudge(nudge, true, 0.5));
    EXPECT_NEAR(0.5, nudge.x, 1e-9);
    EXPECT_EQ(0.5, navigation.GetNudgeScalar());
    navigation.SetNudge(0.25);
    EXPECT_TRUE(navigation.GetNudgeVector(nudge));
    EXPECT_NEAR(0.25, nudge.x, 1e-9);
    EXPECT_EQ(1, navigation.AutoSetNudge(nudge));
    EXPECT_EQ(1, navigation.SetFieldOffset(-0.75));
    EXPECT_EQ(-0.75, navigation.GetFieldOffset());
    EXPECT_EQ(1, navigation.AutoSetFieldOffset());
    EXPECT_EQ(1, navigation.SetImplementOffset(0.125));
    EXPECT_EQ(0.125, navigation.GetImplementOffset());
    EXPECT_EQ(1, navigation.SetImplementWidth(6.5));
    EXPECT_EQ(0, navigation.SetImplementWidth(0.0));
    EXPECT_EQ(6.5, navigation.GetImplementWidth());
}

TEST(ClientAndSimulator, AgreeOnTuning)
{
    const Program simulator;
    CNavigationAPI navigation;
    double lowest = 0.0;
    double start = 0.0;
    double highest = 0.0;

    EXPECT_TRUE(navigation.SetTuningLimits(Kestrove::Overshoot, 0.5, 0.75, 1.5));
    EXPECT_TRUE(navigation.GetTuningLimits(Kestrove::Overshoot, lowest, start, highest));
    EXPECT_EQ(1.5, highest);
    navigation.SetOvershoot(9.0f, false);
    EXPECT_EQ(1.5f, navigation.GetOvershoot());
    navigation.SetSensitivity(0.5f, false);
    EXPECT_EQ(0.5f, navigation.GetSensitivity());
    EXPECT_TRUE(navigation.ResetIntegral());
    navigation.SetVelocitySetPoint(3.5f);
    EXPECT_EQ(3.5f, navigation.GetVelocitySetPoint());
    navigation.SetCurveFilterSize(7);
    EXPECT_EQ(7, navigation.GetCurveFilterSize());
}

TEST(ClientAndSimulator, AgreeOnFedPositions)
{
    const Program simulator;
    CNavigationAPI navigation;
    Vector2<double> place;
    navigation.SetWaylineOrigin({51.0, 7.0, 100.0});
    navigation.SetRelativePositionCallback(Core::Functors::MakeFunctor(
        [&place](const Vector2<double>& position, double) { place = position; }));

    EXPECT_EQ(0, navigation.SetPositionData(51.0001, 7.0, 100.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0,
                                            0.0, 0.01, 0.01, 0.02, true, 4, 12, true, false, 1,
                                            1700000000.0));

    EXPECT_TRUE(WaitFor(navigation, [&] { return place.y > 11.0 && place.y < 11.3; })) << place.y;
    navigation.SetRelativePositionCallback(nullptr);
}

/// Counts the calls of each callback. What it has set goes with it.
struct Callbacks
{
    explicit Callbacks(CNavigationAPI& client);
    ~Callbacks();
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;

    bool AllCalled() const
    {
        return engage > 0 && guidance > 2 && offset > 0 && wayline > 0 && width > 0 && tuning > 3 &&
               position > 2 && drawing > 0;
    }

    CNavigationAPI& navigation;
    int engage = 0;
    int guidance = 0;
    int offset = 0;
    int wayline = 0;
    int width = 0;
    int tuning = 0;
    int position = 0;
    int drawing = 0;
};

Callbacks::Callbacks(CNavigationAPI& client) : navigation(client)
{
    using Core::Functors::MakeFunctor;
    navigation.SetEngageStatusCallback(
        MakeFunctor([this](bool, bool, bool, bool, bool) { ++engage; }));
    navigation.SetGuidanceStatusCallback(
        MakeFunctor([this](int, double, double, double) { ++guidance; }));
    navigation.SetOffsetCallback(MakeFunctor([this](double) { ++offset; }));
    navigation.SetWaylineStatusCallback(
        MakeFunctor([this](bool, bool, bool, Kestrove::EWaylineType, double) { ++wayline; }));
    navigation.SetImplementWidthCallback(MakeFunctor([this](double) { ++width; }));
    navigation.SetTuningParameterChangedCallback(
        MakeFunctor([this](Kestrove::ETuningParameter, double) { ++tuning; }));
    navigation.SetRelativePositionCallback(
        MakeFunctor([this](const Vector2<double>&, double) { ++position; }));
    navigation.SetDrawPointsCallback(
        MakeFunctor([this](const std::vector<Vector2<double>>&) { ++drawing; }));
}

Callbacks::~Callbacks()
{
    navigation.SetEngageStatusCallback(nullptr);
    navigation.SetGuidanceStatusCallback(nullptr);
    navigation.SetOffsetCallback(nullptr);
    navigation.SetWaylineStatusCallback(
        static_cast<
            Core::Functors::Functor5<void, bool, bool, bool, Kestrove::EWaylineType, double>*>(
            nullptr));
    navigation.SetImplementWidthCallback(nullptr);
    navigation.SetTuningParameterChangedCallback(nullptr);
    navigation.SetRelativePositionCallback(nullptr);
    navigation.SetDrawPointsCallback(nullptr);
}

TEST(ClientAndSimulator, ReachEveryCallback)
{
    const Program simulator;
    CNavigationAPI navigation;

    const Callbacks callbacks(navigation);

    EXPECT_TRUE(WaitFor(navigation, [&] { return callbacks.AllCalled(); }));
}

TEST(ClientAndSimulator, FindEachOtherAgainAfterTheServiceWasKilled)
{
    auto simulator = std::make_unique<Program>();
    CNavigationAPI navigation;
    const Callbacks callbacks(navigation);
    EXPECT_EQ(1, navigation.SetImplementWidth(6.5));

    simulator->Kill();
    EXPECT_EQ(-1.0, navigation.GetImplementWidth());
    simulator = std::make_unique<Program>();

    EXPECT_EQ(3.0, navigation.GetImplementWidth());
    const int before = callbacks.guidance;
    EXPECT_TRUE(WaitFor(navigation, [&] { return callbacks.guidance > before + 3; }));
}

TEST(ClientAndSimulator, TellTwoClientsOfAChange)
{
    const Program simulator;
    CNavigationAPI one;
    CNavigationAPI two;
    const Callbacks ofOne(one);
    const Callbacks ofTwo(two);
    ASSERT_TRUE(WaitFor(one, [&] { return ofOne.AllCalled(); }));
    ASSERT_TRUE(WaitFor(two, [&] { return ofTwo.AllCalled(); }));
    const int widthsOfOne = ofOne.width;
    const int widthsOfTwo = ofTwo.width;

    EXPECT_EQ(1, one.SetImplementWidth(6.5));

    EXPECT_TRUE(WaitFor(one, [&] { return ofOne.width > widthsOfOne; }));
    EXPECT_TRUE(WaitFor(two, [&] { return ofTwo.width > widthsOfTwo; }));
}

} // namespace
