#ifndef KESTROVE_TOOLS_NAVCTL_FEED_INTERRUPT_H
#define KESTROVE_TOOLS_NAVCTL_FEED_INTERRUPT_H

#include <csignal>

/// While one lives, SIGINT and SIGTERM do not end the program but interrupt what it waits for, so
/// that it can end in good order. One at a time.
class CInterrupt
{
public:
    CInterrupt();
    /// Puts back what the signals did before.
    ~CInterrupt();
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    /// Whether one of the signals has come.
    static bool HasCome();

private:
    struct sigaction m_interruptBefore = {};
    struct sigaction m_terminateBefore = {};
};

#endif
