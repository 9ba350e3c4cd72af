#ifndef KESTROVE_PLATFORM_MPISOCKETCLIENT_H
#define KESTROVE_PLATFORM_MPISOCKETCLIENT_H

/// @file
/// A connection that can reopen itself.

#include "core/Export.h"
#include "platform/MPISocketConnection.h"

/// A connection that its owner opens with Connect() and that can reopen itself.
///
/// Thread safety and lifetime as MPISocketConnectionC.
class KESTROVE_EXPORT MPISocketClientC : public MPISocketConnectionC
{
public:
    /// Not connected.
    ///
    /// @param reconnects whether VerifyConnection() and the delivery of events reopen a lost
    ///        connection.
    explicit MPISocketClientC(bool reconnects);
    /// Closes the connection; calls no hook.
    ~MPISocketClientC() override;

    /// Delivers events by the rules of ProcessMessages(), without waiting. A client that reconnects
    /// reopens a lost connection first, so that an application that only listens recovers too: not
    /// more than once in 500 ms, and for at most 100 ms where something swallows the attempt.
    ///
    /// @return the number of events delivered.
    int CheckCallbacks() override;

    /// Looks at the link like IsLinkUp(); a client that reconnects makes one attempt to reopen a
    /// link that is lost, with the time-out of the last Connect().
    ///
    /// @return whether the connection is usable.
    bool VerifyConnection();
};

#endif
