#include "api/NavigationAPI.h"

CNavigationAPI::CNavigationAPI() : MPISocketClientC(true)
{
    // The outcome does not matter: the first operation tries again.
    Connect(m_serviceHost, static_cast<unsigned short>(m_servicePort), -1);
}

// The functors in the slots stay: who destroys the client disposes of its last functors.
CNavigationAPI::~CNavigationAPI() = default;
