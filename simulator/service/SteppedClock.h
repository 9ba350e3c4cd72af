#ifndef KESTROVE_SIMULATOR_SERVICE_STEPPEDCLOCK_H
#define KESTROVE_SIMULATOR_SERVICE_STEPPEDCLOCK_H

#include <functional>
#include <memory>

#include "runtime/MPISocketServer.h"
#include "simulator/aside/WorkQueue.h"
#include "simulator/service/ServiceCore.h"

/// Moves the simulated world on when clients ask for it, so that calls and events of a run come at
/// the same steps each time.
///
/// From the moment that an advance is asked for, what all clients send is read and waits. The steps
/// are made once all work that was begun is through, in pieces between the loop's other work. Then
/// all events are handed to the system, who asked is answered, and what has waited is served,
/// client by client in the order of their connections' opening.
///
/// Thread safety: none; lives on the thread that runs the loop.
class CSteppedClock
{
public:
    /// All must outlive this object.
    CSteppedClock(MPISocketServerC& server, CWorkQueue& work, CServiceCore& core)
        : m_server(server), m_work(work), m_core(core)
    {
    }
    ~CSteppedClock() { *m_alive = false; }
    CSteppedClock(const CSteppedClock&) = delete;
    CSteppedClock& operator=(const CSteppedClock&) = delete;

    bool IsAdvancing() const { return m_done != nullptr; }
    /// Begins an advance that a client asks for; to be called while its message is served.
    ///
    /// @param client 0 where no client asks.
    /// @param done is called when everybody has the events of the steps, before anything else takes
    ///        effect.
    void Advance(ClientNumber client, int steps, std::function<void()> done);
    /// What a client has asked for ends with it, before the next step.
    void ClientGone(ClientNumber client);

private:
    bool TakePiece();
    void Finish();

    MPISocketServerC& m_server;
    CWorkQueue& m_work;
    CServiceCore& m_core;
    ClientNumber m_client = 0; ///< whose advance is under way; 0 while none is
    int m_stepsLeft = 0;
    std::function<void()> m_done;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true); ///< for what comes back late
};

#endif
