#ifndef KESTROVE_TESTS_FAULTS_FAULT_H
#define KESTROVE_TESTS_FAULTS_FAULT_H

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/LinkError.h"
#include "tests/support/RawPeer.h"

/// Something that is wrong with the service or with the process, and what must become of a call
/// then.
///
///     CFault("ClosedInPlaceOfTheReply", [](CRawLink& link) { NextCall(link); })
///         .Fails(ELinkError::Closed)
class CFault
{
public:
    using Script = CRawPeer::Script;
    /// Makes something that lasts for as long as the fault.
    using Condition = std::function<std::shared_ptr<void>()>;

    /// There is no service.
    explicit CFault(std::string name) : m_name(std::move(name)) {}
    /// What the service does, connection after connection.
    CFault(std::string name, Script script) : m_name(std::move(name)), m_scripts{std::move(script)}
    {
    }
    /// The fault in several variants, each of which is checked.
    CFault(std::string name, std::vector<Script> scripts)
        : m_name(std::move(name)), m_scripts(std::move(scripts))
    {
    }

    /// A request gives its failure value, for this reason when one is named.
    CFault& Fails(std::optional<ELinkError> error = {});
    /// A request gives the service's value.
    CFault& Succeeds();
    /// A request gives this value, without an error.
    CFault& Gives(double value);
    /// A second call to the same service gives its value, over the so many-th connection.
    CFault& ThenWorksOnConnection(int connection);
    /// Where a request finds its connection unusable, a second notification still goes over this
    /// one: nothing is awaited on it.
    CFault& NotificationsStayOnConnection(int connection);
    /// A notification may fail, too: whether it can be handed over hangs on what comes first.
    CFault& NotificationsMayFail();
    /// The service ends the connection once a call has come.
    CFault& EndsTheConnection();
    /// The service says nothing to a notification.
    CFault& SaysNothingToNotifications();
    /// The system calls of a request are interrupted, which is checked.
    CFault& Interrupts();
    /// What the service says, or its first piece, comes before the time-out, however long a busy
    /// machine holds it up.
    CFault& BeginsInTime();
    /// The time-out of the calls. Unless set, it is 100 ms for requests that are to meet it or
    /// whose error is left open, and for all others so long that no busy machine meets it.
    CFault& WithTimeout(int milliseconds);
    CFault& Under(Condition condition);
    /// The service listens on ::1, and not on 127.0.0.1.
    CFault& OnIPv6();
    /// The service starts after the client.
    CFault& StartingLate();
    /// A call has succeeded, and what the service did then has arrived.
    CFault& AfterAGoodCall();
    /// A legal message of the largest size may have been underway.
    CFault& WithALargeMessage();

    const std::string& Name() const { return m_name; }

private:
    friend class CFaultCheck;
    friend void CheckFault(const CFault& fault);

    enum class EOutcome
    {
        Failure,
        Value,
    };
    /// What a client can see of the fault once its notification has come to the service.
    enum class EArrival
    {
        Bytes,
        End,
        Nothing,
    };

    std::string m_name;
    std::vector<Script> m_scripts;
    EOutcome m_outcome = EOutcome::Failure;
    std::optional<ELinkError> m_error;
    std::optional<double> m_value; // in the place of the service's
    EArrival m_arrival = EArrival::Bytes;
    bool m_mayFailNotifications = false;
    bool m_interrupts = false;
    bool m_beginsInTime = false;
    int m_workingConnection = 0;      // 0: not known
    int m_notificationConnection = 0; // 0: as m_workingConnection
    std::optional<int> m_timeoutMilliseconds;
    Condition m_condition;
    ELoopback m_address = ELoopback::IPv4;
    bool m_startsLate = false;
    bool m_comesAfterAGoodCall = false;
    bool m_hasLargeMessage = false;
};

void PrintTo(const CFault& fault, std::ostream* stream);

/// Makes each of the calls under each variant of a fault, and checks what holds whatever happens.
/// A notification awaits nothing, so it is made twice: once so that the fault happens, and again
/// when the fault has arrived. For every call, the one to the healthy service included:
///   - it is written to the link at most once, and exactly once when it succeeds;
///   - a notification is written or has an error, never both or neither;
///   - at most one connection is attempted to each address;
///   - no functor runs inside it;
///   - it ends within the limits of connecting and replying and half a second.
/// And for all of them together:
///   - nothing is printed, nothing is thrown, and no signal ends the process;
///   - memory in use grows by at most 32 MiB beyond what a legal message needs;
///   - the next call to a healthy service returns its value, and events come again by themselves;
///   - no descriptor is left over.
void CheckFault(const CFault& fault);

/// A row a test.
class Fault : public testing::TestWithParam<CFault>
{
};

/// Names the test after the row.
std::string NameOfFault(const testing::TestParamInfo<CFault>& info);

/// What a script makes of each number from `first` to `last`.
std::vector<CFault::Script> Each(std::size_t first, std::size_t last,
                                 const std::function<CFault::Script(std::size_t)>& make);
/// What a script makes of each text, given as hex digits.
std::vector<CFault::Script>
EachOf(const std::vector<std::string>& texts,
       const std::function<CFault::Script(const std::string& bytes)>& make);

#endif
