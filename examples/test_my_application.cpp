// How an application tests what it does with the navigation service: with a scripted service in the
// same process, or with one that drives, and no other program. Links Kestrove::NavigationTesting
// and GoogleTest.

#include <algorithm>
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include <api/Subscription.h>
#include <testing/DrivingService.h>
#include <testing/ScriptedService.h>

namespace {

// A piece of an application.

/// Shows the driver how far the machine is off the line.
class CrossTrackDisplay
{
public:
    explicit CrossTrackDisplay(CNavigationAPI& navigation)
        : m_errors(
              Kestrove::OnGuidanceStatus(navigation, [this](int, double crossTrackError, double,
                                                            double) { Show(crossTrackError); }))
    {
    }
    const std::string& Text() const { return m_text; }

private:
    void Show(double error)
    {
        const int centimetres = static_cast<int>(error * 100);
        m_text = std::to_string(centimetres) + " cm";
    }

    std::string m_text = "no signal";
    Kestrove::Subscription m_errors; // ends with the display
};

/// Moves the line by `offset` metres and begins to steer along it.
std::string Start(CNavigationAPI& navigation, double offset)
{
    if (navigation.SetFieldOffset(offset) != 1) {
        return "The service is not there.";
    }
    const bool followNearestPass = true;
    const bool isStarted =
        navigation.StartNavigation(followNearestPass) == 1 && navigation.EngageSteering() == 1;
    return isStarted ? "Steering." : "Drive closer to the line.";
}

/// Reports to the driver that the service has dropped steering.
class DropAlarm
{
public:
    explicit DropAlarm(CNavigationAPI& navigation)
        : m_states(Kestrove::OnEngageStatus(
              navigation, [this](bool, bool, bool, bool, bool isDropped) { m_isOn = isDropped; }))
    {
    }
    bool IsOn() const { return m_isOn; }

private:
    bool m_isOn = false;
    Kestrove::Subscription m_states;
};

} // namespace

using Kestrove::Testing::CAnswer;
using Kestrove::Testing::CDrivingOptions;
using Kestrove::Testing::CDrivingService;
using Kestrove::Testing::CScriptedService;
using Kestrove::Testing::EListen;

TEST(MyApplication, StartsSteeringWithTheOffset)
{
    CScriptedService service; // listens from here on
    service.Expect("SetFieldOffset", "[int 1, double 2.5]", 1);
    service.Expect("StartNavigation", "[int 1, int 1]", 1);
    service.Expect("EngageSteering", "[int 1]", 1);
    CNavigationAPI navigation;
    EXPECT_EQ("Steering.", Start(navigation, 2.5));
    EXPECT_EQ("", service.Problems()); // every expected call came, and no other
}

TEST(MyApplication, TellsTheDriverWhyItDoesNotSteer)
{
    CScriptedService service;
    service.Answer("SetFieldOffset", 1);
    service.Answer("StartNavigation", 1);
    service.Answer("EngageSteering", 0);
    CNavigationAPI navigation;
    EXPECT_EQ("Drive closer to the line.", Start(navigation, 0.0));
    service.Answer("EngageSteering", CAnswer::Error("no wayline"));
    EXPECT_EQ("Drive closer to the line.", Start(navigation, 0.0));
    EXPECT_EQ("no wayline", navigation.LastError().text);
}

TEST(MyApplication, SurvivesARestartOfTheService)
{
    CScriptedService service(EListen::Not);
    service.Answer("SetFieldOffset", 1);
    service.Answer("StartNavigation", 1);
    service.Answer("EngageSteering", CAnswer::DropLink());
    CNavigationAPI navigation;
    EXPECT_EQ("The service is not there.", Start(navigation, 0.0));
    service.Listen(EListen::Both);
    EXPECT_EQ("Drive closer to the line.", Start(navigation, 0.0)); // lost while engaging
    service.Answer("EngageSteering", 1);
    EXPECT_EQ("Steering.", Start(navigation, 0.0));
}

TEST(MyApplication, ShowsTheCrossTrackErrorAsItComes)
{
    CScriptedService service;
    CNavigationAPI navigation;
    CrossTrackDisplay display(navigation);
    EXPECT_EQ("no signal", display.Text());
    ASSERT_TRUE(service.WaitForSubscriptions("cb_guidance_status", 1));
    service.Push("cb_guidance_status", {0, -0.25, 0.0, 0.0});
    EXPECT_TRUE(navigation.ProcessMessages(true)); // waits for the event
    EXPECT_EQ("-25 cm", display.Text());
}

TEST(MyApplication, KeepsToTheLineAndReportsTheDrop)
{
    CDrivingOptions options;
    options.x = 0.5; // beside the line
    options.speed = 2.5;
    CDrivingService service(options); // whose time this test moves on
    CNavigationAPI navigation;
    const DropAlarm alarm(navigation);
    navigation.SetWayline(Kestrove::WaylinePtr(new Kestrove::CABWayline({0, 0, 0}, {0, 100, 0})));
    EXPECT_EQ("Steering.", Start(navigation, 0.0));
    service.Advance(20.0); // to the line
    const double begin = service.State().y;
    double worst = 0.0;
    EXPECT_TRUE(service.AdvanceUntil(
        [&] {
            worst = std::max(worst, std::abs(service.State().crossTrackError));
            return service.State().y > begin + 200.0;
        },
        120.0));
    EXPECT_LT(worst, 0.05);
    navigation.CheckCallbacks();
    EXPECT_FALSE(alarm.IsOn());
    navigation.SetVelocitySetPoint(0); // too slow to steer
    EXPECT_TRUE(service.AdvanceUntil(
        [&] {
            navigation.CheckCallbacks();
            return alarm.IsOn();
        },
        60.0));
}
