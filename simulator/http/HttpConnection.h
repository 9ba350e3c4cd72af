#ifndef KESTROVE_SIMULATOR_HTTP_HTTPCONNECTION_H
#define KESTROVE_SIMULATOR_HTTP_HTTPCONNECTION_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <asio/buffer.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "runtime/PeerSocket.h"
#include "simulator/http/AnswerHead.h"
#include "simulator/http/RequestCheck.h"
#include "simulator/http/RequestReader.h"

/// How long a peer is waited for.
struct HttpPatience
{
    std::chrono::milliseconds firstByte{2000}; ///< browsers open connections that they never use
    std::chrono::milliseconds request{10000};  ///< for the whole of it, headers and body
    std::chrono::milliseconds answer{20000};   ///< for the peer to take the whole of it
    std::chrono::milliseconds stream{120000};  ///< for the peer of a stream to take anything
};

class CHttpConnection;

/// What a connection reports, on the thread that serves it.
class CHttpConnectionOwner
{
public:
    /// The head of a request has come.
    ///
    /// @return why the request is not served, when it is not.
    virtual HttpRefusal Check(const ServedRequest& request) = 0;
    /// A request has come whole. It is answered by CHttpConnection::Answer() or Stream(), now or
    /// later.
    virtual void Serve(const std::shared_ptr<CHttpConnection>& connection) = 0;
    /// There is something to read that is long, or that nobody waits for: GiveTurn() of the
    /// connection is to be called once, in its turn.
    virtual void AskForTurn(const std::shared_ptr<CHttpConnection>& connection) = 0;
    /// Something has come of a request, or an answer waits: more memory is held.
    ///
    /// @param more bytes.
    virtual void Grown(std::size_t more) = 0;
    /// The connection has ended.
    virtual void Ended(CHttpConnection& connection) = 0;

protected:
    ~CHttpConnectionOwner() = default;
};

/// One connection, which carries one request: reads it, writes its answer or a stream, and reads
/// away what still comes before it closes, so that closing does not take the answer from the peer.
/// A peer that closes its side before a POST is answered has given that up: its connection ends at
/// once. One that asks for something else may still listen for the answer, unless it is gone. No
/// wait is without a limit, and none holds up anybody else. What comes is read in portions of 16
/// KiB, one at a time: a head and a short body as soon as they are there, a long body and what
/// nobody waits for when the owner gives it a turn.
///
/// Thread safety: none, but for HasGone() and IsClosed(); lives on the thread that runs its loop.
/// Lifetime: shared by its owner and by the operations under way.
class CHttpConnection : public std::enable_shared_from_this<CHttpConnection>
{
public:
    enum class EStage
    {
        Reading,   ///< the request has not come whole
        Waiting,   ///< for the answer
        Answering, ///< writing it
        Streaming,
        Ending, ///< all is written; reading away what still comes
        Closed,
    };

    /// Gives what is to be sent next over a stream; empty when nothing is.
    using Source = std::function<std::string()>;

    /// @param peers, owner must outlive the connection, until it has been closed.
    CHttpConnection(asio::ip::tcp::socket socket, const HttpPatience& patience, PeerSocketC& peers,
                    CHttpConnectionOwner& owner);

    /// Begins to read; what has come already is read now.
    void Start();
    /// Reads one portion of what it has asked for a turn for.
    void GiveTurn();
    EStage Stage() const { return m_stage; }
    const ServedRequest& Request() const { return m_reader.Request(); }
    /// The body of the request, to keep; the request has none then.
    CRequestBody TakeBody() { return m_reader.TakeBody(); }
    /// Whether the peer has closed its side, or is gone. May be asked on any thread.
    bool HasGone() const;
    /// Whether no process has the peer's end any more, so that nobody takes an answer.
    bool HasLeft() const;

    /// Whether it has been closed at this end. May be read on any thread.
    const std::atomic<bool>& IsClosed() const { return m_isClosed; }

