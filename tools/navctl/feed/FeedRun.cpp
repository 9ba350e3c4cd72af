#include "tools/navctl/feed/FeedRun.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

namespace {

/// How long to wait for input before looking after everything else.
constexpr int kLookMilliseconds = 200;
constexpr double kSecondsBetweenAttempts = 0.2;
/// How much may be lost at most without its being known, in samples and in seconds.
constexpr std::uint64_t kSamplesToConfirm = 50;
constexpr double kSecondsToConfirm = 1.0;
/// Longer waits for the next sample are reported.
constexpr double kLongestSilence = 60.0;

std::string Seconds(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, std::abs(seconds) < 1e9 ? "%.0f s" : "%.3g s", seconds);
    return text;
}

bool MayComeBack(const LinkErrorC& error)
{
    return error.code == ELinkError::NotConnected || error.code == ELinkError::Refused ||
           error.code == ELinkError::Closed;
}

} // namespace

FeedResult CFeedRun::Run()
{
    PositionSample sample;
    m_lastConfirmed = m_parts.clock.Now();
    while (true) {
        m_parts.show(m_result);
        if (m_parts.clock.IsInterrupted()) {
            End(EFeedEnd::Interrupted);
            break;
        }
        const ESample found = m_parts.reader.Next(sample, kLookMilliseconds);
        // Whoever interrupts a feed interrupts what it reads from too, as with a pipe of a shell.
        const bool isOver = found == ESample::Failed || found == ESample::End;
        if (isOver && m_parts.clock.IsInterrupted()) {
            End(EFeedEnd::Interrupted);
            break;
        }
        if (found == ESample::Failed) {
            m_result.problem = m_parts.reader.Problem();
            End(EFeedEnd::BadFile);
            break;
        }
        if (found == ESample::End) {
            break;
        }
        if (found == ESample::Sample && !SendInTime(sample)) {
            break;
        }
    }
    if (m_result.end != EFeedEnd::LinkFailed && m_unconfirmed > 0) {
        Confirm();
    }
    CountLost();
    const bool endsWell = m_result.end == EFeedEnd::Done || m_result.end == EFeedEnd::Interrupted;
    if (endsWell && m_loss.code != ELinkError::None) {
        m_result.linkError = m_loss;
        End(EFeedEnd::LinkFailed);
    }
    return m_result;
}

/// @return whether to go on.
bool CFeedRun::SendInTime(PositionSample& sample)
{
    NoteUntold(sample);
    m_motion.Complete(sample);
    TellGap(sample);
    m_lastTime = sample.time;
    const double now = m_parts.clock.Now();
    if (sample.startsAnew) {
        m_schedule.GoOnFrom(*sample.time, now);
    }
    if (!WaitUntil(m_schedule.DueAt(*sample.time, now))) {
        return false;
    }
    return Send(sample);
}

/// Says so when the file has a gap in which nobody knows whether the feed is still alive.
void CFeedRun::TellGap(const PositionSample& sample)
{
    const double gap = m_lastTime ? *sample.time - *m_lastTime : 0.0;
    if (sample.startsAnew) {
        const std::string where = sample.line > 0 ? " in line " + std::to_string(sample.line) : "";
        m_parts.tell("the file's time starts anew" + where + ", " + Seconds(gap) +
                     " from the last sample's");
    } else if (m_schedule.SecondsFor(gap) > 0.0 && gap > CFeedSchedule::kLongestGap) {
        m_parts.tell("passing over a gap of " + Seconds(gap) + " in the file's time");
    } else if (m_schedule.SecondsFor(gap) > kLongestSilence) {
        m_parts.tell("the next sample is due in " + Seconds(m_schedule.SecondsFor(gap)));
    }
}

bool CFeedRun::Send(const PositionSample& sample)
{
    const auto number = static_cast<int>(std::min<std::uint64_t>(
        m_result.handedOver + 1, static_cast<std::uint64_t>(std::numeric_limits<int>::max())));
    // A confirmation may have shown already that the link is lost.
    const LinkErrorC error = m_loss.code != ELinkError::None
                                 ? m_loss
                                 : m_parts.sink.Send(sample, m_motion.HeadingIsValid(), number);
    if (error.code == ELinkError::None) {
        CountHandedOver(sample);
        return ConfirmNowAndThen();
    }
    // At the very start there is no service to come back.
    if (m_result.handedOver > 0 && MayComeBack(error)) {
        CountLost();
        return Reconnect(sample, error);
    }
    m_result.linkError = error;
    return End(EFeedEnd::LinkFailed);
}

void CFeedRun::CountHandedOver(const PositionSample& sample)
{
    ++m_result.handedOver;
    ++m_unconfirmed;
    m_unconfirmedSources += sample.sources;
    m_result.notValid += sample.positionValid ? 0 : 1;
    for (const char* const name : m_untold) {
        ++m_result.notTold[name];
    }
}

