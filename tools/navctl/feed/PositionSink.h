#ifndef KESTROVE_TOOLS_NAVCTL_FEED_POSITIONSINK_H
#define KESTROVE_TOOLS_NAVCTL_FEED_POSITIONSINK_H

#include <optional>
#include <string>

#include "platform/LinkError.h"
#include "tools/navctl/feed/PositionSample.h"

/// Where a feed sends its samples: the service, or what stands for it in a test.
class CPositionSink
{
public:
    virtual ~CPositionSink() = default;

    /// Sends a sample with its time, course, speed and yaw. What else is empty is not known.
    ///
    /// @param sample the sample; stays the caller's.
    /// @param headingValid the sample's yaw is a heading.
    /// @param number counts the samples.
    /// @return why it could not be sent; code None when it was handed over.
    virtual LinkErrorC Send(const PositionSample& sample, bool headingValid, int number) = 0;

    /// Makes sure that everything sent has been read.
    ///
    /// @return why that cannot be said; code None when it was.
    virtual LinkErrorC Confirm() = 0;

    /// Asks why the service has not taken the last sample that it has read.
    ///
    /// @return its reason; empty when it took the sample; none where it does not say.
    virtual std::optional<std::string> Refusal() = 0;
};

/// Time for a feed: the monotonic clock, or what stands for it in a test.
class CFeedClock
{
public:
    virtual ~CFeedClock() = default;

    /// Seconds since some moment.
    virtual double Now() = 0;
    /// Waits until then, or for a while of it.
    virtual void WaitTowards(double time) = 0;
    /// Whether the user wants the feed to end.
    virtual bool IsInterrupted() = 0;
};

#endif
