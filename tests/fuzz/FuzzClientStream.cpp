// Whatever a service sends, a client that calls and listens ends with a value or without one, and
// its link is down once the service has gone.

#include <cstddef>
#include <cstdint>
#include <memory>

#include <sys/socket.h>
#include <unistd.h>

#include "platform/MPICallback.h"
#include "platform/MPISocketClient.h"
#include "tests/fuzz/FuzzMessages.h"

namespace {

/// Reads what comes of an event, as far as it goes.
class CReadingCallback : public MPICallbackBase
{
public:
    int Callback(BListC* payload) override
    {
        double sum = 0.0;
        for (int index = -1; index <= payload->Size(); ++index) {
            sum += payload->GetDouble(index) + payload->GetInt(index);
            m_letters += payload->GetString(index).size();
        }
        return sum > 0.0 ? 1 : 0;
    }

private:
    std::size_t m_letters = 0;
};

void SendAll(int descriptor, const std::uint8_t* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(descriptor, data, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return; // the client has had enough
        }
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    int ends[2];
    FuzzMessages::Require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "a socket pair");
    MPISocketClientC client(false);
    client.SetTimeout(1000);
    client.RequestCallback("ev", new CReadingCallback);
    FuzzMessages::Require(client.Accept(ends[0]), "the client takes the socket over");
    SendAll(ends[1], data, size);
    ::shutdown(ends[1], SHUT_WR);

    const std::unique_ptr<BElementC> first(client.CallMethod("a", nullptr));
    client.ProcessMessages(false);
    const std::unique_ptr<BElementC> second(client.CallMethod("b", nullptr));
    client.ProcessMessages(false);
    client.ReceiveMessage(false);
    FuzzMessages::Require(!client.IsLinkUp(), "the link is down once the service has gone");
    ::close(ends[1]);
    return 0;
}
