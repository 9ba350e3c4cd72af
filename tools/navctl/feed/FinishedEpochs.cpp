#include "tools/navctl/feed/FinishedEpochs.h"

#include <algorithm>

namespace {

enum class EChange
{
    None,
    Confirm,
    Refute,
};

} // namespace

/// Applies a change to every claim; what no claim stands against any more is certain.
template <typename Change>
void CFinishedEpochs::ChangeClaims(NmeaEpoch& epoch, const Change& change)
{
    std::vector<PendingPart> left;
    for (PendingPart& pending : epoch.pending) {
        bool isRefuted = false;
        std::vector<NmeaClaim> claims;
        for (NmeaClaim& claim : pending.claims) {
            const EChange what = change(claim);
            isRefuted = isRefuted || what == EChange::Refute;
            if (what == EChange::None) {
                claims.push_back(claim);
            }
        }
        pending.claims = claims;
        if (isRefuted) {
            m_leftOut.Add(std::string(NameOf(pending.part.type)) + kNotCertain, pending.part.line);
        } else if (claims.empty()) {
            epoch.Add(pending.part);
        } else {
            left.push_back(pending);
        }
    }
    epoch.pending = std::move(left);
}

void CFinishedEpochs::Take(const NmeaEpoch& epoch)
{
    m_waiting.push_back(epoch);
    Release();
}

void CFinishedEpochs::Show(const BurstPlace& place, NmeaEpoch* current)
{
    const auto judge = [&place](const NmeaClaim& claim) {
        const bool isMeant =
            claim.place.untimed == place.untimed && claim.place.timed == place.timed;
        const EChange change =
            claim.place.isBehind == place.isBehind ? EChange::Confirm : EChange::Refute;
        return isMeant ? change : EChange::None;
    };
    for (NmeaEpoch& epoch : m_waiting) {
        ChangeClaims(epoch, judge);
    }
    if (current != nullptr) {
        ChangeClaims(*current, judge);
    }
    Release();
}

void CFinishedEpochs::Forget(NmeaKind untimed, NmeaEpoch* current)
{
    const auto judge = [untimed](const NmeaClaim& claim) {
        return claim.place.untimed == untimed ? EChange::Refute : EChange::None;
    };
    for (NmeaEpoch& epoch : m_waiting) {
        ChangeClaims(epoch, judge);
    }
    if (current != nullptr) {
        ChangeClaims(*current, judge);
    }
    Release();
}

void CFinishedEpochs::EndEpoch(NmeaEpoch& ended)
{
    const auto age = [](NmeaClaim& claim) {
        if (claim.epochsLeft == 0) {
            return EChange::Refute;
        }
        --claim.epochsLeft;
        return EChange::None;
    };
    for (NmeaEpoch& epoch : m_waiting) {
        ChangeClaims(epoch, age);
    }
    ChangeClaims(ended, age);
    Release();
}

void CFinishedEpochs::Flush()
{
    LeaveOutPending(nullptr);
}

void CFinishedEpochs::LeaveOutPending(NmeaEpoch* current)
{
    const auto refute = [](const NmeaClaim&) { return EChange::Refute; };
    for (NmeaEpoch& epoch : m_waiting) {
        ChangeClaims(epoch, refute);
    }
    if (current != nullptr) {
        ChangeClaims(*current, refute);
    }
    Release();
}

void CFinishedEpochs::Release()
{
    while (!m_waiting.empty() && m_waiting.front().pending.empty()) {
        Give(m_waiting.front());
        m_waiting.pop_front();
    }
}

/// Gives the sample of an epoch.
void CFinishedEpochs::Give(const NmeaEpoch& epoch)
{
    std::optional<std::int64_t> day;
    for (const NmeaPart& part : epoch.parts) {
        const bool tells = part.report.day && (!day || part.type == ENmeaType::Rmc);
        day = tells ? part.report.day : day;
    }
    std::optional<PositionSample> sample = SampleOf(epoch.parts);
    const char* problem = sample ? nullptr : "no position";
    ETimeOrder order = ETimeOrder::Later;
    const double time = m_day.UnixTime(epoch.timeOfDay, day, order, sample.has_value());
    if (sample && order == ETimeOrder::NotLater) {
        problem = kNoLaterTime;
    }
    if (problem != nullptr) {
        m_leftOut.Add(problem, epoch.firstLine, epoch.sources);
        return;
    }
    sample->time = time - m_day.Correction();
    sample->sources = epoch.sources;
    sample->line = epoch.firstLine;
    sample->startsAnew = order == ETimeOrder::NewStart;
    m_samples.push_back(*sample);
}
