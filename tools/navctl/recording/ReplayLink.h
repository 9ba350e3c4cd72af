#ifndef KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYLINK_H
#define KESTROVE_TOOLS_NAVCTL_RECORDING_REPLAYLINK_H

#include <string>
#include <string_view>

#include "recording/decoding/MessageCutter.h"

/// A connection over which bytes are sent as they were recorded. Nothing waits here.
class CReplayLink
{
public:
    /// @param descriptor a connected stream socket; owned from now on.
    explicit CReplayLink(int descriptor);
    ~CReplayLink();
    CReplayLink(const CReplayLink&) = delete;
    CReplayLink& operator=(const CReplayLink&) = delete;

    int Descriptor() const { return m_descriptor; }
    /// Takes in a portion of what has come; false when the other side has closed.
    bool Receive();
    /// Takes the next message that has come whole.
    CMessageCutter::EResult Next(std::string_view& message) { return m_cutter.Next(message); }
    /// Sends, at once or when there is room.
    ///
    /// @return false when the other side has closed, or takes nothing of 64 MiB.
    bool Send(std::string_view bytes);
    /// Sends on what had no room.
    bool Flush();
    bool WaitsForRoom() const { return !m_unsent.empty(); }

private:
    int m_descriptor;
    CMessageCutter m_cutter;
    std::string m_unsent;
};

/// The port on which the service listens.
constexpr unsigned short kServicePort = 5010;

/// A socket that listens on a loopback address; -1 with errno.
int ListenOnLoopback(bool overIPv6);
/// A connection to the service on this machine; -1 with errno.
int ConnectToService();

#endif
