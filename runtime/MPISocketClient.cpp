#include "platform/MPISocketClient.h"

#include "runtime/MessageState.h"

MPISocketClientC::MPISocketClientC(bool reconnects)
{
    m_messages->reconnects = reconnects;
}
MPISocketClientC::~MPISocketClientC() = default;

int MPISocketClientC::CheckCallbacks()
{
    if (m_messages->reconnects && !IsLinkUp()) {
        m_messages->ReopenPaced();
    }
    return MPISocketConnectionC::CheckCallbacks();
}

bool MPISocketClientC::VerifyConnection()
{
    return IsLinkUp() || (m_messages->reconnects && Reconnect());
}
