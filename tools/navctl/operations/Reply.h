#ifndef KESTROVE_TOOLS_NAVCTL_OPERATIONS_REPLY_H
#define KESTROVE_TOOLS_NAVCTL_OPERATIONS_REPLY_H

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "tools/navctl/operations/Outcome.h"

/// Reads a reply.
///
/// @return nothing when it is of another form than the operation's.
using ReplyReader = std::function<std::optional<COutcome>(BElementC&)>;

/// What a request sends and takes.
struct CExchange
{
    std::vector<int> leading; ///< the constants that lead the argument list
    ReplyReader read;
};

// The operations of the library answer a reply of another form with their failure value, which a
// service may send as well. So requests are called by their name here, and the reply is looked at:
// a whole number is taken where a number is wanted, and nothing else in place of something else.

/// The reply is a status, 1 done or 0 refused, and no other number.
ReplyReader StatusReply();
/// The reply is 0 for refused, any other whole number for done.
ReplyReader AcceptedReply();
/// The reply is a switch, 1 or 0, and no other number.
ReplyReader OneReply();
/// The reply is a switch, true for all but 0.
ReplyReader SwitchReply();
/// The reply is a whole number.
ReplyReader IntegerReply();
/// The reply is a number.
ReplyReader NumberReply();
/// The reply is a number of single precision.
ReplyReader SingleReply();
/// The reply is a list of one number of single precision.
ReplyReader FirstSingleReply();
/// The reply is a list of numbers, one for each wayline that was sent.
ReplyReader NumbersReply();
/// The reply is a vector: a list of x, y and z.
ReplyReader VectorReply();
/// The reply is a status, and behind it the vector that holds now.
ReplyReader StatusAndVectorReply();
/// The reply is a list of three limits.
ReplyReader LimitsReply();
/// The reply is a wayline's list form.
ReplyReader WaylineReply();
/// The reply is a whole number that means nothing.
ReplyReader AnsweredReply();

/// The numbers that a value consists of: its own, or those of the list, in their order.
///
/// @return nothing when there is anything else in it.
std::optional<std::vector<double>> NumbersIn(const BElementC& value);
/// The numbers that the values of arguments consist of on the link.
///
/// @param first the first of the values that count.
/// @param count how many of them.
std::vector<double> NumbersIn(const ArgumentValues& values, std::size_t first, std::size_t count);

/// Calls a request with the values of its arguments behind the leading constants; the list form of
/// a single wayline is the whole argument list.
///
/// @return the reply; null when there is none, by LastError().
std::unique_ptr<BElementC> CallFor(CNavigationAPI& navigation, const std::string& serviceName,
                                   const CExchange& exchange, const ArgumentValues& values);

/// The same, and reads the reply.
///
/// @return what the reply says; EOutcome::NoAnswer when the link failed, by LastError(), and
///         EOutcome::OtherForm when the reply is of another form than the operation's.
COutcome Call(CNavigationAPI& navigation, const std::string& serviceName, const CExchange& exchange,
              const ArgumentValues& values);

#endif
