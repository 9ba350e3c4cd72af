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
std::vector<PendingPart> CNmeaEpochs::TakeLeading(const NmeaPart& next, bool isOneStep,
                                                  const std::optional<Cut>& cut)
{
    std::vector<PendingPart> leading;
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
    if (m_waiting[i].part.type == ENmeaType::Gsa) {
        // A burst may have several, here and there.
        return {};
    }
    if (!IsSingle(kind) || m_order.ComesOften(kind)) {
        // Sent more often than the time: its place in the burst says nothing.
        Forget(kind);
        return {};
    }
    bool isByPause = false;
    Placing byOrder = PlaceByOrder(kind, next.kind, isByPause);
    if (!cut) {
        const bool isThere = byOrder.place == EPlace::This && !m_waiting[i].isPlaced &&
                             m_epoch->Find(kind) != nullptr;
        if (isThere || byOrder.place == EPlace::Neither || FitsNeither(kind, next.kind)) {
            Forget(kind);
            return {};
        }
        // Live, nothing can wait for the order to be shown again.
        return isByPause || next.arrival ? Placing{} : byOrder;
    }
    const EPlace byCut = i < cut->place ? EPlace::This : EPlace::Next;
    if (byCut == EPlace::This && !m_waiting[i].isPlaced && m_epoch->Find(kind) != nullptr) {
        m_order.ShowTwice(kind);
        Forget(kind);
        return {};
    }
    // What the user has said is enough for a kind that keeps to its place.
    const bool isTold = !cut->isByPause && byOrder.place == EPlace::Unknown &&
                        m_order.IsSettled(kind) && !WasElsewhere(kind, next.kind, byCut);
    if (byCut == EPlace::Next) {
        Show(kind, next.kind, false, cut->isByPause);
    } else {
        ShowBehind(kind, cut->isByPause);
    }
    const bool agrees = byCut == byOrder.place && IsCertain(*cut);
    return agrees || isTold ? Placing{byCut, {}} : Placing{};
}

/// Whether a sentence stands where it never stood: behind one that it came before, and before one
/// that it came behind, however often this was shown.
bool CNmeaEpochs::FitsNeither(NmeaKind kind, NmeaKind next) const
{
    return WasElsewhere(kind, next, EPlace::This) && WasElsewhere(kind, next, EPlace::Next);
}

/// Whether a sentence was ever shown to stand where it cannot be of the epoch that it seems to be
/// of, however long ago.
bool CNmeaEpochs::WasElsewhere(NmeaKind kind, NmeaKind next, EPlace place) const
{
    if (place == EPlace::Next) {
        return m_order.LastPlaceOf(kind, next).value_or(false);
    }
    return std::any_of(m_epoch->timedKinds.begin(), m_epoch->timedKinds.end(), [&](NmeaKind timed) {
        return !m_order.LastPlaceOf(kind, timed).value_or(true);
    });
}

/// Where in what is waiting one burst ends and the next begins.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::FindCut(const NmeaPart& next, bool isOneStep)
{
    if (!isOneStep) {
        return std::nullopt;
    }
    // Where the sentence is lost that the burst begins with, a pause may still show it.
    const std::optional<Cut> told = m_burstBeginsWith ? ToldCut(next) : std::nullopt;
    const std::optional<Cut> pause = PauseBefore(next, told.has_value());
    return told ? told : pause;
}

/// The sentence that the user has said each burst begins with.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::ToldCut(const NmeaPart& next) const
{
    if (m_burstBeginsWith == ENmeaType::Gsa) {
        // A burst may have several, here and there.
        return std::nullopt;
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
    if (m_burstBeginsWith == ENmeaType::Pashr && m_ahead &&
        IsSameTime(*m_ahead->report.timeOfDay, *next.report.timeOfDay)) {
        cut = Cut{std::min(m_placeOfAhead, m_waiting.size()), false};
    }
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        if (m_waiting[i].part.type == *m_burstBeginsWith) {
            if (cut || m_order.ComesOften(m_waiting[i].part.kind)) {
                return std::nullopt;
            }
            cut = Cut{i, false};
        }
    }
    return cut || next.type != *m_burstBeginsWith ? cut : Cut{m_waiting.size(), false};
}

