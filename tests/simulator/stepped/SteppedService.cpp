#include "tests/simulator/stepped/SteppedService.h"

#include <future>
#include <stdexcept>
#include <utility>

#include <asio/post.hpp>
#include <sys/socket.h>
#include <sys/time.h>

#include "platform/BEncoder.h"
#include "tests/simulator/Values.h"
#include "tests/support/Bytes.h"

namespace {

ServiceCoreOptions SteppedOptions()
{
    ServiceCoreOptions options;
    options.simulation.receiver = EReceiver::Ideal;
    options.simulation.speed = 2.0;
    options.stepped = true;
    return options;
}

std::string BytesOf(const std::string& arguments)
{
    BEncoderC encoder;
    if (!encoder.Write(*ListFrom(arguments))) {
        throw std::runtime_error("cannot be written: " + arguments);
    }
    return {encoder.Data(), encoder.Size()};
}

/// "[1,7,null,1]" is "7: 1".
std::string ReplyText(const CRawMessage& message)
{
    const std::string number = std::to_string(message.number);
    const std::size_t kind = 3; // "[1,"
    const std::string rest = message.text.substr(kind + number.size() + 1);
    const std::string none = "null,";
    return number + ": " +
           (rest.rfind(none, 0) == 0 ? rest.substr(none.size(), rest.size() - none.size() - 1)
                                     : rest.substr(0, rest.size() - 1));
}

} // namespace

CSteppedService::CSteppedService()
    : m_work(asio::make_work_guard(m_loop)), m_link(m_loop, SteppedOptions())
{
    if (!m_link.Listen(0).empty()) {
        throw std::runtime_error("cannot listen");
    }
    m_port = m_link.Port();
    m_thread = std::thread([this] { m_loop.run(); });
}

CSteppedService::~CSteppedService()
{
    Stop();
}

void CSteppedService::OnLoop(const std::function<void(CServiceCore&)>& action)
{
    std::promise<void> done;
    asio::post(m_loop, [&] {
        action(m_link.Core());
        done.set_value();
    });
    done.get_future().get();
}

void CSteppedService::Stop()
{
    m_loop.stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

CCaller::CCaller(const CSteppedService& service) : m_client(service.Port())
{
    Call("simulator_time");
}

void CCaller::Send(const std::string& name, const std::string& arguments)
{
    m_client.Send(Bytes::Request(++m_number, name, BytesOf(arguments)));
}

void CCaller::Notify(const std::string& name, const std::string& arguments)
{
    m_client.Send(Bytes::Notification(name, BytesOf(arguments)));
}

std::string CCaller::Reply()
{
    if (m_replies.empty()) {
        return NextReply();
    }
    std::string first = std::move(m_replies.front());
    m_replies.pop_front();
    return first;
}

std::string CCaller::NextReply()
{
    CRawMessage message = m_client.Read();
    while (message.kind == 2) {
        m_events.push_back(message.text);
        message = m_client.Read();
    }
    return ReplyText(message);
}

std::string CCaller::Call(const std::string& name, const std::string& arguments)
{
    Send(name, arguments);
    const std::string reply = Reply();
    return reply.substr(reply.find(' ') + 1);
}

void CCaller::BeReadBehind()
{
    // By what overtakes, in a form that is refused and so changes nothing.
    Send("DisengageSteering", "[]");
    const std::string urgent = std::to_string(m_number) + ": ";
    std::string reply = NextReply();
    while (reply.rfind(urgent, 0) != 0) {
        m_replies.push_back(std::move(reply));
        reply = NextReply();
    }
}

std::vector<std::string> CCaller::TakeEvents()
{
    return std::exchange(m_events, {});
}

void CCaller::TakeWhatIsThere()
{
    timeval shortest = {0, 1000};
    ::setsockopt(m_client.Descriptor(), SOL_SOCKET, SO_RCVTIMEO, &shortest, sizeof(shortest));
    try {
        while (true) {
            const CRawMessage message = m_client.Read();
            if (message.kind == 2) {
                m_events.push_back(message.text);
            }
        }
    } catch (const std::runtime_error&) {
        // There is nothing more.
    }
}
