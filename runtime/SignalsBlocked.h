#ifndef KESTROVE_RUNTIME_SIGNALSBLOCKED_H
#define KESTROVE_RUNTIME_SIGNALSBLOCKED_H

#include <csignal>

#include <pthread.h>

/// Keeps signals from the threads that are started while it lives: they are for the thread that
/// runs the loop. It ends with the scope also when no thread could be started.
class SignalsBlockedC
{
public:
    SignalsBlockedC()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlockedC() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlockedC(const SignalsBlockedC&) = delete;
    SignalsBlockedC& operator=(const SignalsBlockedC&) = delete;

private:
    sigset_t m_before{};
};

#endif
