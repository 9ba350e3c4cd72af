#include "tools/navctl/feed/NmeaEpochs.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::int64_t kHalfDay = 12LL * 3600 * 1000;
constexpr double kSecondsOfADay = 86400.0;

bool HasTime(const std::string& type)
{
    return type == "GGA" || type == "RMC" || type == "GST";
}

} // namespace

std::optional<PositionSample> CNmeaEpochs::Add(const NmeaSentence& sentence,
                                               const NmeaReport& report, std::uint64_t line,
                                               NmeaProblem& problem)
{
    problem = {};
    if (!HasTime(sentence.type)) {
        AddUntimed(sentence, report);
        return std::nullopt;
    }
    if (!report.timeOfDay) {
        problem = {sentence.type + " without a time", line};
        return std::nullopt;
    }
    std::optional<PositionSample> finished;
    if (m_timeOfDay && *m_timeOfDay != *report.timeOfDay)
        finished = Flush(problem);
    if (m_isOver && *m_timeOfDay == *report.timeOfDay) {
        problem = {sentence.type + " after its sample was sent", line};
        return finished;
    }
    if (m_isOver) {
        m_parts = std::exchange(m_next, {});
        m_isOver = false;
    }
    if (m_timeOfDay != report.timeOfDay)
        m_firstLine = line;
    m_timeOfDay = report.timeOfDay;
    // A receiver of several systems may tell the same of each; the combined solution is GN's.
    const auto known = m_parts.find(sentence.type);
    if (known == m_parts.end() || known->second.talker != "GN" || sentence.talker == "GN")
        m_parts[sentence.type] = {sentence.talker, report};
    return finished;
}

/// One of a type that has come already begins the next moment: some receivers tell the heading
/// before the position.
void CNmeaEpochs::AddUntimed(const NmeaSentence& sentence, const NmeaReport& report)
{
    const bool isForNext = m_isOver || (m_timeOfDay && m_parts.count(sentence.type) != 0);
    (isForNext ? m_next : m_parts)[sentence.type] = {sentence.talker, report};
}

const CNmeaEpochs::Part* CNmeaEpochs::Find(const char* type) const
{
    const auto part = m_parts.find(type);
    return part == m_parts.end() ? nullptr : &part->second;
}

bool CNmeaEpochs::HasPosition() const
{
    return !m_isOver && m_timeOfDay && PlaceReport() != nullptr;
}

const NmeaReport* CNmeaEpochs::PlaceReport() const
{
    for (const char* const type : {"GGA", "RMC"}) {
        const Part* part = Find(type);
        if (part != nullptr && part->report.latitude)
            return &part->report;
    }
    return nullptr;
}

bool CNmeaEpochs::IsWhole() const
{
    return !m_lastTypes.empty() &&
           std::all_of(m_lastTypes.begin(), m_lastTypes.end(),
                       [this](const std::string& type) { return m_parts.count(type) != 0; });
}

std::optional<PositionSample> CNmeaEpochs::Flush(NmeaProblem& problem)
{
    problem = {};
    if (m_isOver || !m_timeOfDay)
        return std::nullopt;
    const NmeaReport* const place = PlaceReport();
    m_isOver = true;
    m_lastTypes.clear();
    for (const auto& [type, part] : m_parts)
        m_lastTypes.insert(type);
    const double time = UnixTime();
    if (place == nullptr) {
        problem = {"no position", m_firstLine};
        return std::nullopt;
    }
    const ETimeOrder order = m_order.Take(time);
    if (order == ETimeOrder::NotLater) {
        problem = {kNoLaterTime, m_firstLine};
        return std::nullopt;
    }
    PositionSample sample;
    sample.time = time;
    sample.startsAnew = order == ETimeOrder::NewStart;
    AddPlace(sample, *place);
    AddMovement(sample);
    return sample;
}

/// The time of the moment. The day comes from RMC; without it, a new day begins when the time of
/// day jumps back.
double CNmeaEpochs::UnixTime()
{
    if (m_lastTimeOfDay && *m_timeOfDay + kHalfDay < *m_lastTimeOfDay)
        ++m_day;
    const Part* rmc = Find("RMC");
    if (rmc != nullptr && rmc->report.day)
        SetDay(*rmc->report.day);
    m_lastTimeOfDay = m_timeOfDay;
    return static_cast<double>(m_day) * kSecondsOfADay + static_cast<double>(*m_timeOfDay) / 1000.0;
}

/// The first day that is told sets what was assumed before it right.
void CNmeaEpochs::SetDay(std::int64_t day)
{
    if (!m_dayIsTold) {
        m_correction = static_cast<double>(day - m_day) * kSecondsOfADay;
        m_order.Shift(m_correction);
    }
    m_dayIsTold = true;
    m_day = day;
}

void CNmeaEpochs::AddPlace(PositionSample& sample, const NmeaReport& place)
{
    sample.latitude = *place.latitude;
    sample.longitude = *place.longitude;
    if (place.geoidSeparation)
        m_lastSeparation = *place.geoidSeparation;
    if (place.altitude)
        m_lastHeight = *place.altitude + m_lastSeparation;
    sample.height = m_lastHeight;
    sample.fixQuality = place.fixQuality.value_or(0);
    sample.satellites = place.satellites.value_or(0);
    const Part* const rmc = Find("RMC");
    const bool isWarned = rmc != nullptr && rmc->report.fixQuality == 0;
    sample.positionValid = sample.fixQuality > 0 && !isWarned;
    if (const Part* gst = Find("GST")) {
        sample.sigmaNorth = gst->report.sigmaNorth;
        sample.sigmaEast = gst->report.sigmaEast;
        sample.sigmaUp = gst->report.sigmaUp;
    }
}

void CNmeaEpochs::AddMovement(PositionSample& sample) const
{
    for (const char* type : {"RMC", "VTG"}) {
        const Part* part = Find(type);
        if (part != nullptr && !sample.course)
            sample.course = part->report.course;
        if (part != nullptr && !sample.speed)
            sample.speed = part->report.speed;
    }
    if (const Part* hdt = Find("HDT"))
        sample.yaw = hdt->report.heading;
}
