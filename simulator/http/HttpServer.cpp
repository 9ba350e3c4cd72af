#include "simulator/http/HttpServer.h"

#include <exception>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

#include "simulator/SignalsBlocked.h"

namespace {

// Beside the body.
constexpr std::size_t kMostHeaderBytes = 64 * 1024;
// Connections that wait for a thread.
constexpr std::size_t kMostWaiting = 40;

// What this thread answers on: the library tells its handlers nothing of the connection.
thread_local const HttpStreamC* answeredOn = nullptr;

} // namespace

HttpServerC::HttpServerC(std::size_t threads, std::size_t mostBodyBytes,
                         const HttpPatience& patience, std::string streamPath)
    : m_threadCount(threads), m_mostBytes(mostBodyBytes + kMostHeaderBytes), m_patience(patience),
      m_streamPath(std::move(streamPath))
{
    set_payload_max_length(mostBodyBytes);
}

HttpServerC::~HttpServerC()
{
    Stop();
}

std::function<bool()> HttpServerC::WhetherPeerHasGone()
{
    return [stream = answeredOn] { return stream->PeerHasClosed(); };
}

std::string HttpServerC::Listen(std::uint16_t port)
{
    return m_listener.Listen(port);
}

void HttpServerC::Start()
{
    const SignalsBlockedC blocked;
    // The library takes an answer that is still being written for one to break off without this.
    svr_sock_ = m_listener.Socket();
    m_pool = std::make_unique<httplib::ThreadPool>(m_threadCount);
    m_acceptor = std::thread([this] { AcceptConnections(); });
}

void HttpServerC::Stop()
{
    if (!m_acceptor.joinable())
        return;
    svr_sock_ = INVALID_SOCKET;
    m_listener.Stop();
    m_acceptor.join();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        for (const int connection : m_connections)
            ::shutdown(connection, SHUT_RDWR);
    }
    m_pool->shutdown();
}

void HttpServerC::AcceptConnections()
{
    for (;;) {
        const int connection = m_listener.Accept();
        if (connection < 0)
            return;
        Take(connection);
    }
}

void HttpServerC::Take(int connection)
{
    if (Register(connection)) {
        m_pool->enqueue([this, connection] { Serve(connection); });
    } else {
        ::close(connection);
    }
}

bool HttpServerC::Register(int connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopping || m_connections.size() >= m_threadCount + kMostWaiting)
        return false;
    m_connections.insert(connection);
    return true;
}

void HttpServerC::Serve(int connection)
{
    HttpStreamC stream(connection, m_patience, m_mostBytes);
    if (stream.WaitForRequest()) {
        Answer(stream);
        stream.Drain();
    }
    Close(connection);
}

void HttpServerC::Answer(HttpStreamC& stream)
{
    answeredOn = &stream;
    try {
        bool closed = false;
        process_request(stream, true, closed, [this, &stream](httplib::Request& request) {
            // Nothing is gained by either between programs of one machine.
            request.headers.erase("Accept-Encoding");
            request.ranges.clear();
            if (request.path == m_streamPath)
                stream.ExpectOpenPeer();
        });
    } catch (const std::exception&) {
        // Want of memory, for one: it costs this connection and nothing else.
    }
    answeredOn = nullptr;
}

void HttpServerC::Close(int connection)
{
    // Together, so that Stop() does not shut down another connection under the same number.
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connections.erase(connection);
    ::close(connection);
}
