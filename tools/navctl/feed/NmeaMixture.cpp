// What shows that a burst may consist of two pieces of the stream.

#include <algorithm>

#include "tools/navctl/feed/NmeaEpochs.h"

/// Whether the sentences with a time come in another order than before: a piece of the stream has
/// come again, of which this one was lost the first time, or the order has changed.
bool CNmeaEpochs::ComesTooLate(NmeaKind kind)
{
    bool isTooLate = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        isTooLate = m_shape.ShowTimed(timed, kind) || isTooLate;
    }
    return isTooLate;
}

/// The epoch may consist of two pieces, and so nothing is certain of it but what has a time, and
/// nothing that was learned before.
void CNmeaEpochs::TakeMixture()
{
    NmeaEpoch& epoch = *m_epoch;
    m_finished.LeaveOutPending(&epoch);
    epoch.isRepeated = true;
    const auto isPlaced = [](const NmeaPart& part) { return !HasTime(part.type); };
    if (!epoch.isSent) {
        for (const NmeaPart& part : epoch.parts) {
            if (isPlaced(part)) {
                LeaveOut(part, kNotCertain);
                --epoch.sources;
            }
        }
        epoch.parts.erase(std::remove_if(epoch.parts.begin(), epoch.parts.end(), isPlaced),
                          epoch.parts.end());
    }
    epoch.partsBefore = epoch.parts;
    epoch.sourcesBefore = epoch.sources;
}

/// Finds what stands between two of the epoch's time and stood elsewhere until now, so that it may
/// be of another piece of the stream. There, a list of satellites is not certain either: a burst
/// may have several, here and there.
void CNmeaEpochs::LeaveOutWhatStoodElsewhere(NmeaKind next, std::vector<bool>& isCertain)
{
    if (m_epoch->isRepeated || m_epoch->isCopy) {
        return;
    }
    const Neighbours neighbours{m_epoch->timedKinds.back(), next};
    bool mayBeTwoPieces = false;
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const NmeaPart& part = m_waiting[i].part;
        const bool isList = part.type == ENmeaType::Gsa;
        const bool comesOften = m_order.ComesOften(part.kind);
        const bool isElsewhere =
            m_shape.ShowWithin(part.kind, neighbours, comesOften, isList && comesOften);
        const bool isMore = isList && m_shape.ShowCount(part.kind, CountWaiting(part.kind));
        if (isElsewhere) {
            Forget(part.kind);
        }
        // Neither it is certain then nor another one of its kind.
        for (std::size_t j = 0; isElsewhere && j < m_waiting.size(); ++j) {
            isCertain[j] = isCertain[j] && m_waiting[j].part.kind != part.kind;
        }
        mayBeTwoPieces = mayBeTwoPieces || isMore || (!comesOften && isElsewhere) ||
                         (!comesOften && !isList && !IsSingle(part.kind));
    }
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const bool isList = m_waiting[i].part.type == ENmeaType::Gsa;
        isCertain[i] = isCertain[i] && !(isList && mayBeTwoPieces);
    }
}

/// Takes in what stands between two times of which none is missing.
void CNmeaEpochs::ShowWhatIsBetweenTimes(NmeaKind next)
{
    for (const Waiting& waiting : m_waiting) {
        m_shape.ShowBetweenTimes(waiting.part.kind, {m_epoch->timedKinds.back(), next});
    }
}
