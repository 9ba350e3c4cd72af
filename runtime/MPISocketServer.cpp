#include "runtime/MPISocketServer.h"

#include <iostream>
#include <utility>

#include <asio/io_context.hpp>

#include "runtime/ServerState.h"

bool MPIServiceHandlerC::Overtakes(const std::string&)
{
    return false;
}
void MPIServiceHandlerC::Subscribed(ClientNumber, const std::string&) {}
void MPIServiceHandlerC::ClientConnected(ClientNumber) {}
void MPIServiceHandlerC::ClientDropped(ClientNumber, const std::string&) {}
void MPIServiceHandlerC::ClientDisconnected(ClientNumber, const std::string&) {}
void MPIServiceHandlerC::BytesReceived(ClientNumber /*client*/, std::string_view /*bytes*/) {}
void MPIServiceHandlerC::BytesSent(ClientNumber /*client*/, std::string_view /*bytes*/) {}
void MPIServiceHandlerC::ConnectionsWait(const std::string&) {}

void MPIServiceHandlerC::HandlerFailed(ClientNumber client, const std::string& name,
                                       const std::string& reason)
{
    std::cerr << "client " << client << ": " << name << ": " << reason << '\n';
}

MPISocketServerC::MPISocketServerC(asio::io_context& loop, MPIServiceHandlerC& handler,
                                   const MPIServerLimitsC& limits)
    : m_state(std::make_shared<StateC>(loop, handler, limits))
{
}

MPISocketServerC::~MPISocketServerC()
{
    m_state->Detach();
    m_state->StopListening();
    m_state->DisconnectAll("the service ends", false);
}

std::string MPISocketServerC::Listen(std::uint16_t port, EListenOn addresses)
{
    return m_state->Listen(port, addresses);
}

std::uint16_t MPISocketServerC::Port() const
{
    return m_state->Port();
}

void MPISocketServerC::StopListening()
{
    m_state->StopListening();
}

void MPISocketServerC::DisconnectAll(bool withReset)
{
    m_state->DisconnectAll("disconnected by the service", withReset);
}

void MPISocketServerC::Disconnect(ClientNumber client, const std::string& reason, bool withReset)
{
    m_state->Disconnect(client, reason, withReset);
}

std::unique_ptr<BListC> MPISocketServerC::Hold(ClientNumber client)
{
    return m_state->Hold(client);
}

void MPISocketServerC::Release(ClientNumber client)
{
    m_state->Release(client);
}

void MPISocketServerC::Pause()
{
    m_state->Pause();
}

void MPISocketServerC::Resume()
{
    m_state->Resume();
}

void MPISocketServerC::Settle(std::function<void()> then)
{
    m_state->Settle(std::move(then));
}

bool MPISocketServerC::IsWanted(const std::string& event) const
{
    return m_state->IsWanted(event);
}

void MPISocketServerC::Reply(ClientNumber client, std::uint64_t requestNumber,
                             const BElementC* result)
{
    BEncoderC& encoder = m_state->StartReply(requestNumber);
    encoder.WriteNothing();
    if (result == nullptr) {
        encoder.WriteNothing();
    } else if (!encoder.Write(*result)) {
        ReplyError(client, requestNumber, "the answer is nested too deep");
        return;
    }
    m_state->SendTo(client);
}

void MPISocketServerC::ReplyWritten(ClientNumber client, std::uint64_t requestNumber,
                                    std::shared_ptr<const std::string> result)
{
    m_state->StartReply(requestNumber).WriteNothing();
    m_state->SendTo(client);
    m_state->SendTo(client, std::move(result));
}

void MPISocketServerC::ReplyError(ClientNumber client, std::uint64_t requestNumber,
                                  const std::string& text)
{
    BEncoderC& encoder = m_state->StartReply(requestNumber);
    encoder.WriteString(text.data(), text.size());
    encoder.WriteNothing();
    m_state->SendTo(client);
}

void MPISocketServerC::Push(const std::string& event, const BListC& payload)
{
    if (m_state->EncodeEvent(event, payload)) {
        m_state->Push(event);
    }
}

void MPISocketServerC::PushTo(ClientNumber client, const std::string& event, const BListC& payload)
{
    if (m_state->EncodeEvent(event, payload)) {
        m_state->SendTo(client);
    }
}

void MPISocketServerC::SendBytes(ClientNumber client, const std::string& bytes)
{
    m_state->SendTo(client, bytes.data(), bytes.size());
}

std::uint64_t MPISocketServerC::Arrival() const
{
    return m_state->Arrival();
}

bool MPISocketServerC::HasUnread() const
{
    return m_state->HasUnread();
}

std::size_t MPISocketServerC::ClientCount() const
{
    return m_state->ClientCount();
}

std::size_t MPISocketServerC::HeldBytes() const
{
    return m_state->HeldBytes();
}

void MPISocketServerC::GiveUpGreediest()
{
    m_state->GiveUpGreediest();
}

unsigned long MPISocketServerC::RejectedMessages() const
{
    return m_state->RejectedMessages();
}
