#ifndef KESTROVE_TOOLS_NAVCTL_FEED_FEEDRUN_H
#define KESTROVE_TOOLS_NAVCTL_FEED_FEEDRUN_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/navctl/feed/FeedSchedule.h"
#include "tools/navctl/feed/MotionDerivation.h"
#include "tools/navctl/feed/PositionSink.h"
#include "tools/navctl/feed/SampleReader.h"

/// How a feed ended.
enum class EFeedEnd
{
    Done,        ///< everything was sent, and read by the service
    Interrupted, ///< the user wanted it to end
    BadFile,     ///< the file cannot be read as what it should be
    LinkFailed,  ///< the link was lost, or the service does not take or confirm the samples
};

/// What a feed did.
struct FeedResult
{
    EFeedEnd end = EFeedEnd::Done;
    std::uint64_t handedOver = 0;  ///< samples that the link took: sent, lost, and not yet known
    std::uint64_t sent = 0;        ///< samples that the service has read, by its own reply
    std::uint64_t lost = 0;        ///< samples of which nothing says that it has read them
    std::uint64_t sourcesSent = 0; ///< sentences or rows in the samples that were sent
    std::uint64_t sourcesLost = 0; ///< the same of those that were lost
    std::uint64_t notValid = 0;    ///< samples handed over whose position is marked as not valid
    /// In how many samples handed over nobody has given a value, by its name.
    std::map<std::string, std::uint64_t> notTold;
    std::uint64_t looks = 0; ///< how often the service was asked whether it took the last sample
    std::uint64_t refusedLooks = 0;  ///< how often it had not
    std::string refusal;             ///< its reason the last time that it had not
    std::uint64_t reconnections = 0; ///< how often the link was lost and came back
    LinkErrorC linkError;            ///< for LinkFailed
    std::string problem;             ///< for BadFile
};

/// Sends the samples of a reader in their time.
///
/// A sample that cannot be sent because the link is lost is tried again until the link is back or a
/// time has passed; the samples after it then keep their distance to it. A service that takes
/// nothing within the connection's time-out is not tried again.
///
/// No reply says that a sample was read. So the sink is asked to confirm now and then, and what was
/// handed over since it did last is counted as lost when the link fails.
class CFeedRun
{
public:
    struct Parts
    {
        CSampleReader& reader;
        CPositionSink& sink;
        CFeedClock& clock;
        std::function<void(const FeedResult&)> show;  ///< called often with how far it is
        std::function<void(const std::string&)> tell; ///< called with what happens to the link
        /// What to add when a speed is refused that nobody has given, so that it was derived; may
        /// be empty.
        std::string ofDerivedSpeed{};
    };

    /// @param rate see CFeedSchedule.
    /// @param secondsToReconnect how long to try to reach a service that is lost.
    CFeedRun(const Parts& parts, std::optional<double> rate, double secondsToReconnect)
        : m_parts(parts), m_schedule(rate), m_secondsToReconnect(secondsToReconnect)
    {
    }

    /// Feeds until the file ends or something fails.
    FeedResult Run();

private:
    bool SendInTime(PositionSample& sample);
    void TellGap(const PositionSample& sample);
    bool Send(const PositionSample& sample);
    void NoteUntold(const PositionSample& sample);
    void CountHandedOver(const PositionSample& sample);
    bool ConfirmNowAndThen();
    bool Confirm();
    void LookForRefusal();
    bool IsOfDerivedSpeed(const std::string& refusal) const;
    void CountLost();
    bool Reconnect(const PositionSample& sample, const LinkErrorC& loss);
    bool WaitUntil(double time);
    bool End(EFeedEnd end);

    Parts m_parts;
    CFeedSchedule m_schedule;
    double m_secondsToReconnect;
    CMotionDerivation m_motion;
    std::optional<double> m_lastTime;
    FeedResult m_result;
    std::uint64_t m_unconfirmed = 0;
    std::uint64_t m_unconfirmedSources = 0;
    double m_lastConfirmed = 0.0;
    bool m_isRefused = false;          ///< the last sample that was looked at
    std::vector<const char*> m_untold; ///< values of the present sample
    LinkErrorC m_loss;                 ///< of the link, when a confirmation has shown it
};

#endif
