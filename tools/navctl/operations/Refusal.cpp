#include "tools/navctl/operations/Refusal.h"

#include <charconv>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

#include "tools/navctl/operations/Confirmation.h"
#include "tools/navctl/operations/ValueText.h"

namespace {

/// Whether a number lies in a range that is given as "0.1 to 100"; true for any other words.
bool LiesIn(const std::string& range, double number)
{
    double lowest = 0.0;
    double highest = 0.0;
    const char* const end = range.data() + range.size();
    const auto first = std::from_chars(range.data(), end, lowest);
    const std::string between = " to ";
    const std::size_t place = static_cast<std::size_t>(first.ptr - range.data());
    if (first.ec != std::errc() || range.compare(place, between.size(), between) != 0) {
        return true;
    }
    const auto second = std::from_chars(first.ptr + between.size(), end, highest);
    return second.ec != std::errc() || (number >= lowest && number <= highest);
}

/// How far the service is with what it was asked to keep; nothing when it does not say so.
std::optional<int> KeepingOf(CNavigationAPI& navigation)
{
    const std::unique_ptr<BElementC> reply(navigation.CallMethod("simulator_keeps", nullptr));
    const auto* const keeps = dynamic_cast<const BAtomC*>(reply.get());
    const bool isInteger = keeps != nullptr && keeps->Type() == EBElementType::Integer;
    return isInteger ? std::optional(keeps->IntValue()) : std::nullopt;
}

} // namespace

std::string WhyRefused(CNavigationAPI& navigation, const std::string& serviceName)
{
    BListC arguments(nullptr);
    arguments.AddString(serviceName);
    const std::unique_ptr<BElementC> reply(navigation.CallMethod("why_refused", &arguments));
    const auto* const text = dynamic_cast<const BAtomC*>(reply.get());
    const bool isReason = text != nullptr && text->Type() == EBElementType::String;
    return isReason ? text->StringValue() : std::string();
}

std::string OutsideOfRange(const COperation& operation, const ArgumentValues& values,
                           const char* range)
{
    for (std::size_t place = 0; place < values.size(); ++place) {
        const CArgument& argument = operation.arguments[place];
        const auto* const integer = std::get_if<int>(&values[place]);
        const auto* const number = std::get_if<double>(&values[place]);
        if (integer == nullptr && number == nullptr) {
            continue;
        }
        const double value = number != nullptr ? *number : static_cast<double>(*integer);
        if (!LiesIn(argument.range, value)) {
            return "the " + argument.name + " " + NumberText(value) + " is outside " + range +
                   ", " + argument.range + (argument.unit.empty() ? "" : " " + argument.unit);
        }
    }
    return {};
}

std::string ReasonOfRefusal(CNavigationAPI& navigation, const COperation& operation,
                            const ArgumentValues& values)
{
    std::string reason = WhyRefused(navigation, operation.serviceName);
    if (reason.empty()) {
        reason = OutsideOfRange(operation, values);
    }
    if (FindConfirmation(operation.name) != nullptr) {
        return reason.empty() ? "it gives no reason" : reason;
    }
    // An action depends on the state, of which the doctor shows more, and the next step.
    const bool hasMore =
        operation.name == "engage-steering" || operation.name == "start-navigation";
    if (!reason.empty() && !hasMore) {
        return reason;
    }
    return reason + (reason.empty() ? "" : "; ") + "\"navctl doctor\" tells what is missing";
}

std::string WhyForgotten(CNavigationAPI& navigation)
{
    constexpr int kSaving = 2;
    constexpr std::chrono::milliseconds kLongestWait(1000);
    constexpr std::chrono::milliseconds kBetweenQuestions(10);
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    std::optional<int> keeps = KeepingOf(navigation);
    while (keeps == kSaving && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kBetweenQuestions);
        keeps = KeepingOf(navigation);
    }
    if (keeps == 0) {
        return "the service keeps nothing over a restart; the value holds until it ends "
               "(navigation-simulator keeps with --state FILE)";
    }
    if (keeps == -1) {
        return "the service could not save the value, so that it may not outlive a restart; its "
               "log says why";
    }
    if (keeps == kSaving) {
        return "the service has not saved the value yet, so that it may not outlive a restart";
    }
    return {};
}
