#ifndef KESTROVE_TESTS_API_CONTRACTTABLE_H
#define KESTROVE_TESTS_API_CONTRACTTABLE_H

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "api/NavigationAPI.h"
#include "platform/BElement.h"

/// The wire contract of the client: a row for every operation, spelt out here a second time, so
/// that a slip in the client cannot agree with itself.
namespace Contract {

enum class EGuard
{
    Reconnecting, ///< looks at the link and connects once when it is down
    Verifying,    ///< asks VerifyConnection() and never connects itself
};
constexpr EGuard kReconnecting = EGuard::Reconnecting;
constexpr EGuard kVerifying = EGuard::Verifying;

enum class EKind
{
    Request,
    Notification,
};

/// What becomes of the argument list.
enum class EDisposal
{
    AfterReply,       ///< destroyed after the reply; of a notification: after sending
    AtOnce,           ///< destroyed after the call, before the reply
    Kept,             ///< never destroyed
    KeptWithoutReply, ///< destroyed after the reply; never, when none came
};

using MakeReply = std::function<BElementC*()>;
/// Makes the call as an application writes it, and writes out its result and out-parameters.
using Run = std::function<std::string(CNavigationAPI&)>;

/// One call of one operation.
struct Row
{
    std::string operation; ///< as the header declares it
    EGuard guard = EGuard::Reconnecting;
    EKind kind = EKind::Request;
    std::string service;
    std::string arguments; ///< as the recording double describes them
    MakeReply reply;       ///< a normal reply; none for a notification
    std::string result;    ///< of a normal reply; of a notification: behind a guard that passes
    std::string failure;   ///< behind a refused guard and without a reply
    Run run;

    EDisposal disposal = EDisposal::AfterReply;
    std::string resultOfWrongType; ///< of a reply of another type; `failure` unless set
    std::vector<std::string> building = {"list made"}; ///< what the platform sees before the call
    std::vector<std::string> cleaning;                 ///< what it sees after the list is destroyed
    std::string documentedArguments; ///< what docs/operations.md says, where it is not a plain list

    Row& Disposing(EDisposal value);
    Row& OfWrongType(const std::string& text);
    Row& Building(std::vector<std::string> lines);
    Row& Cleaning(std::vector<std::string> lines);
    Row& Documented(const std::string& text);

    /// The operation's bare name.
    std::string Name() const;
};

Row RequestRow(const std::string& operation, EGuard guard, const std::string& service,
               const std::string& arguments, const MakeReply& reply, const std::string& result,
               const std::string& failure, const Run& run);
Row NotificationRow(const std::string& operation, EGuard guard, const std::string& service,
                    const std::string& arguments, const std::string& result,
                    const std::string& failure, const Run& run);

/// How a row shows in the output of a test.
void PrintTo(const Row& row, std::ostream* stream);

/// All rows, in the header's order.
const std::vector<Row>& Table();
std::vector<Row> SteeringRows();
std::vector<Row> WaylineRows();
std::vector<Row> OffsetRows();
std::vector<Row> PositionFeedRows();
std::vector<Row> TuningRows();

/// One event: its setter, and how many elements its payload must have.
struct EventRow
{
    std::string setter; ///< as the header declares it
    std::string event;
    std::string payload; ///< one that the handler takes, as the recording double describes it
    bool exact;          ///< the number of elements must be just that of `payload`, or at least
    std::string call;    ///< what the functor is called with for `payload`
    /// Sets a functor that appends what it is called with to the text, or null; empties the slot
    /// when the text is null.
    std::function<void(CNavigationAPI&, std::string*)> set;
    std::function<std::unique_ptr<BListC>()> makePayload;
    std::string trace; ///< written to standard output before the call
};

void PrintTo(const EventRow& row, std::ostream* stream);

/// All setters, in the header's order.
const std::vector<EventRow>& EventTable();

/// Numbers written so that an int cannot be taken for a double: "1", "1.0", "true".
std::string Text(bool value);
std::string Text(int value);
std::string Text(double value);
std::string Text(const Core::Maths::Vector3<double>& vector);

MakeReply IntReply(int value);
MakeReply DoubleReply(double value);

inline void AppendTo(BListC& list, int value)
{
    list.AddInt(value);
}
inline void AppendTo(BListC& list, double value)
{
    list.AddDouble(value);
}

/// A list of ints and doubles.
template <typename... Values>
std::unique_ptr<BListC> ListOf(Values... values)
{
    auto list = std::make_unique<BListC>(nullptr);
    (AppendTo(*list, values), ...);
    return list;
}

template <typename... Values>
MakeReply ListReply(Values... values)
{
    return [values...] { return ListOf(values...).release(); };
}

} // namespace Contract

#endif
