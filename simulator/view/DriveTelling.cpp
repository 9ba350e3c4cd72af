#include "simulator/view/DriveTelling.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "simulator/http/WorldJson.h"
#include "simulator/world/Faults.h"

using Json = nlohmann::ordered_json;

namespace {

double NumberOf(const Json& value, double otherwise = 0.0)
{
    return value.is_number() ? value.get<double>() : otherwise;
}

double NumberOf(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found == object.end() ? 0.0 : NumberOf(*found);
}

bool IsSet(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

std::string TextOf(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// The payload of an event that has at least so many numbers; empty otherwise.
std::vector<double> NumbersOf(const Json& values, std::size_t least)
{
    std::vector<double> numbers;
    if (!values.is_array() || values.size() < least) {
        return {};
    }
    for (std::size_t index = 0; index < least; ++index) {
        numbers.push_back(NumberOf(values[index]));
    }
    return numbers;
}

int EngageStateFrom(const std::string& word)
{
    static const std::vector<std::string> words{"not ready", "ready", "engaged", "dropped"};
    const auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? 0 : static_cast<int>(found - words.begin());
}

EFix FixFrom(const std::string& word)
{
    static const std::vector<std::string> words{"none", "single", "differential", "float", "fixed"};
    const auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? EFix::Fixed : static_cast<EFix>(found - words.begin());
}

std::uint32_t FaultBit(const std::string& name)
{
    std::uint32_t bit = 1;
    for (const FaultKind& kind : FaultKinds()) {
        if (name == kind.name) {
            return bit;
        }
        bit <<= 1U;
    }
    return 0;
}

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

/// Of an operation, what it changes; nothing for what changes nothing that is marked.
std::optional<EHistoryMark> MarkOf(const std::string& operation)
{
    static const std::set<std::string> settings{"set_tuning_parameter", "SetTuningLimits",
                                                "RestoreSettings", "SetLookaheadTime",
                                                "SetImplementWidth"};
    if (operation == "Nudge" || operation == "AutoSetNudge") {
        return EHistoryMark::Nudge;
    }
    if (operation == "simulator_fault") {
        return EHistoryMark::Fault;
    }
    if (settings.count(operation) != 0) {
        return EHistoryMark::Tuning;
    }
    const bool isOfLine = Contains(operation, "ayline") && operation.compare(0, 3, "get") != 0 &&
                          operation.compare(0, 3, "Get") != 0 && operation.compare(0, 2, "Is") != 0;
    return isOfLine ? std::optional(EHistoryMark::Line) : std::nullopt;
}

} // namespace

void CDriveTelling::TakeState(double time, const Json& state)
{
    if (!state.is_object()) {
        return;
    }
    m_hasStates = true;
    m_now.pose = {{NumberOf(state, "x_m"), NumberOf(state, "y_m")}, NumberOf(state, "heading_rad")};
    m_now.implement = m_now.pose.position;
    m_now.implementHeading = m_now.pose.heading;
    m_now.speed = NumberOf(state, "speed_mps");
    m_now.isReverse = m_now.speed < 0.0;
    m_now.steeringAngle = NumberOf(state, "steering_angle_rad");
    m_now.desiredSteeringAngle = NumberOf(state, "desired_steering_angle_rad");
    const auto error = state.find("cross_track_error_m");
    m_now.crossTrackError = error != state.end() && error->is_number()
                                ? std::optional(error->get<double>())
                                : std::nullopt;
    m_now.isNavigating = IsSet(state, "navigating");
    m_now.drivesAgainst = IsSet(state, "drives_against");
    m_now.isFed = IsSet(state, "fed");
    m_now.fix = FixFrom(TextOf(state, "fix"));
    m_now.correctionAge = NumberOf(state, "correction_age_s");
    const double nudge = NumberOf(state, "nudge_m");
    if (nudge != m_now.nudge && m_count > 0) {
        char text[40];
        std::snprintf(text, sizeof text, "nudge %.4g cm", nudge * 100.0);
        m_marks.Mark(EHistoryMark::Nudge, time, text);
    }
    m_now.nudge = nudge;
    const auto faults = state.find("faults");
    TakeFaults(time, faults == state.end() ? Json::array() : *faults);
    // Where it tells no more than whether steering is engaged, it is not ready otherwise.
    const std::string word = IsSet(state, "engaged") ? "engaged" : TextOf(state, "state");
    TakeSteering(time, EngageStateFrom(word), TextOf(state, "drop_reason"));
    Add(time);
}

void CDriveTelling::TakeFaults(double time, const Json& names)
{
    std::uint32_t bits = 0;
    for (const Json& name : names) {
        bits |= name.is_string() ? FaultBit(name.get<std::string>()) : 0U;
    }
    for (const FaultKind& kind : FaultKinds()) {
        const std::uint32_t bit = FaultBit(kind.name);
        if ((bits & bit) != (m_now.faults & bit)) {
            m_marks.Mark(EHistoryMark::Fault, time,
                         std::string(kind.name) + ((bits & bit) != 0 ? " on" : " off"));
        }
    }
    m_now.faults = bits;
}

void CDriveTelling::TakeSteering(double time, int state, const std::string& reason)
{
    const int before = m_now.engageState;
    constexpr int engaged = static_cast<int>(EEngageState::Engaged);
    constexpr int dropped = static_cast<int>(EEngageState::Dropped);
    m_now.engageState = state;
    const bool wasKnown = std::exchange(m_knowsSteering, true);
    if (state == before || !wasKnown) {
        return;
    }
    if (state == engaged) {
        m_marks.Mark(EHistoryMark::Engaged, time, "engaged");
    } else if (state == dropped) {
        m_marks.Mark(EHistoryMark::Dropped, time, reason);
    } else if (before == engaged) {
        m_marks.Mark(EHistoryMark::Ended, time, "steering ended by hand");
    }
}

bool CDriveTelling::Wants(const CRecordedItem& item)
{
    if (item.kind == ERecorded::Event) {
        return item.name == "cb_relative_position" || item.name == "cb_guidance_status" ||
               item.name == "cb_engage_status";
    }
    return (item.kind == ERecorded::Request || item.kind == ERecorded::Notification) &&
           (item.name == "simulator_fault" || item.name == "Nudge");
}

void CDriveTelling::TakeItem(double time, const CRecordedItem& item)
{
    if (item.kind == ERecorded::Request || item.kind == ERecorded::Notification) {
        MarkCall(time, item);
    } else if (item.kind == ERecorded::Event && !m_hasStates && Wants(item)) {
        if (m_client == 0) {
            m_client = item.client;
        }
        if (item.client == m_client) {
            TakeEvent(time, item.name, item.value);
        }
    }
}

void CDriveTelling::MarkCall(double time, const CRecordedItem& item)
{
    const auto kind = MarkOf(item.name);
    const bool isKnown =
        m_hasStates && (kind == EHistoryMark::Nudge || kind == EHistoryMark::Fault);
    if (kind && !isKnown) {
        const std::string values =
            item.value.is_null()
                ? std::string()
                : " " + item.value.dump(-1, ' ', false, Json::error_handler_t::replace);
        m_marks.Mark(*kind, time, item.name + values);
    }
}

void CDriveTelling::TakeEvent(double time, const std::string& name, const Json& values)
{
    constexpr std::size_t flags = 5;
    if (name == "cb_guidance_status") {
        if (const auto numbers = NumbersOf(values, 3); !numbers.empty()) {
            m_now.pass = static_cast<int>(std::clamp(numbers[0], -30000.0, 30000.0));
            m_now.crossTrackError = numbers[1];
            m_now.headingError = numbers[2];
        }
    } else if (name == "cb_engage_status") {
        if (const auto numbers = NumbersOf(values, flags); !numbers.empty()) {
            m_now.isNavigating = numbers[2] != 0.0;
            m_now.isReverse = numbers[3] != 0.0;
            TakeSteering(time,
                         numbers[0] != 0.0   ? 2
                         : numbers[4] != 0.0 ? 3
                         : numbers[1] != 0.0 ? 1
                                             : 0,
                         "");
        }
    } else if (const auto numbers = NumbersOf(values, 3); !numbers.empty()) {
        const double passed = time - m_now.time;
        const Point place{numbers[0], numbers[1]};
        // Nothing tells the speed: it is that of the places.
        const bool isNext = m_count > 0 && passed > 0.0 && passed < 2.0;
        m_now.speed = isNext ? Distance(place, m_now.pose.position) / passed : m_now.speed;
        m_now.pose = {place, numbers[2]};
        m_now.implement = place;
        m_now.implementHeading = numbers[2];
        Add(time);
    }
}

void CDriveTelling::Add(double time)
{
    constexpr std::size_t bytes = HistorySample::kBytes;
    m_now.time = time;
    if (m_count++ % m_stride != 0) {
        return;
    }
    m_samples += BytesOf(m_now);
    if (m_samples.size() < kMostSamples * bytes) {
        return;
    }
    m_stride *= 2;
    for (std::size_t sample = 0; sample < kMostSamples / 2; ++sample) {
        const auto from = m_samples.begin() + static_cast<std::ptrdiff_t>(2 * sample * bytes);
        std::copy_n(from, bytes, m_samples.begin() + static_cast<std::ptrdiff_t>(sample * bytes));
    }
    m_samples.resize(kMostSamples / 2 * bytes);
}

HistoryView CDriveTelling::View() const
{
    constexpr std::size_t piece = CHistory::kPieceSamples * HistorySample::kBytes;
    HistoryView view = m_marks.View();
    std::size_t begin = 0;
    for (; begin + piece <= m_samples.size(); begin += piece) {
        view.pieces.push_back(std::make_shared<const std::string>(m_samples, begin, piece));
    }
    view.open = m_samples.substr(begin);
    return view;
}