    /// Whether the begin of its request has come and has not been read.
    bool HasUnreadRequest() const
    {
        asio::error_code error;
        return !m_anythingCame && m_socket.available(error) > 0;
    }

    /// Has the request kept until it is answered, whoever else comes.
    void Keep() { m_isKept = true; }
    bool IsKept() const { return m_isKept; }

    /// Answers. Without effect when the connection has been closed meanwhile.
    void Answer(const ServedAnswer& answer);
    /// Answers with a stream of events, which goes on for as long as the peer is there. What waits
    /// for the peer at this end is what `source` gave last, and 16 KiB of the system's.
    ///
    /// @param ended is called once the stream has ended.
    void Stream(Source source, std::function<void()> ended);
    /// Sends what the source of the stream has, unless something is being sent, or the peer has
    /// left so much unread that more would be out of date when it comes to it. To be called again
    /// and again.
    void Wake();
    /// For how long the peer of the stream has taken nothing of what it is sent; 0 when it takes
    /// all.
    std::chrono::milliseconds Untaken() const;

    /// For how long its request has been coming, or nothing has been taken of its answer.
    std::chrono::milliseconds Idle(std::chrono::steady_clock::time_point now) const
    {
        const auto since = now - (m_stage == EStage::Reading ? m_start : m_lastTaken);
        return std::chrono::duration_cast<std::chrono::milliseconds>(since);
    }
    /// How much memory is held for this connection alone, bytes.
    std::size_t Held() const;
    /// Closes at once.
    void Close();

private:
    using Clock = std::chrono::steady_clock;

    void Limit(Clock::time_point until);
    void WaitToRead();
    /// Whether what comes is read only when all others have been looked at since the last such
    /// turn of anybody. A short request is there after one or two portions, and behind its end
    /// little is read.
    bool ReadsInTurns() const
    {
        return m_stage == EStage::Reading ? m_reader.IsWithinLongBody()
                                          : m_stage != EStage::Waiting;
    }
    void Read();
    void InputEnded(const asio::error_code& error);
    bool IsReading() const;
    bool IsGivenUp();
    void Take(const char* bytes, std::size_t count);
    void HeadHasCome();
    /// A peer that waits to be asked to. Nothing has been sent before, so that the system has room.
    void TellToGoOn()
    {
        asio::error_code error;
        if (m_reader.IsWaitedFor()) {
            m_socket.write_some(asio::buffer(std::string_view("HTTP/1.1 100 Continue\r\n\r\n")),
                                error);
        }
    }
    void GoOnFrom(CRequestReader::EStage read);
    void CountHeld();
    void Refuse(int status, const std::string& reason);
    void Write();
    void WaitToWrite();
    void AllIsWritten();
    bool IsHeldBack();

    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_timer;
    HttpPatience m_patience;
    PeerSocketC& m_peers;
    CHttpConnectionOwner& m_owner;
    CRequestReader m_reader;
    EStage m_stage = EStage::Reading;
    Clock::time_point m_start = Clock::now();
    bool m_anythingCame = false;
    bool m_isWaitingToRead = false;
    bool m_isKept = false;
    std::size_t m_counted = 0; ///< of what is held of the request, when the owner last heard of it
    std::string m_head;        ///< of the answer; or what is being sent of the stream
    ServedAnswer::Body m_body;
    std::size_t m_sent = 0;    ///< of both
    std::size_t m_drained = 0; ///< of what came behind the request
    Source m_source;
    std::function<void()> m_ended;
    bool m_isWriting = false;
    Clock::time_point m_lastTaken; ///< or when the writing or holding back began
    bool m_isHeldBack = false;     ///< what is new, until the peer reads
    std::size_t m_unread = 0;      ///< by the peer, when it was last asked for
    mutable std::mutex m_closing;  ///< the socket is closed, and looked at from elsewhere, under it
    std::atomic<bool> m_isClosed{false}; ///< set under m_closing
};

#endif
