#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>

namespace {

/// So many sentences without a time are kept until one with a time comes.
constexpr std::size_t kMostWaiting = 64;
/// How soon behind the first time of its burst a sentence must come to be placed before the next
/// burst has shown that it is over; of a period.
constexpr double kSoon = 0.5;

constexpr const char* kLate = " after its sample was sent";

} // namespace

void CNmeaEpochs::Hear(double arrival)
{
    if (m_lastHeard) {
        m_gap = std::max(m_gap, arrival - *m_lastHeard);
    }
    m_lastHeard = arrival;
}

void CNmeaEpochs::Add(const NmeaPart& part)
{
    if (part.type == ENmeaType::Pashr) {
        // Where it stands says nothing: the rest before it counts for what follows.
        AddAttitude(part);
        return;
    }
    if (HasTime(part.type)) {
        AddTimed(part);
    } else {
        AddUntimed(part);
    }
    m_gap = 0.0;
}

void CNmeaEpochs::AddTimed(const NmeaPart& part)
{
    if (part.report.timeOfDay) {
        Note(part);
        if (m_epoch && IsSameTime(m_epoch->timeOfDay, *part.report.timeOfDay)) {
            Join(part);
        } else {
            Open(part);
        }
        return;
    }
    // Receivers that have no fix yet have no time either; what is to be waited for is the fix.
    LeaveOut(part, part.report.fixQuality == 0 ? " without a fix" : " without a time");
    m_missesTime = true;
    // Of one that had a time before it is not known which epoch it is of, and what follows it.
    m_isBroken = m_isBroken || !m_epoch ||
                 std::any_of(m_recent.begin(), m_recent.end(), [&part](const RecentKind& recent) {
                     return recent.kind == part.kind;
                 });
}

/// A sentence of the epoch's time: what came since the last one is of that time, too.
void CNmeaEpochs::Join(const NmeaPart& part)
{
    NmeaEpoch& epoch = *m_epoch;
    if (epoch.standsStill || epoch.SaysOtherwise(part)) {
        AddStandingStill(part);
        return;
    }
    const bool isRepeated = epoch.Find(part.kind) != nullptr;
    if (!epoch.isRepeated && !epoch.isCopy) {
        const bool isTooLate = !isRepeated && ComesTooLate(part.kind);
        if (isTooLate) {
            ForgetOrder();
        }
        if (isTooLate || isRepeated) {
            TakeMixture();
        }
    }
    PlaceEnclosed(part.kind);
    m_isBroken = m_missesTime = m_comesAgain = false;
    epoch.longestGap = std::max(epoch.longestGap, m_gap);
    if (!epoch.isRepeated && !epoch.isCopy) {
        for (const auto& [kind, isByPause] : epoch.shown) {
            Show(kind, part.kind, false, isByPause);
        }
        epoch.timedKinds.push_back(part.kind);
    }
    if (!epoch.isSent) {
        TakeFirstDay(part);
        epoch.Add(part);
    } else {
        LeaveOut(part, kLate);
        m_endsEarly = m_endsEarly && (isRepeated || !epoch.isSentEarly);
        if (part.report.day) {
            m_finished.Day().Set(*part.report.day);
        }
    }
    EndEarly();
}

/// Gives what came between two sentences of one time to it. Between two that are the same, and
/// where times come again, a piece of the stream may have ended or begun.
void CNmeaEpochs::PlaceEnclosed(NmeaKind next)
{
    const bool comesAgain = TakeRepetition();
    std::vector<bool> isCertain;
    for (const Waiting& waiting : m_waiting) {
        isCertain.push_back(!comesAgain && IsEnclosed(waiting.part, next));
    }
    LeaveOutWhatStoodElsewhere(next, isCertain);
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const Waiting& waiting = m_waiting[i];
        m_epoch->longestGap = std::max(m_epoch->longestGap, waiting.gap);
        m_epoch->enclosed.push_back(waiting.part.kind);
        if (waiting.isPlaced) {
            continue;
        }
        if (!m_epoch->isRepeated && !m_epoch->isCopy && m_epoch->Awaits(waiting.part.kind)) {
            Forget(waiting.part.kind);
        }
        if (!comesAgain && IsSingle(waiting.part.kind) && waiting.part.type != ENmeaType::Gsa) {
            ShowBehind(waiting.part.kind, false);
        }
        if (isCertain[i]) {
            PlaceInEpoch(waiting.part);
        } else {
            LeaveOut(waiting.part, kNotCertain);
        }
    }
    m_waiting.clear();
}