/// The pause between two bursts, when the stream runs with its own time and rests nowhere else so
/// long; and what this shows of the pauses.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::PauseBefore(const NmeaPart& next, bool isBeginTold)
{
    if (!next.arrival || !m_epoch->firstArrival) {
        return std::nullopt;
    }
    std::optional<Cut> pause;
    bool isWithinOneTime = false;
    if (!IsPaced(next)) {
        // A time may begin with another sentence, because its first one is lost.
        if (next.kind == m_epoch->timedKinds.front()) {
            m_pauses.TakeUneven();
        }
    } else if (pause = LongestRest(isWithinOneTime);
               isWithinOneTime || (pause && Contradicts(*pause, next, !isBeginTold))) {
        m_pauses.TakeContradiction();
        pause.reset();
    } else if (!pause) {
        m_pauses.TakeUnclear();
    } else {
        const NmeaPart& first =
            pause->place < m_waiting.size() ? m_waiting[pause->place].part : next;
        m_pauses.TakeBurst(first.kind, *first.arrival, m_period.Seconds());
    }
    m_order.TrustPauses(m_pauses.AreCertain());
    if (m_pauses.AreRefuted()) {
        m_order.ForgetPauses();
    }
    return pause;
}

/// The longest rest between the last sentence of this time and the first one of the next, if it is
/// a pause.
///
/// @param isWithinOneTime receives whether the stream has rested longer between two sentences of
///        this time.
std::optional<CNmeaEpochs::Cut> CNmeaEpochs::LongestRest(bool& isWithinOneTime) const
{
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
    const double least = kLeastPause * m_period.Seconds();
    isWithinOneTime = m_epoch->longestGap >= std::max(least, longest);
    const bool isPause = longest >= least && longest >= kPauseToOtherRests * second;
    return isPause ? std::optional(cut) : std::nullopt;
}

/// Whether a pause gives a sentence to a time that it was not of until now.
///
/// @param forgets where such a sentence stands is forgotten.
bool CNmeaEpochs::Contradicts(const Cut& pause, const NmeaPart& next, bool forgets)
{
    bool contradicts = false;
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const NmeaKind kind = m_waiting[i].part.kind;
        const bool mayShow =
            m_waiting[i].part.type != ENmeaType::Gsa && IsSingle(kind) && !m_order.ComesOften(kind);
        if (mayShow &&
            WasElsewhere(kind, next.kind, i < pause.place ? EPlace::This : EPlace::Next)) {
            contradicts = true;
            if (forgets) {
                Forget(kind);
            }
        }
    }
    return contradicts;
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
    } else if (isNotOfNext && StandsBehind(kind)) {
        placing.place = EPlace::This;
    } else if (isNotOfThis && m_order.PlaceOf(kind, next)) {
        placing.place = EPlace::Next;
    }
    return placing;
}

/// Whether a kind comes once between two times.
bool CNmeaEpochs::IsSingle(NmeaKind kind) const
{
    return CountWaiting(kind) == 1;
}

std::ptrdiff_t CNmeaEpochs::CountWaiting(NmeaKind kind) const
{
    return std::count_if(m_waiting.begin(), m_waiting.end(),
                         [kind](const Waiting& waiting) { return waiting.part.kind == kind; });
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
            // Sent more often than the time: its place in the burst says nothing.
            Forget(kind);
        }
    }
    if (m_comesAgain) {
        m_finished.LeaveOutPending(m_epoch ? &*m_epoch : nullptr);
    }
    return m_comesAgain;
}

/// Notes which kinds came more often, from one time to the next, than there were times.
void CNmeaEpochs::NoteWhatComesOften(std::int64_t step, NmeaKind next)
{
    if (m_epoch->isRepeated || m_epoch->isCopy) {
        return;
    }
    const std::ptrdiff_t periods = m_period.CountIn(step);
    for (const Waiting& waiting : m_waiting) {
        const NmeaKind kind = waiting.part.kind;
        const std::vector<NmeaKind>& enclosed = m_epoch->enclosed;
        // What stands before the next time anyway may be of that one, whose first sentence was
        // lost.
        const bool mayBeOfNext = !m_order.LastPlaceOf(kind, next).value_or(true);
        const std::ptrdiff_t within =
            mayBeOfNext ? 0 : std::count(enclosed.begin(), enclosed.end(), kind);
        if (CountWaiting(kind) + within > periods) {
            m_order.ShowTwice(kind);
        }
    }
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

/// Forgets where all kinds stand, but not which come more often than the times.
void CNmeaEpochs::ForgetOrder()
{
    m_order.ForgetPlaces();
    m_finished.LeaveOutPending(m_epoch ? &*m_epoch : nullptr);
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
