#include "tools/navctl/operations/Confirmation.h"

#include <algorithm>
#include <memory>

#include "tools/navctl/operations/ValueText.h"
#include "tools/navctl/wayline/WaylineContent.h"
#include "tools/navctl/wayline/WaylineReport.h"

namespace {

constexpr int kFirstArgument = CConfirmation::kFirstArgument;

/// The values that a setter sets.
struct CWanted
{
    std::vector<double> numbers;
    bool isWayline = false;
};

CWanted WantedOf(const COperation& setter, const CConfirmation& confirmation,
                 const ArgumentValues& values)
{
    const std::size_t count =
        setter.arguments.size() - confirmation.passed - (setter.MayPersist() ? 1 : 0);
    const EArgumentType type = setter.arguments[confirmation.passed].type;
    return {NumbersIn(values, confirmation.passed, count), type == EArgumentType::Wayline};
}

/// Whether a service that holds numbers in single precision at least would hold this one for that.
bool IsSameNumber(double held, double wanted)
{
    return held == wanted || static_cast<float>(held) == static_cast<float>(wanted);
}

bool IsSame(const std::vector<double>& held, const CWanted& wanted)
{
    // A coordinate in single precision may be a hand's breadth off: waylines must agree bit by bit.
    return wanted.isWayline ? held == wanted.numbers
                            : std::equal(held.begin(), held.end(), wanted.numbers.begin(),
                                         wanted.numbers.end(), IsSameNumber);
}

/// What a getter's reply holds, in words.
std::string TextOf(const COperation& getter, const COutcome& outcome, BElementC& reply)
{
    if (getter.name == "get-wayline") {
        const auto wayline = Kestrove::CWayline::FromBList(dynamic_cast<BListC*>(&reply));
        return WaylineWords(ContentOf(*wayline));
    }
    const std::string text = outcome.text.empty() ? ValueText(outcome.value) : outcome.text;
    // The one unit that is a word for things that are counted.
    const bool isOnePoint = getter.unit == "points" && text == "1";
    return getter.unit.empty() ? text : text + " " + (isOnePoint ? "point" : getter.unit);
}

/// Looks whether a value that is held is the wanted one at its limit.
void LookAtLimits(CNavigationAPI& navigation, int parameter, double heldNumber, double wanted,
                  CHeld& held)
{
    const COperation& getter = FindOperation("get-tuning-limits");
    const COutcome limits = Call(navigation, getter.serviceName, getter.exchange, {parameter});
    if (limits.kind != EOutcome::Value) {
        return;
    }
    const auto lowest = limits.value["lowest"].get<double>();
    const auto highest = limits.value["highest"].get<double>();
    const double nearest = wanted < lowest ? lowest : std::min(wanted, highest);
    if (!IsSameNumber(heldNumber, nearest)) {
        return;
    }
    held.state = CHeld::EState::Limited;
    held.limits = limits.text;
}

} // namespace

const CConfirmation* FindConfirmation(const std::string& setter)
{
    const std::vector<CConfirmation>& all = Confirmations();
    const auto found = std::find_if(all.begin(), all.end(), [&setter](const CConfirmation& each) {
        return each.setter == setter;
    });
    return found == all.end() ? nullptr : &*found;
}

CHeld AskWhatIsHeld(CNavigationAPI& navigation, const CConfirmation& confirmation,
                    const ArgumentValues& values)
{
    const COperation& getter = FindOperation(confirmation.getter);
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(confirmation.passed);
    const std::unique_ptr<BElementC> reply =
        CallFor(navigation, getter.serviceName, getter.exchange, {values.begin(), end});
    // That is how the service says that it has no wayline; of anything else it says nothing.
    if (reply == nullptr && navigation.LastError().code == ELinkError::NoValue &&
        getter.name == "get-wayline") {
        return {CHeld::EState::Another, {EOutcome::Value}, "no complete wayline"};
    }
    if (reply == nullptr) {
        return {CHeld::EState::Unknown, {EOutcome::NoAnswer}};
    }
    const std::optional<COutcome> outcome = getter.exchange.read(*reply);
    const auto numbers = NumbersIn(*reply);
    if (!outcome || !numbers) {
        return {CHeld::EState::Unknown, {EOutcome::OtherForm}};
    }
    const CWanted wanted = WantedOf(FindOperation(confirmation.setter), confirmation, values);
    CHeld held{CHeld::EState::Same, *outcome, TextOf(getter, *outcome, *reply)};
    if (IsSame(*numbers, wanted)) {
        return held;
    }
    held.state = CHeld::EState::Another;
    if (confirmation.limited != CConfirmation::kNone) {
        const int parameter = confirmation.limited == kFirstArgument ? std::get<int>(values.front())
                                                                     : confirmation.limited;
        LookAtLimits(navigation, parameter, numbers->front(), wanted.numbers.front(), held);
    }
    return held;
}