/// Whether a sentence between two of the epoch's time is of that time.
bool CNmeaEpochs::IsEnclosed(const NmeaPart& part, NmeaKind next) const
{
    if (m_epoch->isRepeated || m_epoch->isCopy) {
        return false;
    }
    if (part.type != ENmeaType::Gsa &&
        (!IsSingle(part.kind) || m_epoch->Find(part.kind) != nullptr)) {
        return false;
    }
    const std::optional<CBurstOrder::Place> known = m_order.PlaceOf(part.kind, next);
    bool isAsLearned = !known || !known->isBehind;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        const std::optional<CBurstOrder::Place> other = m_order.PlaceOf(part.kind, timed);
        isAsLearned = isAsLearned && (!other || other->isBehind);
    }
    return isAsLearned;
}

/// A sentence that says something else of the same time than before: the receiver goes on and its
/// clock does not, or shows less than the time. What has come first is of that time.
void CNmeaEpochs::AddStandingStill(const NmeaPart& part)
{
    m_epoch->standsStill = true;
    LeaveOutWaiting();
    if (m_epoch->isRepeated && !m_epoch->isSent) {
        // What seemed to be the same once more was of a later time already.
        const std::uint64_t sources = m_epoch->sources - m_epoch->sourcesBefore;
        m_epoch->parts = m_epoch->partsBefore;
        m_epoch->sources = m_epoch->sourcesBefore;
        if (sources > 0) {
            m_leftOut.Add("sentences whose time stands still", part.line, sources);
        }
    }
    LeaveOut(part, " whose time stands still");
}

/// A sentence of another time: the epoch is over.
void CNmeaEpochs::Open(const NmeaPart& part)
{
    const std::int64_t time = *part.report.timeOfDay;
    const std::int64_t step = m_epoch ? StepBetween(m_epoch->timeOfDay, time) : 0;
    // What comes behind a burst that was repeated may be of the repetition.
    const bool isCopy = m_latest.IsCopy(time);
    const bool isWhole = m_epoch && !m_isBroken && !m_epoch->isRepeated && !m_epoch->isCopy &&
                         !isCopy && !m_epoch->standsStill;
    const bool follows = isWhole && m_period.IsOneStep(step);
    if (isWhole && !m_missesTime && (follows || m_period.Seconds() == 0.0)) {
        ShowWhatIsBetweenTimes(part.kind);
    }
    const bool isOneStep = follows && !TakeRepetition();
    if (isCopy || m_comesAgain) {
        m_finished.LeaveOutPending(m_epoch ? &*m_epoch : nullptr);
    }
    if (m_epoch && !isCopy) {
        NoteWhatComesOften(step, part.kind);
    }
    const bool mayMissTime = CameTwice();
    const bool isPaced = isOneStep && IsPaced(part);
    const std::optional<Cut> cut = FindCut(part, isOneStep);
    const std::vector<PendingPart> leading = TakeLeading(part, isOneStep, cut);
    EndEpoch(step, mayMissTime);
    TakeFirstDay(part);
    m_epoch.emplace();
    m_epoch->isCopy = isCopy;
    m_epoch->timeOfDay = time;
    m_epoch->firstLine = leading.empty() ? part.line : leading.front().part.line;
    m_epoch->firstArrival = part.arrival;
    m_epoch->isPaced = isPaced;
    m_epoch->isBeginKnown = cut && IsCertain(*cut);
    AddLeading(leading, cut && cut->isByPause);
    Note(part);
    m_epoch->timedKinds.push_back(part.kind);
    m_epoch->Add(part);
    TakeAhead();
    EndEarly();
}

/// Adds what stands in front of the epoch's first sentence with a time.
void CNmeaEpochs::AddLeading(const std::vector<PendingPart>& leading, bool isByPause)
{
    for (const PendingPart& first : leading) {
        if (first.claims.empty()) {
            m_epoch->Add(first.part);
            m_epoch->shown.emplace_back(first.part.kind, isByPause);
        } else {
            m_epoch->pending.push_back(first);
        }
    }
}

/// Gives the attitude that came ahead to the epoch, when it is of its time.
void CNmeaEpochs::TakeAhead()
{
    if (m_ahead && IsSameTime(*m_ahead->report.timeOfDay, m_epoch->timeOfDay)) {
        m_epoch->Add(*m_ahead);
    } else if (m_ahead) {
        LeaveOut(*m_ahead, kOfNoPosition);
    }
    m_ahead.reset();
}

