#include "runtime/MPISocketServer.h"

#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "tests/runtime/RunningService.h"
#include "tests/support/Bytes.h"
#include "tests/support/RawClient.h"

namespace {

bool Connects(std::uint16_t port, const std::string& address)
{
    try {
        CRawClient client(port, address);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace

TEST(Server, SaysWhichPortIsTaken)
{
    CRunningService service;
    const std::uint16_t port = service.Port();
    asio::io_context loop;
    for (const EListenOn addresses : {EListenOn::Both, EListenOn::IPv4Only, EListenOn::IPv6Only}) {
        MPISocketServerC second(loop, service);
        EXPECT_EQ("port " + std::to_string(port) + " is already in use",
                  second.Listen(port, addresses));
        EXPECT_EQ(0, second.Port());
    }
}

TEST(Server, ListensOnTheSamePortAgainWhileOldConnectionsFadeOut)
{
    CRunningService service;
    const std::uint16_t port = service.Port();
    for (int round = 0; round < 3; ++round) {
        CRawClient client(port);
        Settle(client);
        service.OnLoop([&](MPISocketServerC& server) {
            server.StopListening();
            EXPECT_EQ(0, server.Port());
            server.DisconnectAll();
            EXPECT_EQ("", server.Listen(port));
        });
    }
}

TEST(Server, KeepsItsConnectionsWhenItStopsListening)
{
    CRunningService service;
    const std::uint16_t port = service.Port();
    CRawClient client(port);
    Settle(client);
    service.OnLoop([](MPISocketServerC& server) { server.StopListening(); });
    Settle(client);
    EXPECT_FALSE(Connects(port, "127.0.0.1"));
}

TEST(Server, ListensOnTheChosenLoopbackAddressesOnly)
{
    struct
    {
        EListenOn addresses;
        bool onV4;
        bool onV6;
    } const rows[] = {{EListenOn::Both, true, true},
                      {EListenOn::IPv4Only, true, false},
                      {EListenOn::IPv6Only, false, true}};
    for (const auto& row : rows) {
        CRunningService service(row.addresses);
        EXPECT_EQ(row.onV4, Connects(service.Port(), "127.0.0.1"));
        EXPECT_EQ(row.onV6, Connects(service.Port(), "::1"));
        EXPECT_FALSE(Connects(service.Port(), "127.0.0.2"));
    }
}

TEST(Server, OpensEverySocketCloseOnExec)
{
    CRunningService service;
    CRawClient client(service.Port());
    Settle(client);
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        int type = 0;
        socklen_t size = sizeof(type);
        if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 &&
            type == SOCK_STREAM) {
            ++sockets;
            EXPECT_NE(0, ::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) << descriptor;
        }
    }
    EXPECT_GE(sockets, 4); // two listeners, both ends of the connection
}
