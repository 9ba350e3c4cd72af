#include "simulator/ServiceCore.h"

#include <utility>

ServiceCoreC::ServiceCoreC(const KeptValues& kept, KeepSink keep, LogSink log)
    : m_log(std::move(log)), m_settings(kept, std::move(keep), m_log),
      m_navigator(m_settings, m_log), m_steering(m_navigator, m_settings)
{
    m_steering.Register(m_operations);
}

Answer ServiceCoreC::Request(const std::string& name, const BListC& arguments)
{
    Answer answer = m_operations.Call(name, arguments);
    if (!answer.error.empty())
        m_log(ELogLevel::Warning, answer.error);
    return answer;
}

void ServiceCoreC::Notify(const std::string& name, const BListC& arguments)
{
    const Answer answer = m_operations.Call(name, arguments);
    if (!answer.error.empty())
        m_log(ELogLevel::Warning, "notification ignored: " + answer.error);
}
