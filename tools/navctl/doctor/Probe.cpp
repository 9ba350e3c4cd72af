#include "tools/navctl/doctor/Probe.h"

#include <chrono>
#include <cstdio>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using ProbeClock = std::chrono::steady_clock;

constexpr std::uint16_t kServicePort = 5010;
constexpr std::string_view kQuestion = "GET / HTTP/1.0\r\n\r\n";
/// A greeting of TLS that is cut off: it is answered with an alert, where a request of HTTP often
/// just ends the connection.
constexpr std::string_view kQuestionOfTls{"\x16\x03\x01\x00\x05\x01\x00\x00\x01\x00", 10};
constexpr std::size_t kLongestAnswer = 80;

/// A connection to the port, closed at its end.
class CProbeSocket
{
public:
    explicit CProbeSocket(int family)
        : m_descriptor(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
    }
    ~CProbeSocket()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    CProbeSocket(const CProbeSocket&) = delete;
    CProbeSocket& operator=(const CProbeSocket&) = delete;

    bool Connect(const sockaddr* address, socklen_t length, ProbeClock::time_point deadline)
    {
        if (m_descriptor < 0) {
            return false;
        }
        if (::connect(m_descriptor, address, length) == 0) {
            return true;
        }
        int error = 0;
        socklen_t size = sizeof error;
        return Wait(POLLOUT, deadline) &&
               ::getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
    }

    std::string Ask(std::string_view question, ProbeClock::time_point deadline)
    {
        char answer[kLongestAnswer];
        if (::send(m_descriptor, question.data(), question.size(), MSG_NOSIGNAL) < 0 ||
            !Wait(POLLIN, deadline)) {
            return {};
        }
        const ssize_t count = ::recv(m_descriptor, answer, sizeof answer, 0);
        return count > 0 ? std::string(answer, static_cast<std::size_t>(count)) : std::string();
    }

private:
    bool Wait(short events, ProbeClock::time_point deadline)
    {
        pollfd entry{m_descriptor, events, 0};
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - ProbeClock::now()).count();
        return left > 0 && ::poll(&entry, 1, static_cast<int>(left)) > 0;
    }

    int m_descriptor;
};

/// The addresses of localhost; the second is where most services listen too.
std::string AskEither(std::string_view question, ProbeClock::time_point deadline)
{
    sockaddr_in6 address6{};
    address6.sin6_family = AF_INET6;
    address6.sin6_port = htons(kServicePort);
    address6.sin6_addr = in6addr_loopback;
    CProbeSocket socket6(AF_INET6);
    if (socket6.Connect(reinterpret_cast<const sockaddr*>(&address6), sizeof address6, deadline)) {
        return socket6.Ask(question, deadline);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kServicePort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    CProbeSocket socket(AF_INET);
    if (socket.Connect(reinterpret_cast<const sockaddr*>(&address), sizeof address, deadline)) {
        return socket.Ask(question, deadline);
    }
    return {};
}

/// Messages of the service are arrays of three or four values.
bool BeginsAMessage(const std::string& answer)
{
    const auto first = static_cast<unsigned char>(answer.front());
    return first == 0x93 || first == 0x94 || first == 0xdc || first == 0xdd;
}

/// A record of TLS is an alert or a handshake, and then the version, whose first byte is 3.
bool BeginsARecordOfTls(const std::string& answer)
{
    return answer.size() > 1 && (answer[0] == 0x15 || answer[0] == 0x16) && answer[1] == 0x03;
}

/// Words in an unknown character set, or none: all that is not printable ASCII as "\xe9".
std::string InAscii(const std::string& words)
{
    std::string text;
    char code[8];
    for (const char letter : words) {
        if (letter >= ' ' && letter <= '~') {
            text += letter;
        } else {
            std::snprintf(code, sizeof code, "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(letter)));
            text += code;
        }
    }
    return text;
}

} // namespace

std::string AnswerOfOtherProtocol(double seconds)
{
    const std::chrono::duration<double> limit(seconds);
    const auto deadline =
        ProbeClock::now() + std::chrono::duration_cast<ProbeClock::duration>(limit);
    std::string answer = AskEither(kQuestion, deadline);
    if (answer.empty()) {
        answer = AskEither(kQuestionOfTls, deadline);
    }
    if (answer.empty() || BeginsAMessage(answer)) {
        return {};
    }
    if (kQuestion.rfind(answer, 0) == 0) {
        return "it sends back what it gets, as an echo server does";
    }
    if (BeginsARecordOfTls(answer)) {
        return "it speaks TLS";
    }
    const std::string line = answer.substr(0, answer.find_first_of("\r\n"));
    return "it says: " + (line.empty() ? "an empty line" : InAscii(line));
}
