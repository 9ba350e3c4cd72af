#include "tools/navctl/watch/Lightbar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "tools/navctl/TextWrap.h"

namespace {

/// From which cross-track error on a lamp is lit, metres; the first lamp is the one next to the
/// middle. Fine where the machine is held, coarse where it comes onto the line.
constexpr std::array<double, 10> kLitFrom{0.02, 0.05, 0.10, 0.15, 0.20, 0.30, 0.45, 0.65, 1.0, 1.5};
constexpr int kMostLamps = static_cast<int>(kLitFrom.size());
constexpr int kFewestLamps = 3; // on each side
/// The brackets, the middle between its spaces, and the gap before the words.
constexpr int kColumnsBesideLamps = 2 + 3 + 2;
constexpr double kCentimetresAMetre = 100.0;
/// Lamps that are lit from further out than the first of them are red, the others amber.
constexpr std::size_t kFirstRedLamp = 5;

const char* const kGreen = "\033[32m";
const char* const kAmber = "\033[33m";
const char* const kRed = "\033[31m";
const char* const kPlain = "\033[0m";

std::string Painted(const CLightbar::Style& style, const char* colour, const std::string& text)
{
    return style.colours ? colour + text + kPlain : text;
}

std::string Lamp(const CLightbar::Style& style, std::size_t place, bool isLit)
{
    std::string lamp = style.utf8 ? (isLit ? "●" : "·") : (isLit ? "#" : ".");
    if (!isLit) {
        return lamp;
    }
    return Painted(style, place < kFirstRedLamp ? kAmber : kRed, lamp);
}

std::string Distance(double crossTrackError)
{
    const double size = std::abs(crossTrackError);
    const char* const side = crossTrackError > 0.0 ? "right" : "left";
    char text[40];
    if (size < kLitFrom.back()) {
        std::snprintf(text, sizeof text, "%5.1f cm %-5s", size * kCentimetresAMetre, side);
    } else {
        std::snprintf(text, sizeof text, "%5.1f m  %-5s", size, side);
    }
    return text;
}

} // namespace

std::vector<const CEventKind*> CLightbar::Kinds()
{
    return {FindEventKind("guidance-status"), FindEventKind("engage-status"),
            FindEventKind("wayline-status")};
}

void CLightbar::Take(const CEvent& event)
{
    m_linkProblem.clear();
    m_silentSeconds = 0;
    const std::string name = event.name;
    if (name == "guidance-status") {
        m_crossTrackError = event.fields["cross_track_error_m"].get<double>();
        m_pass = event.fields["pass"].get<int>();
    } else if (name == "engage-status") {
        m_isEngaged = event.fields["engaged"].get<bool>();
        m_isPossible = event.fields["possible"].get<bool>();
        m_isNavigating = event.fields["navigation_active"].get<bool>();
        m_isDropped = event.fields["dropped"].get<bool>();
    } else if (name == "wayline-status") {
        m_hasWayline = event.fields["complete"].get<bool>();
    }
}

void CLightbar::LoseLink(const std::string& reason)
{
    *this = CLightbar();
    m_linkProblem = reason;
}

std::string CLightbar::Draw(const Style& style) const
{
    const std::string state = State();
    const int columnsLeft = style.columns - kColumnsBesideLamps - static_cast<int>(state.size());
    // The last column stays free for the cursor.
    const int room = style.columns > 0 ? (columnsLeft - 1) / 2 : kMostLamps;
    // A terminal that is too narrow shows the words, which say the same.
    if (room < kFewestLamps) {
        return WrappedProse(state, static_cast<std::size_t>(style.columns - 1));
    }
    return Lamps(style, static_cast<std::size_t>(std::min(room, kMostLamps))) + "  " + state;
}

std::string CLightbar::Lamps(const Style& style, std::size_t lampsOnASide) const
{
    const bool isOn =
        m_isNavigating.value_or(false) && m_crossTrackError.has_value() && m_silentSeconds == 0;
    const double error = isOn ? *m_crossTrackError : 0.0;
    std::string left;
    std::string right;
    for (std::size_t number = 0; number < lampsOnASide; ++number) {
        // Of fewer lamps the first and the last are the same.
        const std::size_t place = number * (kLitFrom.size() - 1) / (lampsOnASide - 1);
        left.insert(0, Lamp(style, place, -error >= kLitFrom[place]));
        right += Lamp(style, place, error >= kLitFrom[place]);
    }
    const bool isOnLine = isOn && std::abs(error) < kLitFrom.front();
    const std::string lit = style.utf8 ? "●" : "#";
    const std::string unlit = style.utf8 ? "○" : "o";
    const std::string middle = isOnLine ? Painted(style, kGreen, lit) : unlit;
    return "[" + left + " " + middle + " " + right + "]";
}

std::string CLightbar::State() const
{
    if (!m_linkProblem.empty()) {
        return "no service: " + m_linkProblem;
    }
    if (m_silentSeconds > 0) {
        return "no event for " + std::to_string(m_silentSeconds) + " s";
    }
    if (!m_isNavigating) {
        return "waiting for the service";
    }
    if (!*m_isNavigating) {
        return m_hasWayline ? "navigation is not active" : "no wayline";
    }
    const char* const steering = m_isEngaged    ? "ENGAGED"
                                 : m_isDropped  ? "DROPPED"
                                 : m_isPossible ? "ready"
                                                : "cannot engage";
    return Distance(m_crossTrackError.value_or(0.0)) + "  pass " + std::to_string(m_pass) + "  " +
           steering;
}
