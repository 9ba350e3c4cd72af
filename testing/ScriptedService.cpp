#include "testing/ScriptedService.h"

#include "testing/ScriptedServiceState.h"

namespace Kestrove::Testing {

std::string CReceived::Text() const
{
    const char* const kinds[] = {"request ", "notification ", "subscription "};
    return kinds[static_cast<int>(kind)] + name + ' ' + Describe(*arguments);
}

CScriptedService::CScriptedService(EListen addresses) : m_state(std::make_unique<CState>())
{
    Listen(addresses);
}

CScriptedService::~CScriptedService() = default;

void CScriptedService::Answer(const std::string& name, const CAnswer& answer)
{
    m_state->Locked([&] { m_state->m_script.Answer(name, answer); });
}

void CScriptedService::Expect(const std::string& name, const std::string& arguments,
                              const CAnswer& answer)
{
    m_state->Locked([&] { m_state->m_script.Expect(name, arguments, answer); });
}

void CScriptedService::ForgetScript()
{
    m_state->Locked([&] { m_state->m_script.Forget(); });
}

std::string CScriptedService::Problems() const
{
    const unsigned long rejected =
        m_state->OnLoop([&] { return m_state->Server().RejectedMessages(); });
    std::string problems = m_state->Locked([&] { return m_state->m_script.Problems(); });
    if (rejected > 0) {
        problems += "connections that sent what is no message: " + std::to_string(rejected) + '\n';
    }
    return problems;
}

void CScriptedService::Listen(EListen addresses)
{
    m_state->Listen(addresses);
}

void CScriptedService::DropLink()
{
    m_state->OnLoop([&] { m_state->Server().DisconnectAll(); });
}

void CScriptedService::ResetLink()
{
    m_state->OnLoop([&] { m_state->Server().DisconnectAll(true); });
}

void CScriptedService::Stop()
{
    m_state->OnLoop([&] {
        m_state->Server().StopListening();
        m_state->Server().DisconnectAll();
    });
}

void CScriptedService::SetClosesAtAccept(bool closes)
{
    m_state->Locked([&] { m_state->m_closesAtAccept = closes; });
}

void CScriptedService::Push(const std::string& event, const std::vector<CValue>& payload)
{
    PushList(event, *ToList(payload));
}

void CScriptedService::PushList(const std::string& event, const BListC& payload)
{
    m_state->OnLoop([&] { m_state->Push(event, payload); });
}

void CScriptedService::PushToAll(const std::string& event, const std::vector<CValue>& payload)
{
    const std::unique_ptr<BListC> list = ToList(payload);
    m_state->OnLoop([&] {
        for (const ClientNumber client : m_state->m_clients) {
            m_state->Server().PushTo(client, event, *list);
        }
    });
}

void CScriptedService::SendBytes(const std::string& bytes)
{
    m_state->OnLoop([&] {
        for (const ClientNumber client : m_state->m_clients) {
            m_state->Server().SendBytes(client, bytes);
        }
    });
}

void CScriptedService::ReleaseHeld()
{
    m_state->OnLoop([&] { m_state->ReleaseHeld(); });
}

std::vector<CReceived> CScriptedService::Received() const
{
    return m_state->Locked([&] { return m_state->m_received; });
}

std::string CScriptedService::ReceivedText() const
{
    std::string text;
    for (const CReceived& received : Received()) {
        text += received.Text() + '\n';
    }
    return text;
}

void CScriptedService::ForgetReceived()
{
    m_state->Locked([&] { m_state->ForgetReceived(); });
}

std::size_t CScriptedService::CallCount(const std::string& name) const
{
    return m_state->Locked([&] { return m_state->CountCalls(name); });
}

std::size_t CScriptedService::SubscriptionCount(const std::string& event) const
{
    return m_state->Locked([&] { return m_state->CountSubscriptions(event); });
}

std::size_t CScriptedService::ClientCount() const
{
    return m_state->Locked([&] { return m_state->m_clients.size(); });
}

std::size_t CScriptedService::AcceptedCount() const
{
    return m_state->Locked([&] { return m_state->m_acceptedCount; });
}

bool CScriptedService::WaitForCalls(const std::string& name, std::size_t count,
                                    int timeoutMilliseconds) const
{
    return m_state->WaitFor([&] { return m_state->CountCalls(name) >= count; },
                            timeoutMilliseconds);
}

bool CScriptedService::WaitForSubscriptions(const std::string& event, std::size_t count,
                                            int timeoutMilliseconds) const
{
    return m_state->WaitFor([&] { return m_state->CountSubscriptions(event) >= count; },
                            timeoutMilliseconds);
}

bool CScriptedService::WaitForAccepted(std::size_t count, int timeoutMilliseconds) const
{
    return m_state->WaitFor([&] { return m_state->m_acceptedCount >= count; }, timeoutMilliseconds);
}

bool CScriptedService::WaitForClients(std::size_t count, int timeoutMilliseconds) const
{
    return m_state->WaitFor([&] { return m_state->m_clients.size() == count; },
                            timeoutMilliseconds);
}

} // namespace Kestrove::Testing
