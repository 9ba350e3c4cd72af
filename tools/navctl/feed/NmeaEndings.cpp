#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostRecent = 64;
/// How long a stream must rest for the burst being over, when every kind has come that came of
/// late: long enough for one that is not sent each time.
constexpr double kRestOfWholeBurst = 0.03;
/// The same when something is missing. A slow line takes 85 ms a sentence (82 characters at 9600
/// baud), and receivers rest between the sentences of a burst.
constexpr double kRestOfBurst = 0.25;
constexpr double kLongestRestOfBurst = 1.5;

} // namespace

/// Sends a live sample as soon as all has come that is to come for it.
void CNmeaEpochs::EndEarly()
{
    if (m_lastHeard && m_endsEarly && !m_epoch->isSent && IsWhole(false) &&
        HasPosition(m_epoch->parts)) {
        m_epoch->isSentEarly = true;
        Send();
    }
}

/// Whether every kind has come that came of late and can still come for this epoch.
///
/// @param countsWaiting what waits for the stream to pause counts as well.
bool CNmeaEpochs::IsWhole(bool countsWaiting) const
{
    return m_epochNumber > kEpochsToWaitFor &&
           std::all_of(
               m_recent.begin(), m_recent.end(), [this, countsWaiting](const RecentKind& recent) {
                   const bool isAwaited = recent.epoch + kEpochsToWaitFor >= m_epochNumber &&
                                          (HasTime(recent.type) || StandsBehind(recent.kind));
                   return !isAwaited || m_epoch->Find(recent.kind) != nullptr ||
                          (countsWaiting && WaitsForPause(recent.kind));
               });
}

bool CNmeaEpochs::WaitsForPause(NmeaKind kind) const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(), [kind](const Waiting& waiting) {
        return waiting.waitsForPause && waiting.part.kind == kind;
    });
}

void CNmeaEpochs::Note(const NmeaPart& part)
{
    for (RecentKind& recent : m_recent) {
        if (recent.kind == part.kind) {
            recent.epoch = m_epochNumber;
            return;
        }
    }
    if (m_recent.size() >= kMostRecent) {
        m_recent.clear();
    }
    m_recent.push_back({part.kind, part.type, m_epochNumber});
}

std::optional<double> CNmeaEpochs::EndsAt() const
{
    if (!m_lastHeard || !m_epoch || m_epoch->isSent || !HasPosition(m_epoch->parts)) {
        return std::nullopt;
    }
    const double shortest = IsWhole(true) ? kRestOfWholeBurst : kRestOfBurst;
    const double rest = std::max(shortest, 2.0 * std::max(m_longestGap, m_epoch->longestGap));
    const double most = m_period.Seconds() > 0.0 ? kLongestRestOfBurst * m_period.Seconds() : rest;
    return *m_lastHeard + std::min(rest, std::max(most, kRestOfWholeBurst));
}

std::optional<double> CNmeaEpochs::SeemsOverAt() const
{
    const bool lacksKind =
        std::any_of(m_recent.begin(), m_recent.end(), [this](const RecentKind& recent) {
            return HasTime(recent.type) && recent.epoch + 1 == m_epochNumber;
        });
    if (!m_lastHeard || !m_epoch || m_epoch->isSent || lacksKind) {
        return std::nullopt;
    }
    return *m_lastHeard +
           std::max(kRestOfWholeBurst, 2.0 * std::max(m_longestGap, m_epoch->longestGap));
}

void CNmeaEpochs::EndAtPause()
{
    const bool isRepeated = m_epoch->isRepeated || m_epoch->isCopy || TakeRepetition();
    for (Waiting& waiting : m_waiting) {
        if (waiting.waitsForPause && !isRepeated && !m_isBroken && IsSingle(waiting.part.kind)) {
            waiting.isPlaced = true;
            m_epoch->longestGap = std::max(m_epoch->longestGap, waiting.gap);
            PlaceInEpoch(waiting.part);
        }
    }
    Send();
}

void CNmeaEpochs::Flush()
{
    LeaveOutWaiting();
    if (m_ahead) {
        LeaveOut(*m_ahead, kOfNoPosition);
    }
    m_ahead.reset();
    if (m_epoch) {
        Send();
    }
    m_epoch.reset();
    m_finished.Flush();
}
