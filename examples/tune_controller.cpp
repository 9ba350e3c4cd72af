// Shows the tuning parameters of the steering controller, or sets one of them. Needs a navigation
// service on this machine, for example: navigation-simulator.
//
// usage: tune_controller [NAME VALUE]
//   NAME   sensitivity, aggressiveness, overshoot or speed-adjust
//   VALUE  its new value, kept until the service ends
// Exits with 1 when the service does not answer or does not take the value, with 2 for wrong
// arguments.

#include <charconv>
#include <cmath>
#include <cstring>
#include <iostream>

#include <api/NavigationAPI.h>

namespace {

struct SParameter
{
    Kestrove::ETuningParameter code;
    const char* name;
};

constexpr SParameter kParameters[] = {{Kestrove::Sensitivity, "sensitivity"},
                                      {Kestrove::Aggressiveness, "aggressiveness"},
                                      {Kestrove::Overshoot, "overshoot"},
                                      {Kestrove::SpeedAdjust, "speed-adjust"}};

int Fail(const CNavigationAPI& navigation)
{
    std::cerr << "tune_controller: " << navigation.LastError().text << '\n';
    return 1;
}

int ShowAll(CNavigationAPI& navigation)
{
    for (const SParameter& parameter : kParameters) {
        double lowest = 0.0;
        double start = 0.0;
        double highest = 0.0;
        if (!navigation.GetTuningLimits(parameter.code, lowest, start, highest)) {
            return Fail(navigation);
        }
        std::cout << parameter.name << ' ' << navigation.GetTuningParameter(parameter.code)
                  << " (from " << lowest << " to " << highest << ", at first " << start << ")\n";
    }
    return 0;
}

int Set(CNavigationAPI& navigation, const SParameter& parameter, float value)
{
    const bool keepOverRestart = false;
    navigation.SetTuningParameter(parameter.code, value, keepOverRestart);
    // What the integral term has gathered belongs to the old gains.
    navigation.ResetIntegral();
    // Nothing reports what became of a notification, so the value is asked for. 0.0 may be a value
    // as well as a failure: the error shows which.
    const float taken = navigation.GetTuningParameter(parameter.code);
    if (navigation.LastError().code != ELinkError::None) {
        return Fail(navigation);
    }
    std::cout << parameter.name << ' ' << taken << '\n';
    return std::abs(taken - value) < 1e-6F ? 0 : 1;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 1) {
        CNavigationAPI navigation;
        return ShowAll(navigation);
    }
    float value = 0.0F;
    for (const SParameter& parameter : kParameters) {
        if (argumentCount == 3 && std::strcmp(arguments[1], parameter.name) == 0) {
            const char* const end = arguments[2] + std::strlen(arguments[2]);
            if (std::from_chars(arguments[2], end, value).ptr == end) {
                CNavigationAPI navigation;
                return Set(navigation, parameter, value);
            }
        }
    }
    std::cerr
        << "usage: tune_controller [sensitivity|aggressiveness|overshoot|speed-adjust VALUE]\n";
    return 2;
}
