#include "tools/navctl/doctor/Engagement.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "tools/navctl/doctor/Observation.h"

namespace {

// The conditions of the bundled service, where the service does not tell its own.
constexpr double kLeastSpeed = 0.3;
constexpr double kGreatestHeadingError = M_PI / 3.0;
constexpr double kDegreesARadian = 180.0 / M_PI;

/// An obstacle by words that stand in the service's text, and what to do about it.
struct CRemedy
{
    const char* words;
    const char* subject;
    const char* nextStep;
};

constexpr CRemedy kRemedies[] = {
    {"navigation is not active", "navigation", "navctl start-navigation on"},
    {"fresh position", "positions", "feed positions without a gap, for example: navctl feed FILE"},
    {"from the line,", "distance",
     "drive onto a pass, or bring the line under the machine: navctl auto-set-nudge"},
    {"heading is", "heading", "turn the machine into the direction of the line"},
    {"inside of the bend", "bend", "drive on a pass further out of the bend"},
    {"reverse is not enabled", "reverse",
     "drive forwards, or: navctl set-reverse-engage-enabled on"},
    {"reverse is not allowed", "reverse", "drive forwards, or: navctl set-allow-reverse-engage on"},
    {"slower than", "speed", "drive faster, or: navctl set-low-speed-engage-enabled on"},
};

CFinding Obstacle(const std::string& text)
{
    for (const CRemedy& remedy : kRemedies) {
        if (text.find(remedy.words) != std::string::npos)
            return {remedy.subject, text, remedy.nextStep, kExitRefused};
    }
    return {"engaging", text, "see the documents of the service", kExitRefused};
}

template <typename... Values>
std::string Format(const char* form, Values... values)
{
    char text[200];
    std::snprintf(text, sizeof text, form, values...);
    return text;
}

/// The service's own reasons; nothing from a service that does not know the request.
std::optional<std::vector<std::string>> AskWhyNotEngaged(CNavigationAPI& navigation)
{
    const std::unique_ptr<BElementC> reply(navigation.CallMethod("why_not_engaged", nullptr));
    const auto* const list = dynamic_cast<const BListC*>(reply.get());
    if (list == nullptr)
        return std::nullopt;
    std::vector<std::string> reasons;
    reasons.reserve(static_cast<std::size_t>(list->Size()));
    for (int place = 0; place < list->Size(); ++place)
        reasons.push_back(list->GetString(place));
    return reasons;
}

void AddPlaceReasons(const CObservation& seen, double width, std::vector<std::string>& reasons)
{
    if (seen.crossTrackError && std::abs(*seen.crossTrackError) > width / 2.0) {
        reasons.push_back(
            Format("the machine is %.2f m from the line, more than half the implement "
                   "width of %.2f m",
                   std::abs(*seen.crossTrackError), width));
    }
    if (seen.headingError && std::abs(*seen.headingError) > kGreatestHeadingError) {
        reasons.push_back(Format("the machine's heading is %.0f degrees from the line's",
                                 std::abs(*seen.headingError) * kDegreesARadian));
    }
}

void AddMovementReasons(CNavigationAPI& navigation, const CObservation& seen,
                        std::vector<std::string>& reasons)
{
    if (seen.isReversing.value_or(false)) {
        if (!navigation.GetReverseEngageEnabled())
            reasons.push_back("the machine moves backwards and engaging in reverse is not enabled");
        if (!navigation.GetAllowReverseEngage())
            reasons.push_back("the machine moves backwards and engaging in reverse is not allowed");
    }
    if (seen.speed && *seen.speed < kLeastSpeed && !navigation.GetLowSpeedEngageEnabled()) {
        reasons.push_back(
            Format("the machine moves at %.2f m/s, slower than %.2f m/s, and engaging at low speed "
                   "is not allowed",
                   *seen.speed, kLeastSpeed));
    }
}

std::vector<std::string> LookForReasons(CContext& context)
{
    CNavigationAPI& navigation = context.Navigation();
    const CObservation seen = Observe(navigation, context.options.timeoutSeconds);
    std::vector<std::string> reasons;
    if (seen.isPossible.value_or(false))
        return reasons;
    AddPlaceReasons(seen, navigation.GetImplementWidth(), reasons);
    AddMovementReasons(navigation, seen, reasons);
    if (reasons.empty()) {
        reasons.push_back(seen.isPossible
                              ? "the service would not engage now and does not tell why"
                              : "the service does not tell whether steering could be engaged");
    }
    return reasons;
}

} // namespace

Findings FindEngageObstacles(CContext& context)
{
    const auto told = AskWhyNotEngaged(context.Navigation());
    Findings findings;
    for (const std::string& reason : told ? *told : LookForReasons(context))
        findings.push_back(Obstacle(reason));
    return findings;
}
