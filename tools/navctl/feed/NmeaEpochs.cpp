#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>

namespace {

constexpr std::int64_t kMillisecondsADay = 86400000;
/// Times that differ by less are one: receivers round.
constexpr std::int64_t kSameTime = 10;
/// So many sentences without a time are kept until one with a time comes.
constexpr std::size_t kMostWaiting = 64;
constexpr std::size_t kMostRecent = 64;
/// A kind that has not come for so many epochs is not waited for.
constexpr std::uint64_t kEpochsToWaitFor = 3;

/// A pause is a fifth of the period at least, and three times as long as any other rest.
constexpr double kLeastPause = 0.2;
constexpr double kPauseToOtherRests = 3.0;
/// How much earlier or later than by its own time a burst may come for its rests to say something,
/// and how soon behind a time a sentence must follow, both of a period. A sentence of the next
/// burst comes a period behind that time.
constexpr double kMostDelay = 0.25;
constexpr double kSoon = 0.5;

/// How long a stream must rest for the burst being over, when every kind has come that came of
/// late: long enough for one that is not told each time.
constexpr double kRestOfWholeBurst = 0.03;
/// The same when something is missing. A slow line takes 85 ms a sentence (82 characters at 9600
/// baud), and receivers rest between the sentences of a burst.
constexpr double kRestOfBurst = 0.25;
constexpr double kLongestRestOfBurst = 1.5;

constexpr const char* kNotCertain = " whose time is not certain";
constexpr const char* kLate = " after its sample was sent";

std::int64_t Step(std::int64_t from, std::int64_t to)
{
    return (to - from + kMillisecondsADay) % kMillisecondsADay;
}

bool IsSameTime(std::int64_t left, std::int64_t right)
{
    const std::int64_t step = Step(left, right);
    return std::min(step, kMillisecondsADay - step) <= kSameTime;
}

} // namespace

NmeaKind KindOf(const NmeaSentence& sentence, ENmeaType type, const NmeaReport& report)
{
    const auto character = [&sentence](std::size_t place) -> NmeaKind {
        return place < sentence.talker.size() ? static_cast<unsigned char>(sentence.talker[place])
                                              : 0U;
    };
    return character(0) << 24U | character(1) << 16U | static_cast<NmeaKind>(type) << 8U |
           report.systemId;
}

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
        // Nothing is told by where it stands: the rest before it counts for what follows.
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
    LeaveOut(part, " without a time");
    // Of one that had a time before it is not known which epoch it is of, and what follows it.
    m_isBroken = m_isBroken || !m_epoch ||
                 std::any_of(m_recent.begin(), m_recent.end(), [&part](const RecentKind& recent) {
                     return recent.kind == part.kind;
                 });
}

/// A sentence of the epoch's time: what came since the last one is of that time, too.
void CNmeaEpochs::Join(const NmeaPart& part)
{
    Epoch& epoch = *m_epoch;
    const bool isRepeated = Has(part.kind);
    epoch.isRepeated = epoch.isRepeated || isRepeated;
    for (const Waiting& waiting : m_waiting) {
        epoch.longestGap = std::max(epoch.longestGap, waiting.gap);
        if (!waiting.isPlaced) {
            PlaceInEpoch(waiting.part, EHow::ItsTime);
        }
    }
    m_waiting.clear();
    m_isBroken = false;
    epoch.longestGap = std::max(epoch.longestGap, m_gap);
    epoch.lastTimedArrival = part.arrival;
    if (!epoch.isRepeated) {
        for (const auto& [kind, isByPause] : epoch.shown) {
            m_order.Show(kind, part.kind, false, isByPause);
        }
        epoch.timedKinds.push_back(part.kind);
    }
    if (!epoch.isSent) {
        AddPart(part, EHow::ItsTime);
    } else {
        Late(part);
        m_endsEarly = m_endsEarly && (isRepeated || !epoch.isSentEarly);
        if (part.report.day) {
            m_day.Set(*part.report.day);
        }
    }
    EndEarly();
}

