#include <algorithm>

#include "tools/navctl/feed/NmeaEpochs.h"

namespace {

/// A pause is four times as long as any other rest.
constexpr double kPauseToOtherRests = 4.0;
/// How much earlier or later than by its own time a burst may come for its rests to say something;
/// of a period.
constexpr double kMostDelay = 0.25;

} // namespace

/// Gives what came between two times to the one or the other, and what is not certain to neither.
///
/// @return what belongs to the next time.
std::vector<PendingPart> CNmeaEpochs::TakeLeading(const NmeaPart& next, bool isOneStep)
{
    std::vector<PendingPart> leading;
    const std::optional<Cut> cut = FindCut(next, isOneStep);
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const Waiting& waiting = m_waiting[i];
        Placing placing = isOneStep ? PlaceBetween(i, next, cut) : Placing{};
        if (waiting.isPlaced) {
            continue;
        }
        if (placing.place == EPlace::Next) {
            leading.push_back({waiting.part, std::move(placing.claims)});
        } else if (placing.place == EPlace::This && placing.claims.empty()) {
            m_epoch->longestGap = std::max(m_epoch->longestGap, waiting.gap);
            PlaceInEpoch(waiting.part);
        } else if (placing.place == EPlace::This) {
            m_epoch->pending.push_back({waiting.part, std::move(placing.claims)});
        } else {
            LeaveOut(waiting.part, kNotCertain);
        }
    }
    m_waiting.clear();
    return leading;
}

/// Of which of the two epochs around it a waiting sentence is, and what it shows of the order.
CNmeaEpochs::Placing CNmeaEpochs::PlaceBetween(std::size_t i, const NmeaPart& next,
                                               const std::optional<Cut>& cut)
{
    const NmeaKind kind = m_waiting[i].part.kind;
    if (!IsSingle(kind)) {
        // Told more often than the time: its place in the burst says nothing.
        Forget(kind);
        return {};
    }
    bool isByPause = false;
    Placing byOrder = PlaceByOrder(kind, next.kind, isByPause);
    if (!cut) {
        const bool isThere = byOrder.place == EPlace::This && m_epoch->Find(kind) != nullptr;
        if (isThere || byOrder.place == EPlace::Neither) {
            Forget(kind);
            return {};
        }
        // Live, nothing can wait for the order to be shown again.
        return isByPause || next.arrival ? Placing{} : byOrder;
    }
    const EPlace byCut = i < cut->place ? EPlace::This : EPlace::Next;
    if (byCut == EPlace::Next) {
        Show(kind, next.kind, false, cut->isByPause);
    } else {
        ShowBehind(kind, cut->isByPause);
    }
    const bool isThere = byCut == EPlace::This && m_epoch->Find(kind) != nullptr;
    const bool agrees = byCut == byOrder.place;
    const bool isCertain =
        !isThere && (agrees || (!cut->isByPause && byOrder.place == EPlace::Unknown));
    return isCertain ? Placing{byCut, {}} : Placing{};
}

/// Where in what is waiting one burst ends and the next begins.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::FindCut(const NmeaPart& next, bool isOneStep) const
{
    if (!isOneStep) {
        return std::nullopt;
    }
    if (!m_burstBeginsWith) {
        return PauseBefore(next);
    }
    // Of several talkers, the first one may be lost, and then another's would not be the beginning.
    const auto isBeginning = [this](const RecentKind& recent) {
        return recent.type == *m_burstBeginsWith &&
               recent.epoch + kEpochsToWaitFor >= m_epochNumber;
    };
    if (std::count_if(m_recent.begin(), m_recent.end(), isBeginning) > 1) {
        return std::nullopt;
    }
    std::optional<Cut> cut;
    if (m_ahead && m_burstBeginsWith == ENmeaType::Pashr) {
        cut = Cut{std::min(m_placeOfAhead, m_waiting.size()), false};
    }
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        if (m_waiting[i].part.type == *m_burstBeginsWith) {
            if (cut) {
                return std::nullopt;
            }
            cut = Cut{i, false};
        }
    }
    return cut || next.type != *m_burstBeginsWith ? cut : Cut{m_waiting.size(), false};
}

/// The pause between two bursts, when the stream runs with its own time and rests nowhere else so
/// long.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::PauseBefore(const NmeaPart& next) const
{
    if (!IsPaced(next)) {
        return std::nullopt;
    }
    Cut cut{m_waiting.size(), true};
    double longest = m_gap;
    double second = m_epoch->longestGap;
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const double gap = m_waiting[i].gap;
        if (gap > longest) {
            second = std::max(second, longest);
            longest = gap;
            cut.place = i;
        } else {
            second = std::max(second, gap);
        }
    }
    const bool isPause =
        longest >= kLeastPause * m_period.Seconds() && longest >= kPauseToOtherRests * second;
    return isPause ? std::optional(cut) : std::nullopt;
}

