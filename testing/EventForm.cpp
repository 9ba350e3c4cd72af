#include "testing/EventForm.h"

#include <algorithm>

#include "testing/Value.h"

namespace Kestrove::Testing {
namespace {

struct EventForm
{
    const char* name;
    int elements;
    bool mayBeMore;
};

/// The events of the service, and how many elements they have, each a number.
const EventForm kEvents[] = {
    {"cb_engage_status", 5, false},
    {"cb_guidance_status", 4, false},
    {"cb_offsets", 1, false},
    {"cb_wayline_status", 5, true},
    {"cb_implement_width_changed", 1, true},
    {"cb_relative_position", 3, true},
    {"cb_tuning_parameter_changed", 2, true},
    {"cb_draw_points", 1, true},
};

/// How many points to draw an event announces; 0 for another event.
int PointsAnnounced(const EventForm& form, const BListC& payload)
{
    const bool hasPoints = form.name == std::string("cb_draw_points") && payload.Size() > 0;
    return hasPoints ? payload.GetInt(0) : 0;
}

/// How many elements the event must have; of points to draw, two for each that is announced.
int ElementsNeeded(const EventForm& form, const BListC& payload)
{
    constexpr int kMostPoints = 1'000'000; // so that no announcement overflows
    return form.elements + 2 * std::clamp(PointsAnnounced(form, payload), 0, kMostPoints);
}

bool IsNumber(EBElementType type)
{
    return type == EBElementType::Integer || type == EBElementType::Double;
}

/// What is wrong with an event of the service, in words that "pushed" precedes; empty for nothing.
std::string Fault(const EventForm& form, const BListC& payload)
{
    const int needed = ElementsNeeded(form, payload);
    for (int place = 0; place < std::min(needed, payload.Size()); ++place) {
        if (!IsNumber(payload.TypeAt(place))) {
            return "with something else than a number as element " + std::to_string(place + 1);
        }
    }
    if (PointsAnnounced(form, payload) < 0) {
        return "with a negative number of points";
    }
    if (payload.Size() < needed) {
        return "with too few elements, of " + std::to_string(needed);
    }
    if (payload.Size() > needed && !form.mayBeMore) {
        return "with too many elements, of " + std::to_string(needed);
    }
    return {};
}

} // namespace

std::string ProblemOfPush(const std::string& event, const BListC& payload, std::size_t subscribers)
{
    const auto* const form =
        std::find_if(std::begin(kEvents), std::end(kEvents),
                     [&](const EventForm& candidate) { return event == candidate.name; });
    const bool isKnown = form != std::end(kEvents);
    const std::string push = event + ' ' + Describe(payload) + '\n';
    if (subscribers == 0) {
        return (isKnown ? "pushed without a subscriber: "
                        : "pushed without a subscriber, and no event of the service: ") +
               push;
    }
    if (!isKnown) {
        return {};
    }
    const std::string fault = Fault(*form, payload);
    return fault.empty() ? fault : "pushed " + fault + ": " + push;
}

} // namespace Kestrove::Testing
