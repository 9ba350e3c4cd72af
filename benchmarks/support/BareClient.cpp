// Asks the service on port 5010 for the implement's width and prints it: the system's calls that
// navctl's command makes, and nothing else. Written in C but for its name, and linked with the C
// library alone.

#include <cstdint>
#include <cstdio>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint16_t kPort = 5010;
// A list of four: 0 for a request, its number, the name, and the arguments [1].
constexpr char kRequest[] = "\x94\x00\x01\xb1"
                            "GetImplementWidth"
                            "\x91\x01";
// A list of four: 1 for a reply, its number, no error, and a number of eight bytes.
constexpr char kReplyHead[] = "\x94\x01\x01\xc0\xcb";
constexpr std::size_t kHeadLength = sizeof kReplyHead - 1;
constexpr std::size_t kReplyLength = kHeadLength + sizeof(double);

int Connected()
{
    const int link = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    sockaddr_in6 service{};
    service.sin6_family = AF_INET6;
    service.sin6_port = htons(kPort);
    service.sin6_addr = IN6ADDR_LOOPBACK_INIT;
    const int on = 1;
    const bool isOpen =
        ::connect(link, reinterpret_cast<const sockaddr*>(&service), sizeof service) == 0;
    return isOpen && ::setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0 ? link : -1;
}

} // namespace

int main()
{
    const int link = Connected();
    char reply[kReplyLength] = {};
    if (link < 0 || ::send(link, kRequest, sizeof kRequest - 1, MSG_NOSIGNAL) < 0 ||
        ::recv(link, reply, sizeof reply, MSG_WAITALL) != static_cast<ssize_t>(sizeof reply) ||
        std::memcmp(reply, kReplyHead, kHeadLength) != 0) {
        return 1;
    }
    std::uint64_t bits = 0;
    for (std::size_t place = kHeadLength; place < kReplyLength; ++place) {
        bits = bits << 8 | static_cast<unsigned char>(reply[place]);
    }
    double width = 0.0;
    std::memcpy(&width, &bits, sizeof width);
    std::printf("%g\n", width);
    return ::close(link);
}