/// Whether a sentence of the next time has come when it was due.
bool CNmeaEpochs::IsPaced(const NmeaPart& part) const
{
    if (!part.arrival || !m_epoch->firstArrival) {
        return false;
    }
    const double period = m_period.Seconds();
    const double delay = *part.arrival - *m_epoch->firstArrival - period;
    return delay >= -kMostDelay * period && delay <= kMostDelay * period;
}

/// Of which of two neighbouring epochs a sentence between them is, by what was learned: not of this
/// one when it stands before a sentence that this one has already, and not of the next one when it
/// stands behind the sentence that the next one begins with.
///
/// @param isByPause receives whether only pauses have shown some of it.
CNmeaEpochs::Placing CNmeaEpochs::PlaceByOrder(NmeaKind kind, NmeaKind next, bool& isByPause) const
{
    Placing placing;
    const auto excludes = [&](NmeaKind timed, bool isBehind) {
        const std::optional<CBurstOrder::Place> known = m_order.PlaceOf(kind, timed);
        if (!known || known->isBehind != isBehind) {
            return false;
        }
        isByPause = isByPause || known->isByPauseAlone;
        placing.claims.push_back({{kind, timed, isBehind}, known->epochsUntilShown});
        return true;
    };
    const bool isNotOfNext = excludes(next, true);
    bool isNotOfThis = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        isNotOfThis = excludes(timed, false) || isNotOfThis;
    }
    if (isNotOfThis && isNotOfNext) {
        placing.place = EPlace::Neither;
    } else if (isNotOfThis || isNotOfNext) {
        placing.place = isNotOfNext ? EPlace::This : EPlace::Next;
    }
    return placing;
}

/// Whether a kind comes once between two times.
bool CNmeaEpochs::IsSingle(NmeaKind kind) const
{
    return std::count_if(m_waiting.begin(), m_waiting.end(),
                         [kind](const Waiting& waiting) { return waiting.part.kind == kind; }) == 1;
}

/// Whether a kind came twice since the last sentence with a time.
bool CNmeaEpochs::CameTwice() const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(), [this](const Waiting& waiting) {
        return waiting.part.type != ENmeaType::Gsa && !IsSingle(waiting.part.kind);
    });
}

/// Whether what came since the last sentence with a time shows that a piece was sent twice or that
/// a time was lost: an attitude of a time that is over, or twice a kind that comes once.
bool CNmeaEpochs::TakeRepetition()
{
    for (const Waiting& waiting : m_waiting) {
        const NmeaKind kind = waiting.part.kind;
        if (waiting.part.type != ENmeaType::Gsa && !IsSingle(kind)) {
            m_comesAgain = m_comesAgain || m_order.WasKnown(kind);
            // Told more often than the time: its place in the burst says nothing.
            Forget(kind);
        }
    }
    if (m_comesAgain) {
        m_finished.LeaveOutPending();
    }
    return m_comesAgain;
}

void CNmeaEpochs::Show(NmeaKind untimed, NmeaKind timed, bool isBehind, bool isByPause)
{
    const BurstPlace place{untimed, timed, isBehind};
    m_order.Show(place, isByPause);
    m_finished.Show(place, &*m_epoch);
}

/// A sentence has come behind all that this epoch has.
void CNmeaEpochs::ShowBehind(NmeaKind untimed, bool isByPause)
{
    if (m_epoch->isRepeated || m_epoch->isCopy) {
        return;
    }
    for (const NmeaKind timed : m_epoch->timedKinds) {
        Show(untimed, timed, true, isByPause);
    }
    m_epoch->shown.emplace_back(untimed, isByPause);
}

void CNmeaEpochs::Forget(NmeaKind kind)
{
    m_order.Forget(kind);
    m_finished.Forget(kind, &*m_epoch);
}

/// Whether a sentence that has followed the epoch's time so soon is of that epoch.
bool CNmeaEpochs::StandsBehind(NmeaKind kind) const
{
    bool isBehind = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        const std::optional<CBurstOrder::Place> place = m_order.PlaceOf(kind, timed);
        if (place && !place->isBehind) {
            return false;
        }
        isBehind = isBehind || place;
    }
    return isBehind;
}

/// Whether a sentence is of the next burst, as it stands before the times of this one.
bool CNmeaEpochs::BeginsTheNext(NmeaKind kind) const
{
    bool isBefore = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        const std::optional<CBurstOrder::Place> place = m_order.PlaceOf(kind, timed);
        if (place && place->isBehind) {
            return false;
        }
        isBefore = isBefore || place;
    }
    return isBefore;
}
