#ifndef KESTROVE_RUNTIME_SOCKETSTATE_H
#define KESTROVE_RUNTIME_SOCKETSTATE_H

#include <string>

#include "platform/LinkError.h"
#include "runtime/LinkRecorder.h"
#include "runtime/TcpSocket.h"

/// What a Socket knows beside its two flags.
struct SocketStateC
{
    TcpSocketC tcp;
    LinkErrorC error;
    LinkRecorderC recorder;

    // Where Connect() led last; the port is 0 before.
    std::string host;
    unsigned short port = 0;
    int timeoutMilliseconds = -1;

    /// Counts connections, so that what belongs to an earlier one is known from the present one.
    unsigned long connections = 0;

    /// Whom the connection leads to, for people; empty where there is none.
    std::string Peer() const
    {
        return tcp.Descriptor() < 0 ? std::string()
                                    : tcp.PeerHost() + " port " + std::to_string(tcp.PeerPort());
    }

    void Succeed()
    {
        error.code = ELinkError::None;
        error.text.clear();
    }

    /// @return false, for the caller to pass on.
    bool Fail(ELinkError code, std::string text)
    {
        error.code = code;
        error.text = std::move(text);
        return false;
    }
};

#endif