/// A sentence of another time: the epoch is over.
void CNmeaEpochs::Open(const NmeaPart& part)
{
    const std::int64_t time = *part.report.timeOfDay;
    const std::int64_t step = m_epoch ? Step(m_epoch->timeOfDay, time) : 0;
    const bool isOneStep = m_epoch && !m_isBroken && m_period.IsOneStep(step);
    const bool isPaced = isOneStep && IsPaced(part);
    const bool isByPause = FindCut(part, isOneStep).value_or(Cut{0, false}).isByPause;
    const std::vector<NmeaPart> leading = TakeLeading(part, isOneStep);
    if (m_epoch) {
        Send();
        m_longestGap = std::max(0.9 * m_longestGap, m_epoch->longestGap);
        m_period.Learn(step);
    }
    m_isBroken = false;
    ++m_epochNumber;
    Note(part);
    m_epoch.emplace();
    m_epoch->timeOfDay = time;
    m_epoch->firstLine = leading.empty() ? part.line : leading.front().line;
    m_epoch->firstArrival = m_epoch->lastTimedArrival = part.arrival;
    m_epoch->isPaced = isPaced;
    for (const NmeaPart& first : leading) {
        AddPart(first, EHow::ItsTime);
        m_epoch->shown.emplace_back(first.kind, isByPause);
    }
    m_epoch->timedKinds.push_back(part.kind);
    AddPart(part, EHow::ItsTime);
    if (m_ahead && IsSameTime(*m_ahead->report.timeOfDay, time)) {
        AddPart(*m_ahead, EHow::ItsTime);
    } else if (m_ahead) {
        LeaveOut(*m_ahead, " of another time than a position");
    }
    m_ahead.reset();
    EndEarly();
}

void CNmeaEpochs::AddUntimed(const NmeaPart& part)
{
    Note(part);
    if (m_waiting.size() >= kMostWaiting) {
        for (const Waiting& waiting : m_waiting) {
            if (!waiting.isPlaced) {
                LeaveOut(waiting.part, kNotCertain);
            }
        }
        m_waiting.clear();
        m_isBroken = true;
    }
    double gapInBurst = m_gap;
    bool isFirst = true;
    bool isLast = true;
    for (const Waiting& waiting : m_waiting) {
        gapInBurst = std::max(gapInBurst, waiting.gap);
        isFirst = isFirst && waiting.part.kind != part.kind;
        isLast = isLast && waiting.isPlaced;
    }
    const bool isLive = part.arrival && m_epoch && !m_isBroken && isFirst;
    if (isLive && isLast && BeginsTheNext(part.kind)) {
        Send();
    }
    const double period = m_period.Seconds();
    const bool isSoon = isLive && m_epoch->isPaced && m_epoch->lastTimedArrival &&
                        *part.arrival - *m_epoch->lastTimedArrival < kSoon * period;
    const bool isPlaced = isSoon && StandsBehind(part.kind, gapInBurst < kLeastPause * period);
    m_waiting.push_back({part, m_gap, isPlaced});
    if (isPlaced) {
        PlaceInEpoch(part, EHow::Learned);
        EndEarly();
    }
}

/// The attitude has a time of its own, and neither opens an epoch nor ends one.
void CNmeaEpochs::AddAttitude(const NmeaPart& part)
{
    if (!part.report.timeOfDay) {
        LeaveOut(part, " without a time");
    } else if (m_epoch && IsSameTime(m_epoch->timeOfDay, *part.report.timeOfDay)) {
        m_epoch->longestGap = std::max(m_epoch->longestGap, m_gap);
        if (m_epoch->isSent) {
            m_endsEarly = m_endsEarly && (Has(part.kind) || !m_epoch->isSentEarly);
            Late(part);
            return;
        }
        Note(part);
        AddPart(part, EHow::ItsTime);
        EndEarly();
    } else {
        if (m_ahead) {
            LeaveOut(*m_ahead, " of another time than a position");
        }
        m_ahead = part;
        m_placeOfAhead = m_waiting.size();
    }
}

