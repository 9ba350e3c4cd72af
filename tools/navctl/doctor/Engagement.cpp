#include "tools/navctl/doctor/Engagement.h"

#include <cmath>
#include <memory>
#include <optional>

#include "tools/navctl/NumberText.h"
#include "tools/navctl/doctor/LinkFinding.h"
#include "tools/navctl/doctor/Observation.h"
#include "tools/navctl/files/Angle.h"
#include "tools/navctl/operations/Refusal.h"

namespace {

// The conditions of the bundled service, where the service does not give its own.
constexpr double kLeastSpeed = 0.3;
constexpr double kGreatestHeadingError = kPi / 3.0;

const char* const kPositions = "positions";

/// An obstacle by words that stand in the service's text, and what to do about it.
struct CRemedy
{
    const char* words;
    const char* subject;
    const char* nextStep;
};

const CRemedy kRemedies[] = {
    {"navigation is not active", "navigation", "navctl start-navigation on"},
    {"fresh position", kPositions, "feed positions without a gap, for example: navctl feed FILE"},
    {"from the line,", "distance",
     "drive onto the line; or follow the pass nearest to the machine: navctl start-navigation on; "
     "or "
     "bring the line under the machine: navctl auto-set-nudge"},
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
        if (text.find(remedy.words) != std::string::npos) {
            return {remedy.subject, text, remedy.nextStep, kExitRefused};
        }
    }
    return {"engaging", text, "see the documents of the service", kExitRefused};
}

/// Positions may be missing because the service refuses those that come: then a feed is running,
/// and its values are to be mended.
CFinding WithRefusedPosition(CNavigationAPI& navigation, const CFinding& finding)
{
    if (finding.subject != kPositions) {
        return finding;
    }
    const std::string reason =
        WhyRefused(navigation, FindOperation("set-position-data").serviceName);
    if (reason.empty()) {
        return finding;
    }
    return {finding.subject, "the service refused the last position that came: " + reason,
            "feed positions that it takes: wait for the receiver's fix, or mend what is fed",
            finding.code};
}

/// Whether the link has failed, and the service has not just refused to say.
bool IsLinkProblem(const LinkErrorC& error)
{
    return error.code != ELinkError::None && error.code != ELinkError::ServiceError &&
           error.code != ELinkError::NoValue;
}

/// Asks one of the getters.
///
/// @return nothing for a service that does not say.
/// @throws LinkErrorC when the link fails.
template <typename Result>
std::optional<Result> Ask(CNavigationAPI& navigation, Result (CNavigationAPI::*getter)())
{
    const Result result = (navigation.*getter)();
    const LinkErrorC error = navigation.LastError();
    if (IsLinkProblem(error)) {
        throw error;
    }
    return error.code == ELinkError::None ? std::optional(result) : std::nullopt;
}

/// The service's own reasons; nothing from a service that does not know the request.
///
/// @throws LinkErrorC when the link fails.
std::optional<std::vector<std::string>> AskWhyNotEngaged(CNavigationAPI& navigation)
{
    const std::unique_ptr<BElementC> reply(navigation.CallMethod("why_not_engaged", nullptr));
    if (IsLinkProblem(navigation.LastError())) {
        throw navigation.LastError();
    }
    const auto* const list = dynamic_cast<const BListC*>(reply.get());
    if (list == nullptr) {
        return std::nullopt;
    }
    std::vector<std::string> reasons;
    for (int place = 0; place < list->Size(); ++place) {
        const BElementC* const reason = list->GetElement(place);
        const bool isText = reason != nullptr && reason->Type() == EBElementType::String;
        if (isText && !list->GetString(place).empty()) {
            reasons.push_back(list->GetString(place));
        }
    }
    if (reasons.empty() && list->Size() > 0) {
        reasons.push_back("the service has reasons, but none in words");
    }
    return reasons;
}

void AddPlaceReasons(const CObservation& seen, std::optional<double> width,
                     std::vector<std::string>& reasons)
{
    if (width && seen.crossTrackError && std::abs(*seen.crossTrackError) > *width / 2.0) {
        reasons.push_back("the machine is " + Fixed(std::abs(*seen.crossTrackError), 2) +
                          " m from the line, more than half the implement width of " +
                          Fixed(*width, 2) + " m");
    }
    if (seen.headingError && std::abs(*seen.headingError) > kGreatestHeadingError) {
        reasons.push_back("the machine's heading is " +
                          Fixed(Degrees(std::abs(*seen.headingError)), 0) +
                          " degrees from the line's");
    }
}

void AddMovementReasons(CNavigationAPI& navigation, const CObservation& seen,
                        std::vector<std::string>& reasons)
{
    // What the service does not report stands in nobody's way.
    if (seen.isReversing.value_or(false)) {
        if (!Ask(navigation, &CNavigationAPI::GetReverseEngageEnabled).value_or(true)) {
            reasons.push_back("the machine moves backwards and engaging in reverse is not enabled");
        }
        if (!Ask(navigation, &CNavigationAPI::GetAllowReverseEngage).value_or(true)) {
            reasons.push_back("the machine moves backwards and engaging in reverse is not allowed");
        }
    }
    if (seen.speed && *seen.speed < kLeastSpeed &&
        !Ask(navigation, &CNavigationAPI::GetLowSpeedEngageEnabled).value_or(true)) {
        reasons.push_back("the machine moves at " + Fixed(*seen.speed, 2) + " m/s, slower than " +
                          Fixed(kLeastSpeed, 2) + " m/s, and engaging at low speed is not allowed");
    }
}

std::vector<std::string> LookForReasons(CContext& context)
{
    CNavigationAPI& navigation = context.Navigation();
    const CObservation seen = Observe(navigation, context.options.timeoutSeconds);
    std::vector<std::string> reasons;
    if (seen.isPossible.value_or(false)) {
        return reasons;
    }
    AddPlaceReasons(seen, Ask(navigation, &CNavigationAPI::GetImplementWidth), reasons);
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
    Findings findings;
    try {
        const auto told = AskWhyNotEngaged(context.Navigation());
        for (const std::string& reason : told ? *told : LookForReasons(context)) {
            findings.push_back(WithRefusedPosition(context.Navigation(), Obstacle(reason)));
        }
    } catch (const LinkErrorC& error) {
        findings.push_back(LinkFinding(error));
    }
    return findings;
}
