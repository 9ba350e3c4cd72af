#include <cstring>
#include <stdexcept>
#include <string>

#include <zmq.h>

#include "benchmarks/peers/Peer.h"
#include "benchmarks/support/Process.h"
#include "benchmarks/support/Service.h"

namespace {

constexpr const char* kAddress = "tcp://127.0.0.1:5011";

/// A socket of ZeroMQ with its context.
class CZeroMqSocket
{
public:
    explicit CZeroMqSocket(int kind)
        : m_context(zmq_ctx_new()), m_socket(zmq_socket(m_context, kind))
    {
        const int none = 0;
        zmq_setsockopt(m_socket, ZMQ_LINGER, &none, sizeof(none));
    }
    ~CZeroMqSocket()
    {
        zmq_close(m_socket);
        zmq_ctx_term(m_context);
    }
    CZeroMqSocket(const CZeroMqSocket&) = delete;
    CZeroMqSocket& operator=(const CZeroMqSocket&) = delete;
    void* Get() const { return m_socket; }

private:
    void* m_context;
    void* m_socket;
};

void Serve()
{
    const CZeroMqSocket socket(ZMQ_REP);
    if (zmq_bind(socket.Get(), kAddress) != 0) {
        throw std::runtime_error(std::string("ZeroMQ cannot listen: ") + zmq_strerror(errno));
    }
    const std::string reply(Benchmarks::ReplyLength(), 'r');
    char request[256];
    while (zmq_recv(socket.Get(), request, sizeof(request), 0) >= 0) {
        zmq_send(socket.Get(), reply.data(), reply.size(), 0);
    }
}

class CZeroMqPeer : public CPeer
{
public:
    CZeroMqPeer() : m_service(Serve), m_socket(ZMQ_REQ) { zmq_connect(m_socket.Get(), kAddress); }

    void Call() override
    {
        char reply[64];
        if (zmq_send(m_socket.Get(), m_request.data(), m_request.size(), 0) < 0 ||
            zmq_recv(m_socket.Get(), reply, sizeof(reply), 0) < 0) {
            throw std::runtime_error("ZeroMQ has failed");
        }
    }

private:
    const std::string m_request = Benchmarks::RequestBytes();
    Benchmarks::CChild m_service;
    CZeroMqSocket m_socket;
};

} // namespace

std::unique_ptr<CPeer> MakeZeroMqPeer()
{
    return std::make_unique<CZeroMqPeer>();
}
