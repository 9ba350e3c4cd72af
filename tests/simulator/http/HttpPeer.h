#ifndef KESTROVE_TESTS_SIMULATOR_HTTP_HTTPPEER_H
#define KESTROVE_TESTS_SIMULATOR_HTTP_HTTPPEER_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// A browser's end of a connection, which sends and reads what a test wants. Ends with the object.
class HttpPeer
{
public:
    /// Connects; throws std::runtime_error when that fails.
    ///
    /// @param receiveBuffer bytes that the system may keep for this end; 0 for its own choice.
    explicit HttpPeer(std::uint16_t port, int receiveBuffer = 0, bool overV6 = false);
    ~HttpPeer();
    HttpPeer(const HttpPeer&) = delete;
    HttpPeer& operator=(const HttpPeer&) = delete;

    void Send(const std::string& bytes);
    /// Says that nothing more will be sent.
    void EndSending();
    /// Ends the connection so that the other end finds it reset.
    void Reset();
    /// Reads until a text has come, or the other end closes, or ten seconds are over.
    ///
    /// @return whether the text has come.
    bool ReadUntil(const std::string& text);
    /// Reads until the other end closes, or the time is over.
    ///
    /// @return whether it has closed.
    bool ReadToEnd(std::chrono::milliseconds atMost = std::chrono::seconds(60));
    /// Forgets what has been read.
    void Forget() { m_read.clear(); }
    /// Takes bytes as if they had just been read.
    void PutBack(const std::string& bytes) { m_read = bytes + m_read; }
    /// What has been read since.
    const std::string& Read() const { return m_read; }

private:
    /// @return false at the end of the connection or of the time.
    bool ReadSome(std::chrono::steady_clock::time_point until);

    int m_socket;
    bool m_closed = false;
    std::string m_read;
};

/// An answer as it came.
struct HttpAnswer
{
    int status = 0;
    std::string head; ///< status line and headers
    std::string body;
};

/// A request, put together as a test wants it.
struct HttpRequest
{
    std::string method = "GET";
    std::string path = "/";
    std::string host; ///< "localhost" and the port unless given
    std::vector<std::string> headers;
    std::string body;
};

/// The bytes of a request; with a body goes its length.
std::string BytesOf(const HttpRequest& request, std::uint16_t port);
/// Makes a request over a connection of its own.
HttpAnswer Ask(std::uint16_t port, const HttpRequest& request);
/// Posts.
HttpAnswer Post(std::uint16_t port, const std::string& path, const std::string& type,
                const std::string& body);
/// Posts the text form of a wayline.
HttpAnswer PostWayline(std::uint16_t port, const std::string& text);
/// Posts a command; gives the answer's body.
std::string Command(std::uint16_t port, const std::string& command);

/// A stream of events that has been asked for.
class EventStream
{
public:
    explicit EventStream(std::uint16_t port, int receiveBuffer = 0);

    /// Waits for the next event of a kind.
    ///
    /// @return its data; empty when none came.
    std::string Next(const std::string& event);
    /// Waits for an event of a kind whose data has a text.
    std::string NextWith(const std::string& event, const std::string& text);
    HttpPeer& Peer() { return m_peer; }

private:
    HttpPeer m_peer;
};

/// Whether an answer has come, and the end of the connection.
inline bool IsAnswered(HttpPeer& peer, const std::string& text)
{
    return peer.ReadToEnd() && peer.Read().find("\r\n\r\n" + text) != std::string::npos;
}

#endif
