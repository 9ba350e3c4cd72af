#include "tools/navctl/operations/Reply.h"

#include <cmath>
#include <limits>

#include "tools/navctl/Names.h"
#include "tools/navctl/operations/ValueText.h"

namespace {

constexpr std::size_t kVectorSize = 3;

/// The integer, unless it is one that no `int` holds and the link would cut.
std::optional<int> IntegerIn(const BElementC& reply)
{
    if (reply.Type() != EBElementType::Integer) {
        return std::nullopt;
    }
    const auto& atom = dynamic_cast<const BAtomC&>(reply);
    const int value = atom.IntValue();
    return atom.DoubleValue() == static_cast<double>(value) ? std::optional<int>(value)
                                                            : std::nullopt;
}

std::optional<double> NumberOfReply(const BElementC& reply)
{
    if (reply.Type() != EBElementType::Integer && reply.Type() != EBElementType::Double) {
        return std::nullopt;
    }
    return dynamic_cast<const BAtomC&>(reply).DoubleValue();
}

/// The numbers of a list that has at least so many, and at most.
std::optional<std::vector<double>>
ListOf(const BElementC& reply, std::size_t least,
       std::size_t most = std::numeric_limits<std::size_t>::max())
{
    if (reply.Type() != EBElementType::List) {
        return std::nullopt;
    }
    auto numbers = NumbersIn(reply);
    const bool isLong = numbers && numbers->size() >= least;
    return isLong && numbers->size() <= most ? numbers : std::nullopt;
}

/// A reader of what `find` finds in a reply, of which `make` makes the outcome.
template <typename Find, typename Make>
ReplyReader Reader(Find find, Make make)
{
    return [find, make](BElementC& reply) -> std::optional<COutcome> {
        const auto found = find(reply);
        return found ? std::optional<COutcome>(make(*found)) : std::nullopt;
    };
}

/// The outcome that is a value.
template <typename Found>
COutcome ValueOutcome(Found value)
{
    return {EOutcome::Value, value};
}

/// A distance in no more digits than micrometres take.
std::string Micrometres(double metres)
{
    constexpr double kMicrometresAMetre = 1e6;
    const double rounded = std::round(metres * kMicrometresAMetre) / kMicrometresAMetre;
    // Adding 0 makes a plain 0 of one with a minus sign.
    return NumberText(std::isfinite(rounded) ? rounded + 0.0 : metres);
}

COutcome VectorOutcome(EOutcome kind, const double* vector)
{
    // Adding 0 makes a plain 0 of one with a minus sign.
    const double x = vector[0] + 0.0;
    const double y = vector[1] + 0.0;
    const double z = vector[2] + 0.0;
    return {kind, Json::array({x, y, z}),
            "x " + Micrometres(x) + " m, y " + Micrometres(y) + " m, z " + Micrometres(z) + " m"};
}

void Append(BListC& list, const ArgumentValue& value)
{
    if (const auto* const flag = std::get_if<bool>(&value)) {
        list.AddInt(*flag ? 1 : 0);
    } else if (const auto* const integer = std::get_if<int>(&value)) {
        list.AddInt(*integer);
    } else if (const auto* const number = std::get_if<double>(&value)) {
        list.AddDouble(*number);
    } else if (const auto* const waylines =
                   std::get_if<std::vector<Kestrove::WaylinePtr>>(&value)) {
        for (const Kestrove::WaylinePtr& wayline : *waylines) {
            list.Add(wayline->ToBList());
        }
    }
}

std::unique_ptr<BListC> ListOf(const CExchange& exchange, const ArgumentValues& values)
{
    if (values.size() == 1 && std::holds_alternative<Kestrove::WaylinePtr>(values.front())) {
        return std::unique_ptr<BListC>(std::get<Kestrove::WaylinePtr>(values.front())->ToBList());
    }
    auto list = std::make_unique<BListC>(nullptr);
    for (const int constant : exchange.leading) {
        list->AddInt(constant);
    }
    for (const ArgumentValue& value : values) {
        Append(*list, value);
    }
    return list;
}

/// Whether a reply to a list of waylines has a value for each of them.
bool HasOneForEach(const Json& reply, const ArgumentValues& values)
{
    const auto* const waylines =
        values.empty() ? nullptr : std::get_if<std::vector<Kestrove::WaylinePtr>>(&values.front());
    return waylines == nullptr || reply.size() == waylines->size();
}

} // namespace

ReplyReader StatusReply()
{
    return [](BElementC& reply) { return StatusOutcome(IntegerIn(reply)); };
}

ReplyReader AcceptedReply()
{
    return Reader(IntegerIn, [](int status) {
        return COutcome{status == 0 ? EOutcome::Refused : EOutcome::Done};
    });
}

ReplyReader OneReply()
{
    return [](BElementC& reply) -> std::optional<COutcome> {
        const std::optional<int> value = IntegerIn(reply);
        // The service reserves the other numbers.
        const bool isSwitch = value == 0 || value == 1;
        return isSwitch ? std::optional(ValueOutcome(value == 1)) : std::nullopt;
    };
}

