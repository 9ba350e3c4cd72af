#include "tests/faults/Fault.h"

#include <ostream>
#include <utility>

#include "tests/faults/FaultCheck.h"
#include "tests/support/Bytes.h"

CFault& CFault::Fails(std::optional<ELinkError> error)
{
    m_outcome = EOutcome::Failure;
    m_error = error;
    return *this;
}

CFault& CFault::Succeeds()
{
    m_outcome = EOutcome::Value;
    m_error = ELinkError::None;
    return *this;
}

CFault& CFault::Gives(double value)
{
    m_value = value;
    return Succeeds();
}

CFault& CFault::ThenWorksOnConnection(int connection)
{
    m_workingConnection = connection;
    return *this;
}

CFault& CFault::NotificationsStayOnConnection(int connection)
{
    m_notificationConnection = connection;
    return *this;
}

CFault& CFault::NotificationsMayFail()
{
    m_mayFailNotifications = true;
    return *this;
}

CFault& CFault::EndsTheConnection()
{
    m_arrival = EArrival::End;
    return *this;
}

CFault& CFault::SaysNothingToNotifications()
{
    m_arrival = EArrival::Nothing;
    return *this;
}

CFault& CFault::Interrupts()
{
    m_interrupts = true;
    return *this;
}

CFault& CFault::BeginsInTime()
{
    m_beginsInTime = true;
    return *this;
}

CFault& CFault::WithTimeout(int milliseconds)
{
    m_timeoutMilliseconds = milliseconds;
    return *this;
}

CFault& CFault::Under(Condition condition)
{
    m_condition = std::move(condition);
    return *this;
}

CFault& CFault::OnIPv6()
{
    m_address = ELoopback::IPv6;
    return *this;
}

CFault& CFault::StartingLate()
{
    m_startsLate = true;
    return *this;
}

CFault& CFault::AfterAGoodCall()
{
    m_comesAfterAGoodCall = true;
    return *this;
}

CFault& CFault::WithALargeMessage()
{
    m_hasLargeMessage = true;
    return *this;
}

void PrintTo(const CFault& fault, std::ostream* stream)
{
    *stream << fault.Name();
}

std::string NameOfFault(const testing::TestParamInfo<CFault>& info)
{
    return info.param.Name();
}

void CheckFault(const CFault& fault)
{
    const std::vector<CFault::Script> none(1);
    const auto& scripts = fault.m_scripts.empty() ? none : fault.m_scripts;
    for (const CCall& call : kCalls) {
        for (std::size_t index = 0; index < scripts.size(); ++index) {
            SCOPED_TRACE(std::string(call.serviceName) + ", variant " + std::to_string(index));
            CFaultCheck(fault, scripts[index], call).Run();
        }
    }
}

std::vector<CFault::Script> Each(std::size_t first, std::size_t last,
                                 const std::function<CFault::Script(std::size_t)>& make)
{
    std::vector<CFault::Script> scripts;
    for (std::size_t number = first; number <= last; ++number) {
        scripts.push_back(make(number));
    }
    return scripts;
}

std::vector<CFault::Script>
EachOf(const std::vector<std::string>& texts,
       const std::function<CFault::Script(const std::string& bytes)>& make)
{
    std::vector<CFault::Script> scripts;
    scripts.reserve(texts.size());
    for (const std::string& text : texts) {
        scripts.push_back(make(Bytes::FromHex(text)));
    }
    return scripts;
}
