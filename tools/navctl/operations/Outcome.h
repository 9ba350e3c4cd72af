#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_OUTCOME_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_OUTCOME_H

#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tools/navctl/Context.h"
#include "tools/navctl/operations/Argument.h"

/// What an operation that passed the link has come to.
enum class EOutcome
{
    Done,     ///< the service did it
    Refused,  ///< the service refused
    Value,    ///< the service gave a value
    Sent,     ///< it was sent; nothing tells whether the service took it
    Answered, ///< the service answered, but the operation does not tell what
    NoAnswer, ///< the link failed, or the reply is of a form that the operation does not take
};

/// An outcome with what the service gave.
struct COutcome
{
    EOutcome kind;
    Json value = nullptr; ///< null for an outcome without a value
};

/// Carries an operation out.
using Invocation = std::function<COutcome(CNavigationAPI&, const ArgumentValues&)>;

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
inline Json NumberValue(double value)
{
    return value;
}
inline Json NumberValue(int value)
{
    return value;
}

namespace Detail {

template <typename Result, typename... Arguments, std::size_t... Places>
Result Call(CNavigationAPI& navigation, Result (CNavigationAPI::*operation)(Arguments...),
            const ArgumentValues& values, std::index_sequence<Places...>)
{
    return (navigation.*operation)(As<std::decay_t<Arguments>>(values.at(Places))...);
}

/// Calls an operation and has `read` make an outcome of its result.
template <typename Read, typename Result, typename... Arguments>
Invocation Invoke(Result (CNavigationAPI::*operation)(Arguments...), Read read)
{
    return [operation, read](CNavigationAPI& navigation, const ArgumentValues& values) {
        return read(Call(navigation, operation, values, std::index_sequence_for<Arguments...>()));
    };
}

} // namespace Detail

/// The outcome of a status: 1 done, 0 refused; any other number is given as it is.
COutcome StatusOutcome(int status);

/// An operation whose result is a status.
template <typename... Arguments>
Invocation Status(int (CNavigationAPI::*operation)(Arguments...))
{
    return Detail::Invoke(operation, StatusOutcome);
}

/// An operation that is true when the service did it.
template <typename... Arguments>
Invocation Accepted(bool (CNavigationAPI::*operation)(Arguments...))
{
    return Detail::Invoke(operation, [](bool isDone) {
        return COutcome{isDone ? EOutcome::Done : EOutcome::Refused};
    });
}

/// An operation whose result is what was asked for: a number or whether something is so.
template <typename Result, typename... Arguments>
Invocation Value(Result (CNavigationAPI::*operation)(Arguments...))
{
    return Detail::Invoke(operation, [](Result value) {
        if constexpr (std::is_same_v<Result, bool>) {
            return COutcome{EOutcome::Value, value};
        } else {
            return COutcome{EOutcome::Value, NumberValue(value)};
        }
    });
}

/// A notification. Its result, where it has one, tells no more than the link does.
template <typename Result, typename... Arguments>
Invocation Sent(Result (CNavigationAPI::*operation)(Arguments...))
{
    return [operation](CNavigationAPI& navigation, const ArgumentValues& values) {
        Detail::Call(navigation, operation, values, std::index_sequence_for<Arguments...>());
        return COutcome{EOutcome::Sent};
    };
}

#endif
