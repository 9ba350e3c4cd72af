#include "platform/MPISocketClient.h"

#include "runtime/MessageState.h"

MPISocketClientC::MPISocketClientC(bool reconnects)
{
    m_messages->reconnects = reconnects;
}
MPISocketClientC::~MPISocketClientC() = default;

int MPISocketClientC::CheckCallbacks()
{
    ReceiveMessage(false);
    if (m_messages->reconnects && !m_messages->IsUp()) {
        m_messages->ReopenPaced();
    }
    return m_messages->Deliver();
}

bool MPISocketClientC::VerifyConnection()
{
    return IsLinkUp() || (m_messages->reconnects && Reconnect());
}