ReplyReader SwitchReply()
{
    return Reader(IntegerIn, [](int value) { return ValueOutcome(value != 0); });
}

ReplyReader IntegerReply()
{
    return Reader(IntegerIn, [](int value) { return ValueOutcome(value); });
}

ReplyReader NumberReply()
{
    return Reader(NumberOfReply, [](double value) { return ValueOutcome(value); });
}

ReplyReader SingleReply()
{
    return Reader(NumberOfReply, [](double value) {
        return ValueOutcome(NumberValue(static_cast<float>(value)));
    });
}

ReplyReader FirstSingleReply()
{
    return Reader([](const BElementC& reply) { return ListOf(reply, 1, 1); },
                  [](const std::vector<double>& numbers) {
                      return ValueOutcome(NumberValue(static_cast<float>(numbers.front())));
                  });
}

ReplyReader NumbersReply()
{
    return Reader([](const BElementC& reply) { return ListOf(reply, 0); },
                  [](const std::vector<double>& numbers) { return ValueOutcome(Json(numbers)); });
}

ReplyReader VectorReply()
{
    return Reader([](const BElementC& reply) { return ListOf(reply, kVectorSize, kVectorSize); },
                  [](const std::vector<double>& numbers) {
                      return VectorOutcome(EOutcome::Value, numbers.data());
                  });
}

ReplyReader StatusAndVectorReply()
{
    return [](BElementC& reply) -> std::optional<COutcome> {
        const auto numbers = ListOf(reply, 1);
        const auto* const list = dynamic_cast<const BListC*>(&reply);
        if (!numbers || list->TypeAt(0) != EBElementType::Integer) {
            return std::nullopt;
        }
        const std::optional<COutcome> outcome = StatusOutcome(list->GetInt(0));
        if (!outcome || outcome->kind != EOutcome::Done) {
            return outcome;
        }
        if (numbers->size() != 1 + kVectorSize) {
            return std::nullopt;
        }
        return VectorOutcome(EOutcome::Done, numbers->data() + 1);
    };
}

ReplyReader LimitsReply()
{
    return Reader([](const BElementC& reply) { return ListOf(reply, 3, 3); },
                  [](const std::vector<double>& limits) {
                      return COutcome{
                          EOutcome::Value,
                          {{"lowest", limits[0]}, {"start", limits[1]}, {"highest", limits[2]}},
                          "lowest " + NumberText(limits[0]) + ", start " + NumberText(limits[1]) +
                              ", highest " + NumberText(limits[2])};
                  });
}

ReplyReader WaylineReply()
{
    return [](BElementC& reply) -> std::optional<COutcome> {
        const auto numbers = ListOf(reply, 1);
        if (!numbers) {
            return std::nullopt;
        }
        const Kestrove::WaylinePtr wayline =
            Kestrove::CWayline::FromBList(dynamic_cast<BListC*>(&reply));
        if (!wayline) {
            return std::nullopt;
        }
        return COutcome{EOutcome::Value,
                        {{"kind", KindName(wayline->Type())}, {"text", wayline->ToString()}}};
    };
}

ReplyReader AnsweredReply()
{
    return Reader(IntegerIn, [](int) { return COutcome{EOutcome::Answered}; });
}

std::optional<std::vector<double>> NumbersIn(const BElementC& value)
{
    std::vector<double> numbers;
    const auto* const list = dynamic_cast<const BListC*>(&value);
    if (list == nullptr) {
        const std::optional<double> number = NumberOfReply(value);
        return number ? std::optional(std::vector<double>{*number}) : std::nullopt;
    }
    numbers.reserve(static_cast<std::size_t>(list->Size()));
    for (int place = 0; place < list->Size(); ++place) {
        const EBElementType type = list->TypeAt(place);
        if (type != EBElementType::Integer && type != EBElementType::Double) {
            return std::nullopt;
        }
        numbers.push_back(list->GetDouble(place));
    }
    return numbers;
}

std::vector<double> NumbersIn(const ArgumentValues& values, std::size_t first, std::size_t count)
{
    const CExchange noExchange;
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
    const ArgumentValues counted(begin, begin + static_cast<std::ptrdiff_t>(count));
    return NumbersIn(*ListOf(noExchange, counted)).value_or(std::vector<double>());
}

std::unique_ptr<BElementC> CallFor(CNavigationAPI& navigation, const std::string& serviceName,
                                   const CExchange& exchange, const ArgumentValues& values)
{
    const std::unique_ptr<BListC> arguments = ListOf(exchange, values);
    return std::unique_ptr<BElementC>(navigation.CallMethod(serviceName, arguments.get()));
}

COutcome Call(CNavigationAPI& navigation, const std::string& serviceName, const CExchange& exchange,
              const ArgumentValues& values)
{
    const std::unique_ptr<BElementC> reply = CallFor(navigation, serviceName, exchange, values);
    if (reply == nullptr) {
        return {EOutcome::NoAnswer};
    }
    const std::optional<COutcome> outcome = exchange.read(*reply);
    return outcome && HasOneForEach(outcome->value, values) ? *outcome
                                                            : COutcome{EOutcome::OtherForm};
}
