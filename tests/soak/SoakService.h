#ifndef KESTROVE_TESTS_SOAK_SOAKSERVICE_H
#define KESTROVE_TESTS_SOAK_SOAKSERVICE_H

#include <sys/types.h>

/// A navigation service in a process of its own, which remembers what it is sent and pushes
/// numbered events when it is asked to. It can be ended in several ways and started again.
class CSoakService
{
public:
    /// How the process ends.
    enum class EEnd
    {
        InOrder, ///< it closes its connections
        Killed,  ///< the system closes them
        Reset,   ///< it resets them
    };

    CSoakService() = default;
    /// Ends the process.
    ~CSoakService();
    CSoakService(const CSoakService&) = delete;
    CSoakService& operator=(const CSoakService&) = delete;

    /// Starts the process and waits until it listens on port 5010.
    ///
    /// @param epoch what its events carry, so that those of an earlier process are distinguished.
    /// @return false when it cannot listen.
    bool Start(int epoch);
    /// Ends it and waits for that.
    void End(EEnd how);

    /// The service itself: what the process that Start() makes runs.
    ///
    /// @param readyDescriptor where a byte is written once it listens.
    /// @return the exit code.
    static int Serve(int epoch, int readyDescriptor);

private:
    pid_t m_process = -1;
};

#endif
