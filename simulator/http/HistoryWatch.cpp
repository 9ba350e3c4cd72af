#include "simulator/http/HistoryWatch.h"

#include <cmath>
#include <cstdio>
#include <utility>
#include <variant>

#include "simulator/http/LineDrawing.h"

namespace {

/// Which of the faults go on.
std::uint32_t FaultBits(const CFaults& faults)
{
    std::uint32_t bits = 0;
    std::uint32_t bit = 1;
    for (const FaultKind& kind : FaultKinds()) {
        bits |= faults.Now().count(kind.name) != 0 ? bit : 0U;
        bit <<= 1U;
    }
    return bits;
}

HistorySample SampleOf(const CServiceCore& core)
{
    const CSimulation& world = core.World();
    const GuidanceStatus status = world.Status();
    const ReceiverReport report = world.Reported();
    HistorySample sample;
    sample.time = world.Time();
    sample.pose = world.EstimatedPose();
    sample.implement = world.ImplementPoint();
    sample.implementHeading = world.ImplementHeading();
    sample.speed = world.Speed();
    sample.speedSetPoint = world.SpeedSetPoint();
    sample.steeringAngle = world.SteeringAngle();
    sample.desiredSteeringAngle = world.SteeringCommand();
    sample.aim = world.AimPoint();
    if (sample.aim) {
        sample.crossTrackError = status.crossTrackError;
        sample.implementError = world.ImplementCrossTrackError();
    }
    sample.headingError = status.headingError;
    sample.pass = status.pass;
    sample.nudge = world.Nudge();
    sample.engageState = static_cast<int>(EngageStateOf(world));
    sample.isNavigating = world.NavigationActive();
    sample.isReverse = world.MovingInReverse();
    sample.isFed = world.FedMode();
    sample.drivesAgainst = world.FacesAgainst();
    sample.takesNearestPass = world.TakesNearestPass();
    sample.guidesImplement = world.Guide() == EGuide::Implement;
    sample.fix = report.fix;
    sample.correctionAge = report.correctionAge;
    sample.faults = FaultBits(core.Faults());
    return sample;
}

/// A number as people write it.
std::string Written(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

std::string CentimetresTo(double metres, const char* one, const char* other)
{
    const double centimetres = std::round(metres * 1000.0) / 10.0;
    return centimetres == 0.0
               ? std::string("0 cm")
               : Written(std::abs(centimetres)) + " cm " + (centimetres > 0.0 ? one : other);
}

std::string ValueText(const FaultValue& value)
{
    const auto* const number = std::get_if<double>(&value);
    return number != nullptr ? Written(*number) : std::get<std::string>(value);
}

std::string LineText(const CServiceCore& core)
{
    const WaylineStatus status = core.Waylines().Status();
    if (status.complete) {
        return std::string("line set: ") + NameOfKind(status.kind);
    }
    return status.recording ? "a line is being recorded" : "line dropped, or begun anew";
}

} // namespace

CHistoryWatch::Seen CHistoryWatch::SeenOf(const CServiceCore& core)
{
    const CSimulation& world = core.World();
    Seen seen;
    seen.engage = EngageStateOf(world);
    seen.nudge = world.Nudge();
    seen.line = core.Waylines().Revision();
    for (int number = 0; number < kTuningParameters; ++number) {
        seen.tuning[static_cast<std::size_t>(number)] =
            world.Tuning().Get(static_cast<ETuning>(number));
    }
    seen.lookAhead = world.LookAheadTime();
    seen.implementWidth = world.ImplementWidth();
    seen.implementOffset = world.ImplementOffset();
    seen.fieldOffset = world.FieldOffset();
    for (const auto& [name, active] : core.Faults().Now()) {
        seen.faults[name] = active.value;
    }
    return seen;
}

void CHistoryWatch::Look(const CServiceCore& core)
{
    const double time = core.World().Time();
    Seen now = SeenOf(core);
    if (m_hasSeen) {
        MarkFaults(time, now); // first: they may be why steering is dropped
        MarkLine(core, now);
        MarkSettings(time, now);
        MarkSteering(core.World(), now);
    }
    m_seen = std::move(now);
    m_hasSeen = true;
    m_history.Add(SampleOf(core));
}

void CHistoryWatch::MarkSteering(const CSimulation& world, const Seen& now)
{
    if (now.engage == m_seen.engage) {
        return;
    }
    if (now.engage == EEngageState::Engaged) {
        m_history.Mark(EHistoryMark::Engaged, world.Time(), "engaged");
    } else if (now.engage == EEngageState::Dropped) {
        m_history.Mark(EHistoryMark::Dropped, world.Time(), world.DropReason());
    } else if (m_seen.engage == EEngageState::Engaged) {
        m_history.Mark(EHistoryMark::Ended, world.Time(), "steering ended by hand");
    }
}

void CHistoryWatch::MarkLine(const CServiceCore& core, const Seen& now)
{
    if (now.line != m_seen.line) {
        m_history.Mark(EHistoryMark::Line, core.World().Time(), LineText(core));
    }
    if (now.nudge != m_seen.nudge) {
        m_history.Mark(EHistoryMark::Nudge, core.World().Time(),
                       "nudge " +
                           CentimetresTo(now.nudge, "to the line's right", "to the line's left"));
    }
}

void CHistoryWatch::MarkSettings(double time, const Seen& now)
{
    static const char* const names[kTuningParameters] = {"sensitivity", "aggressiveness",
                                                         "overshoot", "speed adjustment"};
    std::string text;
    const auto add = [&text](const char* name, double before, double after, const char* unit) {
        if (before != after) {
            text += (text.empty() ? "" : ", ") + std::string(name) + " " + Written(after) + unit;
        }
    };
    for (std::size_t number = 0; number < now.tuning.size(); ++number) {
        add(names[number], m_seen.tuning[number], now.tuning[number], "");
    }
    add("look-ahead", m_seen.lookAhead, now.lookAhead, " s");
    add("implement width", m_seen.implementWidth, now.implementWidth, " m");
    add("implement offset", m_seen.implementOffset, now.implementOffset, " m");
    add("field offset", m_seen.fieldOffset, now.fieldOffset, " m");
    if (!text.empty()) {
        m_history.Mark(EHistoryMark::Tuning, time, text);
    }
}

void CHistoryWatch::MarkFaults(double time, const Seen& now)
{
    for (const auto& [name, value] : now.faults) {
        const auto before = m_seen.faults.find(name);
        if (before == m_seen.faults.end() || before->second != value) {
            m_history.Mark(EHistoryMark::Fault, time, name + " " + ValueText(value));
        }
    }
    for (const auto& [name, value] : m_seen.faults) {
        if (now.faults.count(name) == 0) {
            m_history.Mark(EHistoryMark::Fault, time, name + " off");
        }
    }
}