/// Notes what neither a sentence nor a column has given, before anything is derived.
void CFeedRun::NoteUntold(const PositionSample& sample)
{
    const std::pair<const char*, bool> values[] = {
        {"height", sample.height.has_value()},
        {"course", sample.course.has_value()},
        {"speed", sample.speed.has_value()},
        {"heading", sample.yaw.has_value()},
        {"roll", sample.roll.has_value()},
        {"pitch", sample.pitch.has_value()},
        {"roll_rate", sample.rollRate.has_value()},
        {"pitch_rate", sample.pitchRate.has_value()},
        {"yaw_rate", sample.yawRate.has_value()},
        {"accuracy", sample.sigmaEast && sample.sigmaNorth && sample.sigmaUp},
        {"satellites", sample.satellites.has_value()},
    };
    m_untold.clear();
    for (const auto& [name, isTold] : values) {
        if (!isTold) {
            m_untold.push_back(name);
        }
    }
}

bool CFeedRun::ConfirmNowAndThen()
{
    const bool isDue = m_unconfirmed >= kSamplesToConfirm ||
                       m_parts.clock.Now() - m_lastConfirmed >= kSecondsToConfirm;
    return !isDue || Confirm();
}

/// Has the service say that it has read what was handed over.
///
/// @return whether to go on.
bool CFeedRun::Confirm()
{
    const LinkErrorC error = m_parts.sink.Confirm();
    m_lastConfirmed = m_parts.clock.Now();
    if (error.code == ELinkError::None) {
        m_result.sent += m_unconfirmed;
        m_result.sourcesSent += m_unconfirmedSources;
        m_unconfirmed = m_unconfirmedSources = 0;
        LookForRefusal();
        return true;
    }
    CountLost();
    // The user does not wait for a service that says nothing.
    if (error.code == ELinkError::TimedOut && m_parts.clock.IsInterrupted()) {
        return End(EFeedEnd::Interrupted);
    }
    if (MayComeBack(error)) {
        m_loss = error;
        return true;
    }
    m_result.linkError = error;
    return End(EFeedEnd::LinkFailed);
}

/// A service that reads a sample need not take it.
void CFeedRun::LookForRefusal()
{
    std::optional<std::string> refusal = m_parts.sink.Refusal();
    if (!refusal) {
        return;
    }
    if (!m_parts.ofDerivedSpeed.empty() && IsOfDerivedSpeed(*refusal)) {
        *refusal += "; " + m_parts.ofDerivedSpeed;
    }
    ++m_result.looks;
    if (!refusal->empty()) {
        ++m_result.refusedLooks;
        m_result.refusal = *refusal;
        if (!m_isRefused) {
            m_parts.tell("the service does not take the samples: " + *refusal);
        }
    }
    m_isRefused = !refusal->empty();
}

/// Whether the service has refused the last sample for a speed that the file does not give.
bool CFeedRun::IsOfDerivedSpeed(const std::string& refusal) const
{
    const std::string_view speed = "speed";
    return refusal.find(speed) != std::string::npos &&
           std::find(m_untold.begin(), m_untold.end(), speed) != m_untold.end();
}

/// Nothing says any more whether what was handed over since the last confirmation was read.
void CFeedRun::CountLost()
{
    m_result.lost += m_unconfirmed;
    m_result.sourcesLost += m_unconfirmedSources;
    m_unconfirmed = m_unconfirmedSources = 0;
}

bool CFeedRun::Reconnect(const PositionSample& sample, const LinkErrorC& loss)
{
    m_parts.tell("the link is lost (" + loss.text + "), trying again");
    m_loss = {};
    const double lastAttempt = m_parts.clock.Now() + m_secondsToReconnect;
    LinkErrorC error = loss;
    while (MayComeBack(error) && m_parts.clock.Now() < lastAttempt) {
        if (!WaitUntil(m_parts.clock.Now() + kSecondsBetweenAttempts)) {
            return false;
        }
        error = m_parts.sink.Send(sample, m_motion.HeadingIsValid(),
                                  static_cast<int>(m_result.handedOver + 1));
        if (error.code == ELinkError::None) {
            m_parts.tell("the link is back");
            CountHandedOver(sample);
            ++m_result.reconnections;
            m_schedule.GoOnFrom(*sample.time, m_parts.clock.Now());
            return true;
        }
    }
    m_result.linkError = error;
    return End(EFeedEnd::LinkFailed);
}

/// @return false when the user has interrupted the wait.
bool CFeedRun::WaitUntil(double time)
{
    while (m_parts.clock.Now() < time) {
        if (m_parts.clock.IsInterrupted()) {
            return End(EFeedEnd::Interrupted);
        }
        m_parts.show(m_result);
        m_parts.clock.WaitTowards(time);
    }
    return true;
}

bool CFeedRun::End(EFeedEnd end)
{
    m_result.end = end;
    return false;
}
