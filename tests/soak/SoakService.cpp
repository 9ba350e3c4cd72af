#include "tests/soak/SoakService.h"

#include <csignal>
#include <memory>
#include <string>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "runtime/MPISocketServer.h"

namespace {

/// Remembers settings; SetFieldOffset pushes as many events as its argument says, half of them
/// before the reply, and GetFieldOffset returns how many have been pushed.
class CHandler : public MPIServiceHandlerC
{
public:
    CHandler(asio::io_context& loop, int epoch) : m_epoch(epoch), m_server(loop, *this) {}

    MPISocketServerC& Server() { return m_server; }

    void RequestReceived(ClientNumber client, std::uint64_t number, const std::string& name,
                         const BListC& arguments) override
    {
        if (name == "SetFieldOffset") {
            const int count = static_cast<int>(arguments.GetDouble(1));
            Push(count / 2);
            Reply(client, number, 1);
            Push(count - count / 2);
        } else if (name == "GetFieldOffset") {
            Reply(client, number, static_cast<double>(m_pushed));
        } else if (name == "SetImplementWidth") {
            m_width = arguments.GetDouble(1);
            Reply(client, number, 1);
        } else if (name == "GetImplementWidth") {
            Reply(client, number, m_width);
        } else if (name == "get_lookahead_time") {
            Reply(client, number, m_lookAheadTime);
        } else if (name == "set_wayline") {
            m_wayline = Copy(arguments);
            Reply(client, number, 1);
        } else if (name == "get_wayline") {
            m_server.Reply(client, number, m_wayline.get());
        } else if (name == "EngageSteering") {
            Reply(client, number, m_epoch);
        } else {
            m_server.ReplyError(client, number, "no operation of this name");
        }
    }
    void NotificationReceived(ClientNumber, const std::string& name,
                              const BListC& arguments) override
    {
        if (name == "set_lookahead_time") {
            m_lookAheadTime = arguments.GetDouble(0);
        }
    }

private:
    template <typename Number>
    void Reply(ClientNumber client, std::uint64_t number, Number value)
    {
        const BAtomC reply(value);
        m_server.Reply(client, number, &reply);
    }
    void Push(int count)
    {
        for (; count > 0; --count) {
            BListC payload(nullptr);
            payload.AddDouble(m_epoch);
            payload.AddDouble(static_cast<double>(m_pushed++));
            payload.AddDouble(0.0);
            m_server.Push("cb_relative_position", payload);
        }
    }
    static std::unique_ptr<BListC> Copy(const BListC& list)
    {
        auto copy = std::make_unique<BListC>(nullptr);
        for (int index = 0; index < list.Size(); ++index) {
            if (list.TypeAt(index) == EBElementType::Double) {
                copy->AddDouble(list.GetDouble(index));
            } else {
                copy->AddInt(list.GetInt(index));
            }
        }
        return copy;
    }

    int m_epoch;
    long m_pushed = 0;
    double m_width = 0.0;
    double m_lookAheadTime = 0.0;
    std::unique_ptr<BListC> m_wayline;
    MPISocketServerC m_server;
};

} // namespace

CSoakService::~CSoakService()
{
    End(EEnd::Killed);
}

bool CSoakService::Start(int epoch)
{
    int ready[2];
    if (::pipe(ready) != 0) {
        return false;
    }
    m_process = ::fork();
    if (m_process == 0) {
        ::close(ready[0]);
        const std::string number = std::to_string(epoch);
        const std::string descriptor = std::to_string(ready[1]);
        ::execl("/proc/self/exe", "soak", "--serve", number.c_str(), descriptor.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(ready[1]);
    char byte = 0;
    const bool listens = m_process > 0 && ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    return listens;
}

void CSoakService::End(EEnd how)
{
    if (m_process > 0) {
        const int signals[] = {SIGTERM, SIGKILL, SIGUSR1};
        ::kill(m_process, signals[static_cast<int>(how)]);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

int CSoakService::Serve(int epoch, int readyDescriptor)
{
    asio::io_context loop;
    CHandler handler(loop, epoch);
    if (!handler.Server().Listen(5010).empty()) {
        return 3;
    }
    asio::signal_set signals(loop, SIGTERM, SIGUSR1);
    signals.async_wait([&](const asio::error_code&, int signal) {
        handler.Server().DisconnectAll(signal == SIGUSR1);
        loop.stop();
    });
    if (::write(readyDescriptor, "r", 1) != 1) {
        return 1;
    }
    ::close(readyDescriptor);
    loop.run();
    return 0;
}
