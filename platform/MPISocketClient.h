#ifndef KESTROVE_PLATFORM_MPISOCKETCLIENT_H
#define KESTROVE_PLATFORM_MPISOCKETCLIENT_H

#include "core/Export.h"
#include "platform/MPISocketConnection.h"

/// A connection that its owner opens with Connect() and that can reopen itself.
///
/// Thread safety and lifetime as MPISocketConnectionC.
class KESTROVE_EXPORT MPISocketClientC : public MPISocketConnectionC
{
public:
    /// @param reconnects whether VerifyConnection() and the delivery of events reopen a lost
    ///        connection.
    explicit MPISocketClientC(bool reconnects);
    ~MPISocketClientC() override;

    /// Delivers all events that have arrived, without waiting. A client that reconnects reopens a
    /// lost connection first, though not more than once in 500 ms, so that an application that only
    /// listens recovers too.
    int CheckCallbacks() override;

    /// Whether the connection is usable: looks at the link like IsLinkUp(); a client that
    /// reconnects makes one attempt to reopen a link that is lost.
    bool VerifyConnection();
};

#endif
