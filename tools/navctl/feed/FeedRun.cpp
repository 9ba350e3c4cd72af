#include "tools/navctl/feed/FeedRun.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

/// How long to wait for input before looking after everything else.
constexpr int kLookMilliseconds = 200;
constexpr double kSecondsBetweenAttempts = 0.2;
/// Longer waits for the next sample are told.
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
    while (true) {
        m_parts.show(m_result);
        if (m_parts.clock.IsInterrupted()) {
            End(EFeedEnd::Interrupted);
            break;
        }
        const ESample found = m_parts.reader.Next(sample, kLookMilliseconds);
        if (found == ESample::Failed) {
            m_result.problem = m_parts.reader.Problem();
            End(EFeedEnd::BadFile);
            return m_result;
        }
        if (found == ESample::End)
            break;
        if (found == ESample::Sample && !SendInTime(sample))
            break;
    }
    const bool confirms = m_result.end != EFeedEnd::LinkFailed && m_result.sent > 0;
    if (confirms)
        m_result.linkError = m_parts.sink.Confirm();
    if (m_result.linkError.code != ELinkError::None)
        End(EFeedEnd::LinkFailed);
    return m_result;
}

/// @return whether to go on.
bool CFeedRun::SendInTime(PositionSample& sample)
{
    m_motion.Complete(sample);
    TellGap(sample);
    m_lastTime = sample.time;
    const double now = m_parts.clock.Now();
    if (sample.startsAnew)
        m_schedule.GoOnFrom(*sample.time, now);
    if (!WaitUntil(m_schedule.DueAt(*sample.time, now)))
        return false;
    return Send(sample);
}

/// Says so when the file has a gap in which nobody knows whether the feed is still alive.
void CFeedRun::TellGap(const PositionSample& sample)
{
    const double gap = m_lastTime ? *sample.time - *m_lastTime : 0.0;
    if (sample.startsAnew) {
        m_parts.tell("the file's time starts anew, " + Seconds(gap) + " from the last sample's");
    } else if (m_schedule.SecondsFor(gap) > 0.0 && gap > CFeedSchedule::kLongestGap) {
        m_parts.tell("passing over a gap of " + Seconds(gap) + " in the file's time");
    } else if (m_schedule.SecondsFor(gap) > kLongestSilence) {
        m_parts.tell("the next sample is due in " + Seconds(m_schedule.SecondsFor(gap)));
    }
}

bool CFeedRun::Send(const PositionSample& sample)
{
    const auto number = static_cast<int>(std::min<std::uint64_t>(
        m_result.sent + 1, static_cast<std::uint64_t>(std::numeric_limits<int>::max())));
    const LinkErrorC error = m_parts.sink.Send(sample, m_motion.HeadingIsValid(), number);
    if (error.code == ELinkError::None) {
        ++m_result.sent;
        if (!sample.positionValid)
            ++m_result.notValid;
        return true;
    }
    // At the very start there is no service to come back.
    if (m_result.sent > 0 && MayComeBack(error))
        return Reconnect(sample, error);
    m_result.linkError = error;
    return End(EFeedEnd::LinkFailed);
}

bool CFeedRun::Reconnect(const PositionSample& sample, const LinkErrorC& loss)
{
    m_parts.tell("the link is lost (" + loss.text + "), trying again");
    const double lastAttempt = m_parts.clock.Now() + m_secondsToReconnect;
    LinkErrorC error = loss;
    while (MayComeBack(error) && m_parts.clock.Now() < lastAttempt) {
        if (!WaitUntil(m_parts.clock.Now() + kSecondsBetweenAttempts))
            return false;
        error = m_parts.sink.Send(sample, m_motion.HeadingIsValid(),
                                  static_cast<int>(m_result.sent + 1));
        if (error.code == ELinkError::None) {
            m_parts.tell("the link is back");
            ++m_result.sent;
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
        if (m_parts.clock.IsInterrupted())
            return End(EFeedEnd::Interrupted);
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
