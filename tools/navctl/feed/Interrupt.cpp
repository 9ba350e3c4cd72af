#include "tools/navctl/feed/Interrupt.h"

namespace {

volatile std::sig_atomic_t hasCome = 0;

void Note(int)
{
    hasCome = 1;
}

} // namespace

CInterrupt::CInterrupt()
{
    hasCome = 0;
    // Without SA_RESTART: waits are to be interrupted.
    struct sigaction action = {};
    action.sa_handler = Note;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &m_interruptBefore);
    sigaction(SIGTERM, &action, &m_terminateBefore);
}

CInterrupt::~CInterrupt()
{
    sigaction(SIGINT, &m_interruptBefore, nullptr);
    sigaction(SIGTERM, &m_terminateBefore, nullptr);
}

bool CInterrupt::HasCome()
{
    return hasCome != 0;
}
