// Measures the round trip of CNavigationAPI::EngageSteering() against a bare TCP ping-pong of the
// same bytes, and prints both with their ratio.
//
// usage: round-trip-benchmark [ROUNDS]
//
// Both go to the same minimal service, each over its own connection, in turn within every round,
// so that what disturbs the machine disturbs both. All processes share one core, so that no
// migration and no idle core's waking up is measured.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "api/NavigationAPI.h"

namespace {

constexpr unsigned short kServicePort = 5010;
constexpr int kDefaultRounds = 40;
constexpr int kCallsPerRound = 500;
// Message numbers below 256 take fewer bytes; the warm-up uses them up on the library's side.
constexpr int kWarmUpCalls = 1000;

// The end of every request: the name, and the argument list [1].
const std::string kRequestTail = "\xae"
                                 "EngageSteering"
                                 "\x91\x01";
// Before the message number: a list of four, and the kind of the message.
const std::string kRequestHead("\x94\x00", 2);
const std::string kReplyHead("\x94\x01", 2);
// Behind it: no error, and the result 1.
const std::string kReplyTail = "\xc0\x01";

class SocketGuard
{
public:
    explicit SocketGuard(int descriptor) : m_descriptor(descriptor)
    {
        if (descriptor < 0)
            throw std::runtime_error(std::string("no socket: ") + std::strerror(errno));
    }
    ~SocketGuard() { close(m_descriptor); }
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;
    int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};

void RunOnOneCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &cores);
    if (sched_setaffinity(0, sizeof(cores), &cores) != 0)
        std::fprintf(stderr, "the processes could not be bound to one core\n");
}

void SendWithoutDelay(int descriptor)
{
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

sockaddr_in ServiceAddress()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kServicePort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void WriteWhole(int descriptor, const std::string& bytes)
{
    if (send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("a message was not sent whole");
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Reads until what was read ends with `end`; empty when the peer has closed the connection.
std::string ReadUntil(int descriptor, const std::string& end)
{
    std::string bytes;
    char portion[256];
    while (!EndsWith(bytes, end)) {
        const ssize_t count = recv(descriptor, portion, sizeof(portion), 0);
        if (count <= 0)
            return {};
        bytes.append(portion, static_cast<std::size_t>(count));
    }
    return bytes;
}

/// Answers the requests of one connection, one at a time, with the result 1.
void ServeConnection(int listener)
{
    const SocketGuard connection(accept(listener, nullptr, nullptr));
    SendWithoutDelay(connection.Get());
    for (;;) {
        const std::string request = ReadUntil(connection.Get(), kRequestTail);
        if (request.empty())
            return;
        const std::size_t numberLength = request.size() - kRequestHead.size() - kRequestTail.size();
        std::string reply = kReplyHead;
        reply.append(request, kRequestHead.size(), numberLength).append(kReplyTail);
        WriteWhole(connection.Get(), reply);
    }
}

/// Starts a process that serves the next connection and ends with it, or with this process.
pid_t StartService(int listener)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        ServeConnection(listener);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "service: %s\n", problem.what());
        _exit(1);
    }
    _exit(0);
}

int ListenAtServicePort()
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const sockaddr_in address = ServiceAddress();
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener, 2) != 0)
        throw std::runtime_error("cannot listen on port 5010: " + std::string(strerror(errno)));
    return listener;
}

/// The bare side: writes the bytes of a request, reads the bytes of its reply, no more.
class PingPong
{
public:
    PingPong() : m_socket(socket(AF_INET, SOCK_STREAM, 0))
    {
        const sockaddr_in address = ServiceAddress();
        if (connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
            0)
            throw std::runtime_error("cannot connect");
        SendWithoutDelay(m_socket.Get());
    }

    void Call()
    {
        WriteWhole(m_socket.Get(), m_request);
        char reply[64];
        std::size_t read = 0;
        while (read < m_replyLength) {
            const ssize_t count = recv(m_socket.Get(), reply + read, sizeof(reply) - read, 0);
            if (count <= 0)
                throw std::runtime_error("the service is gone");
            read += static_cast<std::size_t>(count);
        }
    }

private:
    // A number of 16 bits, as the library's are once it is warm.
    const std::string m_number = "\xcd\x10\x10";
    const std::string m_request = kRequestHead + m_number + kRequestTail;
    const std::size_t m_replyLength = kReplyHead.size() + m_number.size() + kReplyTail.size();
    SocketGuard m_socket;
};

struct RoundTimes
{
    std::vector<double> medians; ///< microseconds, an element a round
    std::vector<double> p99s;
};

double Quantile(std::vector<double>& values, double part)
{
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

template <typename TCall>
void MeasureRound(RoundTimes& times, TCall call)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> microseconds;
    microseconds.reserve(kCallsPerRound);
    for (int i = 0; i < kCallsPerRound; ++i) {
        const Clock::time_point start = Clock::now();
        call();
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    times.medians.push_back(Quantile(microseconds, 0.5));
    times.p99s.push_back(Quantile(microseconds, 0.99));
}

void Print(RoundTimes& library, RoundTimes& bare)
{
    const double libraryMedian = Quantile(library.medians, 0.5);
    const double libraryP99 = Quantile(library.p99s, 0.5);
    const double bareMedian = Quantile(bare.medians, 0.5);
    const double bareP99 = Quantile(bare.p99s, 0.5);
    std::printf("round trip, microseconds     p50      p99\n");
    std::printf("EngageSteering          %8.2f %8.2f\n", libraryMedian, libraryP99);
    std::printf("bare TCP ping-pong      %8.2f %8.2f\n", bareMedian, bareP99);
    std::printf("ratio                   %8.3f %8.3f\n", libraryMedian / bareMedian,
                libraryP99 / bareP99);
}

void Measure(int rounds)
{
    CNavigationAPI navigation;
    PingPong pingPong;
    const auto callLibrary = [&navigation] {
        if (navigation.EngageSteering() != 1)
            throw std::runtime_error("EngageSteering failed: " + navigation.LastError().text);
    };
    const auto callBare = [&pingPong] { pingPong.Call(); };
    for (int i = 0; i < kWarmUpCalls; ++i) {
        callLibrary();
        callBare();
    }
    RoundTimes library, bare;
    for (int round = 0; round < rounds; ++round) {
        MeasureRound(library, callLibrary);
        MeasureRound(bare, callBare);
    }
    Print(library, bare);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const int rounds = argumentCount > 1 ? std::atoi(arguments[1]) : kDefaultRounds;
    if (rounds < 1 || rounds > 100) { // more would lengthen the message numbers
        std::fprintf(stderr, "usage: round-trip-benchmark [ROUNDS]   1 to 100\n");
        return 2;
    }
    try {
        RunOnOneCore();
        std::vector<pid_t> services;
        {
            const SocketGuard listener(ListenAtServicePort());
            services = {StartService(listener.Get()), StartService(listener.Get())};
        }
        Measure(rounds);
        for (const pid_t service : services)
            waitpid(service, nullptr, 0);
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "round-trip-benchmark: %s\n", problem.what());
        return 1;
    }
}
