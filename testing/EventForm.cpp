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

/// The events of the service, and how many elements they have.
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

/// How many elements the event must have; of points to draw, two for each that is announced.
int ElementsNeeded(const EventForm& form, const BListC& payload)
{
    constexpr int kMostPoints = 1'000'000; // so that no announcement overflows
    const bool hasPoints = form.name == std::string("cb_draw_points") && payload.Size() > 0;
    const int points = hasPoints ? std::clamp(payload.GetInt(0), 0, kMostPoints) : 0;
    return form.elements + 2 * points;
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
    const int needed = ElementsNeeded(*form, payload);
    if (payload.Size() < needed) {
        return "pushed with too few elements, of " + std::to_string(needed) + ": " + push;
    }
    if (payload.Size() > needed && !form->mayBeMore) {
        return "pushed with too many elements, of " + std::to_string(needed) + ": " + push;
    }
    return {};
}

} // namespace Kestrove::Testing