/// @param step to the time that follows, milliseconds.
/// @param mayMissTime whether a time may be missing in between.
void CNmeaEpochs::EndEpoch(std::int64_t step, bool mayMissTime)
{
    if (m_epoch) {
        m_finished.EndEpoch(*m_epoch);
        Send();
        m_longestGap = std::max(0.9 * m_longestGap, m_epoch->longestGap);
        const bool hadPeriod = m_period.Seconds() > 0.0;
        if (!m_epoch->isCopy && m_period.Learn(step, mayMissTime) && hadPeriod) {
            // A receiver of another rate was set up anew.
            m_order.Clear();
        }
    }
    m_order.EndEpoch();
    m_isBroken = m_missesTime = m_comesAgain = false;
    ++m_epochNumber;
}

/// A live stream that was joined behind the date of a burst gives it with the next: what was given
/// until now gets it, too.
void CNmeaEpochs::TakeFirstDay(const NmeaPart& next)
{
    if (m_epoch && next.arrival && next.report.day && !Day().IsTold()) {
        m_finished.Day().SetOfNext(*next.report.day, *next.report.timeOfDay);
    }
}

void CNmeaEpochs::AddUntimed(const NmeaPart& part)
{
    Note(part);
    if (m_waiting.size() >= kMostWaiting) {
        LeaveOutWaiting();
        m_isBroken = true;
    }
    double gapInBurst = m_gap;
    bool isLast = true;
    for (const Waiting& waiting : m_waiting) {
        gapInBurst = std::max(gapInBurst, waiting.gap);
        isLast = isLast && waiting.isPlaced;
    }
    const bool isFirst =
        std::none_of(m_waiting.begin(), m_waiting.end(),
                     [&part](const Waiting& waiting) { return waiting.part.kind == part.kind; });
    const bool isLive = part.arrival && m_epoch && !m_isBroken && isFirst;
    if (isLive && isLast && BeginsTheNext(part.kind)) {
        Send();
    }
    const double period = m_period.Seconds();
    const bool isSoon = isLive && m_epoch->isPaced && m_epoch->isBeginKnown &&
                        !m_epoch->isRepeated && m_epoch->Find(part.kind) == nullptr &&
                        !m_epoch->standsStill && gapInBurst < kLeastPause * period &&
                        *part.arrival - *m_epoch->firstArrival < kSoon * period;
    // Placed at once it might still be the first sentence of a piece that was sent twice.
    m_waiting.push_back({part, m_gap, isSoon && StandsBehind(part.kind)});
}

void CNmeaEpochs::LeaveOutWaiting()
{
    for (const Waiting& waiting : m_waiting) {
        if (!waiting.isPlaced) {
            LeaveOut(waiting.part, kNotCertain);
        }
    }
    m_waiting.clear();
}

/// The attitude has a time of its own, and neither opens an epoch nor ends one.
void CNmeaEpochs::AddAttitude(const NmeaPart& part)
{
    if (!part.report.timeOfDay) {
        LeaveOut(part, " without a time");
        return;
    }
    m_comesAgain = m_latestAttitude.IsCopy(*part.report.timeOfDay) || m_comesAgain;
    if (m_epoch && IsSameTime(m_epoch->timeOfDay, *part.report.timeOfDay)) {
        AddAttitudeNow(part);
    } else {
        if (m_ahead) {
            LeaveOut(*m_ahead, kOfNoPosition);
        }
        m_ahead = part;
        m_placeOfAhead = m_waiting.size();
    }
}

void CNmeaEpochs::AddAttitudeNow(const NmeaPart& part)
{
    m_epoch->longestGap = std::max(m_epoch->longestGap, m_gap);
    if (m_epoch->standsStill || m_epoch->SaysOtherwise(part)) {
        LeaveOut(part, " whose time stands still");
    } else if (m_epoch->isSent) {
        const bool isRepeated = m_epoch->Find(part.kind) != nullptr;
        m_endsEarly = m_endsEarly && (isRepeated || !m_epoch->isSentEarly);
        LeaveOut(part, kLate);
    } else {
        Note(part);
        m_epoch->Add(part);
        EndEarly();
    }
}

void CNmeaEpochs::PlaceInEpoch(const NmeaPart& part)
{
    if (m_epoch->isSent) {
        LeaveOut(part, kLate);
    } else {
        m_epoch->Add(part);
    }
}

void CNmeaEpochs::LeaveOut(const NmeaPart& part, const char* why)
{
    m_leftOut.Add(std::string(NameOf(part.type)) + why, part.line);
}

/// Gives the epoch's sample, once.
void CNmeaEpochs::Send()
{
    if (!m_epoch->isSent) {
        m_epoch->isSent = true;
        m_finished.Take(*m_epoch);
    }
}
