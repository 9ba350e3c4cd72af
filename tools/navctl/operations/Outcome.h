#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_OUTCOME_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_OUTCOME_H

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "tools/navctl/Context.h"
#include "tools/navctl/operations/Argument.h"

/// What an operation that passed the link has come to.
enum class EOutcome
{
    Done,      ///< the service did it
    Refused,   ///< the service refused
    Value,     ///< the service gave a value
    Sent,      ///< it was sent; nothing shows whether the service took it
    Answered,  ///< the service answered, but the operation does not show what
    NoAnswer,  ///< the link failed
    OtherForm, ///< the reply is of another form than the operation's
};

/// An outcome with what the service gave.
struct COutcome
{
    EOutcome kind;
    Json value = nullptr; ///< null for an outcome without a value
    std::string text{};   ///< the value in words; empty where ValueText() does
};

/// The value of an argument as an operation takes it.
template <typename Wanted>
Wanted As(const ArgumentValue& value)
{
    if constexpr (std::is_same_v<Wanted, float>) {
        return static_cast<float>(std::get<double>(value));
    } else if constexpr (std::is_enum_v<Wanted>) {
        return static_cast<Wanted>(std::get<int>(value));
    } else {
        return std::get<Wanted>(value);
    }
}

/// A number as JSON. A float in the digits that make it, which a double in its place would not
/// have.
Json NumberValue(float value);

/// Carries out an operation that waits for no reply.
using Invocation = std::function<void(CNavigationAPI&, const ArgumentValues&)>;

namespace Detail {

template <typename Result, typename... Arguments, std::size_t... Places>
void Send(CNavigationAPI& navigation, Result (CNavigationAPI::*operation)(Arguments...),
          const ArgumentValues& values, std::index_sequence<Places...>)
{
    (navigation.*operation)(As<std::decay_t<Arguments>>(values.at(Places))...);
}

} // namespace Detail

/// The outcome of a status: 1 done, 0 refused; nothing for any other number and for none.
std::optional<COutcome> StatusOutcome(std::optional<int> status);

/// A notification. Its result, where it has one, shows no more than the link does.
template <typename Result, typename... Arguments>
Invocation Sent(Result (CNavigationAPI::*operation)(Arguments...))
{
    return [operation](CNavigationAPI& navigation, const ArgumentValues& values) {
        Detail::Send(navigation, operation, values, std::index_sequence_for<Arguments...>());
    };
}

/// A notification of a vector, whose components are arguments of their own.
template <typename Result>
Invocation Sent(Result (CNavigationAPI::*operation)(const Core::Maths::Vector3<double>&))
{
    return [operation](CNavigationAPI& navigation, const ArgumentValues& values) {
        (navigation.*
         operation)({As<double>(values.at(0)), As<double>(values.at(1)), As<double>(values.at(2))});
    };
}

#endif
