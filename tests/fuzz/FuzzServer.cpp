// The whole simulated service over real sockets: clients connect, send anything in any portions,
// read or do not, and leave in any way. The service answers an honest client afterwards, and holds
// nothing of the others once they have gone.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/io_context.hpp>

#include "simulator/service/ServiceLink.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

constexpr int kMostPolls = 10'000;

/// A client's end of a connection to the service; never waits.
class CClient
{
public:
    explicit CClient(std::uint16_t port) : m_descriptor(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int error = 0;
        if (::connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
            0) {
            error = errno;
        }
        if (error == EINTR) { // by the fuzzer's alarm; the system goes on connecting
            pollfd connected = {m_descriptor, POLLOUT, 0};
            while (::poll(&connected, 1, -1) < 0 && errno == EINTR) {
            }
            socklen_t size = sizeof(error);
            ::getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
        }
        FuzzMessages::Require(error == 0, "the service takes connections");
    }
    ~CClient() { ::close(m_descriptor); }
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    void Send(const char* bytes, std::size_t size) const
    {
        ::send(m_descriptor, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    std::string Read() const
    {
        std::array<char, 4096> room = {};
        const ssize_t count = ::recv(m_descriptor, room.data(), room.size(), MSG_DONTWAIT);
        return count > 0 ? std::string(room.data(), static_cast<std::size_t>(count))
                         : std::string();
    }
    void EndSending() const { ::shutdown(m_descriptor, SHUT_WR); }
    void ResetAtTheEnd() const
    {
        const linger now = {1, 0};
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    }

private:
    int m_descriptor;
};

/// What a session's bytes say: steps, each of a kind, a client, and for some a length and as many
/// bytes.
class CSession
{
public:
    CSession() : m_link(m_loop, Options())
    {
        FuzzMessages::Require(m_link.Listen(0).empty(), "the service listens");
    }

    void Run(const std::uint8_t* data, std::size_t size)
    {
        std::size_t place = 0;
        while (place < size) {
            const unsigned step = data[place++];
            std::unique_ptr<CClient>& client = m_clients[step % m_clients.size()];
            if (client == nullptr) {
                client = std::make_unique<CClient>(m_link.Port());
            }
            switch (step / m_clients.size() % 8) {
            case 0:
                client->Read();
                break;
            case 1:
                client->EndSending();
                break;
            case 2:
                client->ResetAtTheEnd();
                client.reset();
                break;
            case 3:
                m_link.Core().Advance(0.1);
                break;
            case 4:
                client.reset();
                break;
            default: {
                const std::size_t length = place < size ? data[place++] + std::size_t{1} : 0;
                const std::size_t count = std::min(length, size - place);
                client->Send(reinterpret_cast<const char*>(data + place), count);
                place += count;
                break;
            }
            }
            m_loop.poll();
        }
    }

    /// An honest client is answered; without clients nothing is held.
    void Check()
    {
        const CClient honest(m_link.Port());
        const std::string request = std::string("\x94\x00\x07\xb1", 4) + "IsSteeringEngaged\x90";
        honest.Send(request.data(), request.size());
        std::string answer;
        for (int polls = 0; polls < kMostPolls && answer.size() < 5; ++polls) {
            m_loop.poll();
            answer += honest.Read();
        }
        FuzzMessages::Require(answer.substr(0, 4) == "\x94\x01\x07\xc0",
                              "an honest client is answered");
        for (std::unique_ptr<CClient>& client : m_clients) {
            client.reset();
        }
        for (int polls = 0; polls < kMostPolls && m_link.HeldBytes() > OneClient(); ++polls) {
            m_loop.poll();
        }
        FuzzMessages::Require(m_link.HeldBytes() <= OneClient(),
                              "nothing is held of clients that have gone");
    }

private:
    /// What a client may count for that is connected and quiet.
    static std::size_t OneClient() { return std::size_t{32} * 1024; }

    static ServiceCoreOptions Options()
    {
        ServiceCoreOptions options;
        options.simulation.speed = 2.0;
        return options;
    }

    asio::io_context m_loop;
    CServiceLink m_link;
    std::array<std::unique_ptr<CClient>, 4> m_clients;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    std::cerr.setstate(std::ios::failbit); // what the service logs of such clients
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CSession session;
    session.Run(data, size);
    session.Check();
    return 0;
}