void CNmeaEpochs::PlaceInEpoch(const NmeaPart& part, EHow how)
{
    if (how != EHow::Learned && !m_epoch->isRepeated) {
        for (const NmeaKind timed : m_epoch->timedKinds) {
            m_order.Show(part.kind, timed, true, how == EHow::Pause);
        }
        m_epoch->shown.emplace_back(part.kind, how == EHow::Pause);
    }
    if (m_epoch->isSent) {
        Late(part);
    } else {
        AddPart(part, how);
    }
}

void CNmeaEpochs::AddPart(const NmeaPart& part, EHow)
{
    ++m_epoch->sources;
    const auto known =
        std::find_if(m_epoch->parts.begin(), m_epoch->parts.end(), [&part](const NmeaPart& other) {
            return other.kind == part.kind && part.type != ENmeaType::Gsa;
        });
    // A burst that is repeated says the same once more; a position counts more than none.
    if (known == m_epoch->parts.end()) {
        m_epoch->parts.push_back(part);
    } else if (!known->report.latitude || part.report.latitude) {
        *known = part;
    }
}

/// Gives what came between two times to the one or the other, and what is not certain to neither.
///
/// @return what belongs to the next time.
std::vector<NmeaPart> CNmeaEpochs::TakeLeading(const NmeaPart& next, bool isOneStep)
{
    std::vector<NmeaPart> leading;
    const std::optional<Cut> cut = FindCut(next, isOneStep);
    for (std::size_t i = 0; i < m_waiting.size(); ++i) {
        const Waiting& waiting = m_waiting[i];
        const NmeaKind kind = waiting.part.kind;
        const bool isSingle =
            std::count_if(m_waiting.begin(), m_waiting.end(),
                          [kind](const Waiting& other) { return other.part.kind == kind; }) == 1;
        const EPlace cutPlace = !cut             ? EPlace::Unknown
                                : i < cut->place ? EPlace::This
                                                 : EPlace::Next;
        if (!isOneStep || !isSingle) {
            if (isOneStep) {
                // Told more often than the time: its place in the burst says nothing.
                m_order.Forget(kind);
            }
            if (!waiting.isPlaced) {
                LeaveOut(waiting.part, kNotCertain);
            }
            continue;
        }
        bool isByPause = false;
        const EPlace orderPlace = PlaceByOrder(kind, next.kind, isByPause);
        if (cut && !m_epoch->isRepeated) {
            if (cutPlace == EPlace::Next) {
                m_order.Show(kind, next.kind, false, cut->isByPause);
            } else {
                for (const NmeaKind timed : m_epoch->timedKinds) {
                    m_order.Show(kind, timed, true, cut->isByPause);
                }
            }
        }
        EPlace place = orderPlace;
        if (cut && !cut->isByPause) {
            place = cutPlace;
        } else if ((cut || isByPause) && cutPlace != orderPlace) {
            place = EPlace::Unknown;
        }
        if (waiting.isPlaced) {
            continue;
        }
        if (place == EPlace::Next) {
            leading.push_back(waiting.part);
        } else if (place == EPlace::This) {
            m_epoch->longestGap = std::max(m_epoch->longestGap, waiting.gap);
            PlaceInEpoch(waiting.part, EHow::Learned);
        } else {
            LeaveOut(waiting.part, kNotCertain);
        }
    }
    m_waiting.clear();
    return leading;
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

/// Of which of two neighbouring epochs a sentence between them is, by what was learned: not of this
/// one when it stands before a sentence that this one has already, and not of the next one when it
/// stands behind the sentence that the next one begins with.
CNmeaEpochs::EPlace CNmeaEpochs::PlaceByOrder(NmeaKind kind, NmeaKind next, bool& isByPause) const
{
    isByPause = true;
    const std::optional<CBurstOrder::Place> inNext = m_order.PlaceOf(kind, next);
    const bool isNotOfNext = inNext && inNext->isBehind;
    if (isNotOfNext) {
        isByPause = inNext->isByPauseAlone;
    }
    bool isNotOfThis = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        const std::optional<CBurstOrder::Place> here = m_order.PlaceOf(kind, timed);
        if (here && !here->isBehind) {
            isNotOfThis = true;
            isByPause = isByPause && here->isByPauseAlone;
        }
    }
    if (isNotOfThis == isNotOfNext) {
        return EPlace::Unknown;
    }
    return isNotOfNext ? EPlace::This : EPlace::Next;
}

