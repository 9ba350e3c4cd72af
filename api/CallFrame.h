#ifndef KESTROVE_API_CALLFRAME_H
#define KESTROVE_API_CALLFRAME_H

#include <memory>
#include <string>
#include <utility>

#include "api/NavigationAPI.h"
#include "platform/BElement.h"

/// What all operations share. An operation is: one of the two guards; an argument list; a request
/// or a notification under the service name; the reply's value.
///
/// The guards. ReconnectingGuard() passes when the link is up and otherwise connects once and looks
/// again. VerifyingGuard() asks the connection. Behind a guard that refuses, nothing is made or
/// sent.
///
/// The requests differ in what they destroy first. RequestInt(), RequestDouble() and RequestList()
/// keep the argument list until the reply has been read, and then destroy the reply and the list in
/// that order. RequestIntFreeingArguments() and RequestDoubleFreeingArguments() destroy the list at
/// once after the call, before they look at the reply. In each, no reply and a reply of another
/// type give `failure`.
///
/// Notify() destroys the list after sending.
namespace CallFrame {

using Arguments = std::unique_ptr<BListC>;
using Reply = std::unique_ptr<BElementC>;

/// The constant that leads many argument lists, ahead of the caller's values. Which, is fixed by
/// the service's protocol.
constexpr int kLeadingOne = 1;

/// Booleans become 0 and 1, enumerations their number, floats doubles.
inline void Append(BListC& list, int value)
{
    list.AddInt(value);
}
inline void Append(BListC& list, double value)
{
    list.AddDouble(value);
}
inline void Append(BListC& list, const std::string& value)
{
    list.AddString(value);
}

/// A list of the values, in their order.
template <typename... Values>
Arguments ArgumentsOf(const Values&... values)
{
    auto arguments = std::make_unique<BListC>(nullptr);
    arguments->MakeRoom(sizeof...(values));
    (Append(*arguments, values), ...);
    return arguments;
}

/// A list of two values with its room made first.
template <typename First, typename Second>
Arguments ReservedPair(First first, Second second)
{
    auto arguments = std::make_unique<BListC>(nullptr);
    arguments->Reserve(2);
    Append(*arguments, first);
    Append(*arguments, second);
    return arguments;
}

inline Arguments NoArguments()
{
    return std::make_unique<BListC>(nullptr);
}

inline Arguments LeadingOne()
{
    return ArgumentsOf(kLeadingOne);
}

/// The reply's number; `failure` when there is no reply or it is not a single value.
int ReadInt(const BElementC* reply, int failure);
double ReadDouble(const BElementC* reply, double failure);
/// The reply as a list, still owned by the reply; null when there is no reply or it is not a list.
BListC* ReadList(BElementC* reply);

} // namespace CallFrame

template <typename Result, typename Read>
Result CNavigationAPI::RequestList(const std::string& name, CallFrame::Arguments arguments,
                                   Result failure, Read read)
{
    CallFrame::Reply reply(CallMethod(name, arguments.get()));
    BListC* list = CallFrame::ReadList(reply.get());
    Result result = list == nullptr ? std::move(failure) : read(*list);
    reply.reset();
    arguments.reset();
    return result;
}

#endif
