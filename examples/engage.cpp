// Engages automatic steering for a moment, and prints what happened. Needs a navigation service on
// this machine, for example the simulator: navigation-simulator.

#include <iostream>

#include <api/NavigationAPI.h>

namespace {

void PrintSettings(CNavigationAPI& navigation)
{
    std::cout << "look-ahead time " << navigation.GetLookAheadTime() << " s, engaging in reverse "
              << (navigation.GetAllowReverseEngage() ? "allowed" : "not allowed")
              << ", at low speed "
              << (navigation.GetLowSpeedEngageEnabled() ? "allowed" : "not allowed") << " for "
              << navigation.GetLowSpeedEngageTimeout() << " s\n";
    if (navigation.LastError().code != ELinkError::None) {
        std::cout << "the last of these was not answered: " << navigation.LastError().text << '\n';
    }
}

bool Succeeded(const CNavigationAPI& navigation, const char* command, int answer)
{
    const LinkErrorC& error = navigation.LastError();
    std::cout << command << ": " << (answer == 1 ? "done" : "refused") << " (" << answer << ") "
              << error.text << '\n';
    return answer == 1;
}

} // namespace

int main()
{
    CNavigationAPI navigation;
    if (navigation.LastError().code != ELinkError::None) {
        std::cerr << "no service: " << navigation.LastError().text << '\n';
        return 1;
    }
    PrintSettings(navigation);
    const bool keepOverRestart = false;
    navigation.SetLookAheadTime(1.8, keepOverRestart);
    navigation.SetAllowReverseEngage(true, keepOverRestart);
    navigation.SetLowSpeedEngageEnabled(true, keepOverRestart);
    navigation.SetLowSpeedEngageTimeout(4.0, keepOverRestart);
    PrintSettings(navigation);

    // A straight line from point A to point B (metres: east, north, up).
    navigation.SetWayline(Kestrove::WaylinePtr(new Kestrove::CABWayline({0, 0, 0}, {0, 100, 0})));
    const bool followNearestPass = true;
    const bool engaged =
        Succeeded(navigation, "start navigation", navigation.StartNavigation(followNearestPass)) &&
        Succeeded(navigation, "engage steering", navigation.EngageSteering());
    std::cout << "steering is " << (navigation.IsSteeringEngaged() ? "engaged" : "off") << '\n';

    Succeeded(navigation, "disengage steering", navigation.DisengageSteering());
    Succeeded(navigation, "stop navigation", navigation.StopNavigation());
    return engaged ? 0 : 1;
}