/// Whether a sentence that has followed the epoch's time so soon is of that epoch.
bool CNmeaEpochs::StandsBehind(NmeaKind kind, bool isGapShort) const
{
    bool isBehind = false;
    for (const NmeaKind timed : m_epoch->timedKinds) {
        const std::optional<CBurstOrder::Place> place = m_order.PlaceOf(kind, timed);
        if (place && !place->isBehind) {
            return false;
        }
        isBehind = isBehind || (place && (isGapShort || !place->isByPauseAlone));
    }
    return isBehind;
}

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

/// Sends a live sample as soon as all has come that is to come for it.
void CNmeaEpochs::EndEarly()
{
    if (m_lastHeard && m_endsEarly && !m_epoch->isSent && IsWhole() &&
        HasPosition(m_epoch->parts)) {
        m_epoch->isSentEarly = true;
        Send();
    }
}

/// Whether every kind has come that came of late and can still come for this epoch.
bool CNmeaEpochs::IsWhole() const
{
    return m_epochNumber > kEpochsToWaitFor &&
           std::all_of(m_recent.begin(), m_recent.end(), [this](const RecentKind& recent) {
               const bool isAwaited = recent.epoch + kEpochsToWaitFor >= m_epochNumber &&
                                      (HasTime(recent.type) || StandsBehind(recent.kind, true));
               return !isAwaited || Has(recent.kind);
           });
}

bool CNmeaEpochs::Has(NmeaKind kind) const
{
    return std::any_of(m_epoch->parts.begin(), m_epoch->parts.end(),
                       [kind](const NmeaPart& part) { return part.kind == kind; });
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

std::optional<double> CNmeaEpochs::EndsAt() const
{
    if (!m_lastHeard || !m_epoch || m_epoch->isSent || !HasPosition(m_epoch->parts)) {
        return std::nullopt;
    }
    const double shortest = IsWhole() ? kRestOfWholeBurst : kRestOfBurst;
    const double rest = std::max(shortest, 2.0 * std::max(m_longestGap, m_epoch->longestGap));
    const double most = m_period.Seconds() > 0.0 ? kLongestRestOfBurst * m_period.Seconds() : rest;
    return *m_lastHeard + std::min(rest, std::max(most, kRestOfWholeBurst));
}

void CNmeaEpochs::EndAtPause()
{
    Send();
}

void CNmeaEpochs::Flush()
{
    for (const Waiting& waiting : m_waiting) {
        if (!waiting.isPlaced) {
            LeaveOut(waiting.part, kNotCertain);
        }
    }
    m_waiting.clear();
    if (m_ahead) {
        LeaveOut(*m_ahead, " of another time than a position");
    }
    m_ahead.reset();
    if (m_epoch) {
        Send();
    }
    m_epoch.reset();
}

void CNmeaEpochs::LeaveOut(const NmeaPart& part, const char* why)
{
    m_leftOut.Add(std::string(NameOf(part.type)) + why, part.line);
}

void CNmeaEpochs::Late(const NmeaPart& part)
{
    LeaveOut(part, kLate);
}

/// Gives the epoch's sample, once.
void CNmeaEpochs::Send()
{
    Epoch& epoch = *m_epoch;
    if (epoch.isSent) {
        return;
    }
    epoch.isSent = true;
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
    sample->startsAnew = order == ETimeOrder::NewStart;
    m_samples.push_back(*sample);
}
