#ifndef KESTROVE_SIMULATOR_HTTP_HISTORYSAMPLE_H
#define KESTROVE_SIMULATOR_HTTP_HISTORYSAMPLE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "simulator/machine/Pose.h"
#include "simulator/machine/ReceiverReport.h"

/// What was at a moment, as far as the page shows it later.
struct HistorySample
{
    /// How many bytes a sample takes.
    static constexpr std::size_t kBytes = 56;

    double time = 0.0; ///< simulated seconds
    Pose pose;
    Point implement; ///< its middle
    double implementHeading = 0.0;
    double speed = 0.0;
    double speedSetPoint = 0.0;
    double steeringAngle = 0.0;
    double desiredSteeringAngle = 0.0;
    std::optional<double> crossTrackError; ///< nothing without a line
    std::optional<double> implementError;
    double headingError = 0.0;
    int pass = 0;
    double nudge = 0.0;
    std::optional<Point> aim;
    int engageState = 0; ///< EEngageState
    bool isNavigating = false;
    bool isReverse = false;
    bool isFed = false;
    bool drivesAgainst = false;
    bool takesNearestPass = false;
    bool guidesImplement = false;
    EFix fix = EFix::Fixed;
    double correctionAge = 0.0;
    std::uint32_t faults = 0; ///< a bit each, in the order of FaultKinds()
};

/// The bytes of a sample, as docs/live-page.md has them. What is beyond the range of its place is
/// the end of that range, and what is not a number is 0.
std::string BytesOf(const HistorySample& sample);

#endif
