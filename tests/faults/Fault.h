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
    /// A request gives any value.
    CFault& GivesAnything();
    /// A second call to the same service gives its value, over the so many-th connection.
    CFault& ThenWorksOnConnection(int connection);
    /// The time-out of the calls. 100 ms unless set.
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
        Any,
    };

    std::string m_name;
    std::vector<Script> m_scripts;
    EOutcome m_outcome = EOutcome::Failure;
    std::optional<ELinkError> m_error;
    int m_workingConnection = 0; // 0: not known
    int m_timeoutMilliseconds = 100;
    Condition m_condition;
    ELoopback m_address = ELoopback::IPv4;
    bool m_startsLate = false;
    bool m_comesAfterAGoodCall = false;
    bool m_hasLargeMessage = false;
};

void PrintTo(const CFault& fault, std::ostream* stream);

/// Makes each of the calls under each variant of a fault, and checks what holds whatever happens:
///   - nothing is printed, nothing is thrown, and no signal ends the process;
///   - the call is written to the link at most once;
///   - at most one connection is attempted to each address;
///   - no functor runs inside the call;
///   - the call ends within the limits of connecting and replying and half a second;
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
