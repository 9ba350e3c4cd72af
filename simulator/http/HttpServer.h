#ifndef KESTROVE_SIMULATOR_HTTP_HTTPSERVER_H
#define KESTROVE_SIMULATOR_HTTP_HTTPSERVER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include <httplib.h>

#include "simulator/http/HttpStream.h"
#include "simulator/http/LoopbackListener.h"

/// Serves HTTP on the loopback addresses: the HTTP library understands requests and writes answers,
/// while connections and threads are kept here, so that both are bounded and an end is prompt.
///
/// A connection carries one request and is then closed. A fixed number of threads serves them; a
/// few connections more wait for their turn, and any beyond are closed at once.
///
/// Thread safety: started and stopped on one thread. Handlers run on the serving threads.
class HttpServerC : private httplib::Server
{
public:
    /// @param threads how many requests are served at once.
    /// @param mostBodyBytes the longest body of a request.
    /// @param streamPath the path whose answer goes on for as long as the peer is there.
    HttpServerC(std::size_t threads, std::size_t mostBodyBytes, const HttpPatience& patience,
                std::string streamPath);
    /// Stops.
    ~HttpServerC() override;

    /// What to do with requests; to be told before Start().
    httplib::Server& Handlers() { return *this; }

    /// For a handler, about the request that it is called with: what tells whether the peer has
    /// gone meanwhile. May be asked on any thread, as long as the handler has not returned.
    static std::function<bool()> WhetherPeerHasGone();

    /// Starts to listen; see LoopbackListenerC::Listen().
    std::string Listen(std::uint16_t port);
    std::uint16_t Port() const { return m_listener.Port(); }
    /// Starts to serve what comes in.
    void Start();
    /// Ends every connection and all threads. Handlers that wait for something of their own must be
    /// let go before.
    void Stop();

private:
    void AcceptConnections();
    void Take(int connection);
    void Serve(int connection);
    bool Register(int connection);
    void Answer(HttpStreamC& stream);
    void Close(int connection);

    std::size_t m_threadCount;
    std::size_t m_mostBytes;
    HttpPatience m_patience;
    std::string m_streamPath;
    LoopbackListenerC m_listener;
    std::unique_ptr<httplib::ThreadPool> m_pool;
    std::thread m_acceptor;
    std::mutex m_mutex;
    std::set<int> m_connections; ///< guarded by m_mutex
    bool m_stopping = false;     ///< guarded by m_mutex
};

#endif
