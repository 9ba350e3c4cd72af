#include "platform/MPISocketClient.h"

#include <utility>
#include <vector>

#include "tests/doubles/Recording.h"

using Doubles::Recording;

struct SocketStateC
{
    LinkErrorC lastError;
};

struct MessageStateC
{
    std::vector<std::pair<std::string, std::unique_ptr<MPICallbackBase>>> callbacks;
};

namespace {

std::string ArgumentsText(const BListC* arguments)
{
    return arguments == nullptr ? "null" : Doubles::Describe(*arguments);
}

const char* Answered(bool answer)
{
    return answer ? ": true" : ": false";
}

} // namespace

MPICallbackBase::~MPICallbackBase() = default;

Socket::Socket() : m_socket(std::make_unique<SocketStateC>()) {}
Socket::~Socket() = default;

bool Socket::Accept(int descriptor)
{
    Recording().Note("Accept " + std::to_string(descriptor));
    m_accepted = true;
    return true;
}

bool Socket::Reconnect()
{
    Recording().Note("Reconnect");
    m_connected = Recording().Reachable();
    return m_connected;
}

void Socket::Connected() {}
int Socket::GetExtraReader()
{
    return -1;
}
void Socket::ReadExtra() {}
void Socket::DataReceived() {}
void Socket::DataReceivedFrom(std::string /*host*/, unsigned short /*port*/) {}
void Socket::DataSent() {}
void Socket::Disconnected() {}

bool Socket::Connect(std::string host, unsigned short port, int timeoutMilliseconds)
{
    Recording().Note("Connect " + host + " " + std::to_string(port) + " " +
                     std::to_string(timeoutMilliseconds));
    m_connected = Recording().Reachable();
    m_socket->lastError.code = m_connected ? ELinkError::None : ELinkError::Refused;
    return m_connected;
}

void Socket::Close()
{
    Recording().Note("Close");
    m_connected = false;
    m_accepted = false;
}

int Socket::Descriptor() const
{
    return -1;
}

const LinkErrorC& Socket::LastError() const
{
    return m_socket->lastError;
}

MPISocketConnectionC::MPISocketConnectionC() : m_messages(std::make_unique<MessageStateC>()) {}

MPISocketConnectionC::~MPISocketConnectionC()
{
    Recording().Note("connection closed");
}

void MPISocketConnectionC::Connected() {}
void MPISocketConnectionC::Destroy()
{
    Close();
}

int MPISocketConnectionC::DoCallback(const std::string& name, BListC* payload)
{
    for (const auto& [event, callback] : m_messages->callbacks) {
        if (event == name) {
            return callback->Callback(payload);
        }
    }
    return 0;
}

int MPISocketConnectionC::DoClientCallback(const std::string& name, BListC* payload)
{
    return DoCallback(name, payload);
}

bool MPISocketConnectionC::ProcessMessages(bool /*wait*/)
{
    return false;
}

int MPISocketConnectionC::CheckCallbacks()
{
    return 0;
}

bool MPISocketConnectionC::SendMessage(BEncoderC* /*encoder*/)
{
    Recording().Note("SendMessage");
    return true;
}

bool MPISocketConnectionC::SendMessageElement(BElementC* element)
{
    Recording().Note("SendMessageElement " + Doubles::Describe(*element));
    return true;
}

bool MPISocketConnectionC::ReceiveMessage(bool /*wait*/)
{
    return false;
}

void MPISocketConnectionC::MessageReceived(BDictionaryC* /*message*/) {}

BElementC* MPISocketConnectionC::CallMethod(const std::string& name, BListC* arguments)
{
    Recording().Note("CallMethod " + name + " " + ArgumentsText(arguments));
    const Doubles::CRecording::Answer answer = Recording().TakeAnswer();
    m_socket->lastError = answer.error;
    return answer.reply;
}

bool MPISocketConnectionC::SendNotification(const std::string& name, BListC* arguments)
{
    Recording().Note("SendNotification " + name + " " + ArgumentsText(arguments));
    const bool sent = Recording().Sending();
    m_socket->lastError.code = sent ? ELinkError::None : ELinkError::Closed;
    return sent;
}

void MPISocketConnectionC::RequestCallback(const std::string& name, MPICallbackBase* callback)
{
    m_messages->callbacks.emplace_back(name, callback);
    Recording().NoteCallback(name, callback);
}

bool MPISocketConnectionC::IsLinkUp()
{
    if (Recording().TakeDropped()) {
        m_connected = false;
        m_accepted = false;
    }
    const bool up = m_connected || m_accepted;
    Recording().Note(std::string("IsLinkUp") + Answered(up));
    return up;
}

unsigned long MPISocketConnectionC::DroppedEvents() const
{
    return 0;
}

MPISocketClientC::MPISocketClientC(bool reconnects)
{
    Recording().Note(std::string("client made, reconnects") + Answered(reconnects));
}

MPISocketClientC::~MPISocketClientC() = default;

int MPISocketClientC::CheckCallbacks()
{
    return 0;
}

bool MPISocketClientC::VerifyConnection()
{
    Recording().Note(std::string("VerifyConnection") + Answered(Recording().Verified()));
    return Recording().Verified();
}
