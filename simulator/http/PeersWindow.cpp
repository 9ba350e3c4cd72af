#include "simulator/http/PeersWindow.h"

// The kernel's own, beside which no other header of TCP can stand: the C library's lacks the
// window.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

std::size_t PeersWindow(int socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    const int failed = ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size);
    const bool isTold = size >= offsetof(tcp_info, tcpi_snd_wnd) + sizeof info.tcpi_snd_wnd;
    return failed == 0 && isTold ? info.tcpi_snd_wnd : 0;
}
