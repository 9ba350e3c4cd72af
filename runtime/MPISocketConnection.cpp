#include "platform/MPISocketConnection.h"

#include <utility>

#include "runtime/MessageState.h"

MPISocketConnectionC::MPISocketConnectionC() : m_messages(std::make_unique<MessageStateC>(*this)) {}
MPISocketConnectionC::~MPISocketConnectionC() = default;

void MPISocketConnectionC::Connected()
{
    for (const auto& registration : m_messages->callbacks) {
        if (!m_messages->Subscribe(registration.first)) {
            return;
        }
    }
}

void MPISocketConnectionC::Destroy()
{
    Close();
    m_messages->events.Clear();
}

int MPISocketConnectionC::DoCallback(const std::string& name, BListC* payload)
{
    const MessageStateC::Registration* const found = m_messages->FindRegistration(name);
    if (found == nullptr) {
        return 0;
    }
    const MessageStateC::CallbackPtr callback = found->second;
    return callback->Callback(payload);
}

int MPISocketConnectionC::DoClientCallback(const std::string& name, BListC* payload)
{
    return DoCallback(name, payload);
}

bool MPISocketConnectionC::ProcessMessages(bool wait)
{
    const DeadlineC deadline = DeadlineC::After(m_timeoutMilliseconds);
    while (true) {
        if (CheckCallbacks() > 0) {
            return true;
        }
        if (!wait) {
            return false;
        }
        if (deadline.Passed() || !m_messages->WaitToProcess(deadline)) {
            Idle();
            return false;
        }
    }
}

int MPISocketConnectionC::CheckCallbacks()
{
    ReceiveMessage(false);
    return m_messages->Deliver();
}

bool MPISocketConnectionC::SendMessage(BEncoderC* encoder)
{
    if (!m_messages->IsUp()) {
        return m_socket->Fail(ELinkError::NotConnected, "not connected to a service");
    }
    const DeadlineC deadline = DeadlineC::After(m_timeoutMilliseconds);
    if (!m_messages->Send(encoder->Data(), encoder->Size(), deadline)) {
        return false;
    }
    m_socket->Succeed();
    DataSent();
    return true;
}

bool MPISocketConnectionC::SendMessageElement(BElementC* element)
{
    BEncoderC encoder;
    if (!encoder.Write(*element)) {
        return m_socket->Fail(ELinkError::BadMessage, "a value nested deeper than 64 levels");
    }
    return SendMessage(&encoder);
}

bool MPISocketConnectionC::ReceiveMessage(bool wait)
{
    if (!wait) {
        return m_messages->TakeIn() != MessageStateC::ELook::Nothing;
    }
    const DeadlineC deadline = DeadlineC::After(m_timeoutMilliseconds);
    return m_messages->IsUp() && m_socket->tcp.Wait(false, deadline) &&
           m_messages->TakeIn() != MessageStateC::ELook::Nothing;
}

void MPISocketConnectionC::MessageReceived(BDictionaryC* message)
{
    const auto* const number = dynamic_cast<const BAtomC*>(message->Get("msgid"));
    const std::string text = "this client serves no requests";
    BEncoderC answer;
    answer.WriteListHeader(4);
    answer.WriteInteger(1);
    answer.WriteUnsigned(static_cast<std::uint64_t>(number == nullptr ? 0 : number->Int64Value()));
    answer.WriteString(text.data(), text.size());
    answer.WriteNothing();
    // A peer that asks and does not read must not hold a call up.
    if (m_messages->Send(answer.Data(), answer.Size(), DeadlineC::After(0))) {
        DataSent();
    }
}

BElementC* MPISocketConnectionC::CallMethod(const std::string& name, BListC* arguments)
{
    const DeadlineC deadline = DeadlineC::After(m_timeoutMilliseconds);
    const std::uint32_t number = ++m_messages->lastNumber;
    m_messages->BeginMessage(MessageC::EKind::Request);
    m_messages->encoder.WriteUnsigned(number);
    if (!m_messages->FinishMessage(name, arguments) || !SendMessage(&m_messages->encoder)) {
        return nullptr;
    }
    return m_messages->AwaitReply(number, deadline).release();
}

bool MPISocketConnectionC::SendNotification(const std::string& name, BListC* arguments)
{
    m_messages->BeginMessage(MessageC::EKind::Notification);
    return m_messages->FinishMessage(name, arguments) && SendMessage(&m_messages->encoder);
}

void MPISocketConnectionC::RequestCallback(const std::string& name, MPICallbackBase* callback)
{
    if (callback == nullptr) {
        return;
    }
    MessageStateC::CallbackPtr& registered = m_messages->callbacks[name];
    const bool isNew = !registered;
    const MessageStateC::CallbackPtr replaced = registered; // goes once the new one stands
    if (registered.Get() != callback) {
        registered = MessageStateC::CallbackPtr(callback);
    }
    if (isNew && m_messages->IsUp()) {
        m_messages->Subscribe(name);
    }
}

bool MPISocketConnectionC::IsLinkUp()
{
    return m_messages->LookAtLink();
}

unsigned long MPISocketConnectionC::DroppedEvents() const
{
    return m_messages->events.Dropped();
}

bool MPISocketConnectionC::StartRecording(const std::string& path)
{
    return m_socket->recorder.Start(path, m_messages->IsUp() ? m_socket->Peer() : "");
}

void MPISocketConnectionC::StopRecording()
{
    m_socket->recorder.Stop();
}

std::string MPISocketConnectionC::LastRecordingError() const
{
    return m_socket->recorder.Error();
}
