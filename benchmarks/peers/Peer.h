#ifndef KESTROVE_BENCHMARKS_PEERS_PEER_H
#define KESTROVE_BENCHMARKS_PEERS_PEER_H

#include <memory>

/// Request and reply through another library, with a service of its own in a process of its own.
class CPeer
{
public:
    virtual ~CPeer() = default;
    /// Sends a request and waits for its reply.
    virtual void Call() = 0;
};

/// Over TCP, as the library's link is.
std::unique_ptr<CPeer> MakeZeroMqPeer();
/// A unary call. Starts threads: to be made after everything that starts a process.
std::unique_ptr<CPeer> MakeGrpcPeer();

#endif
