#include "simulator/http/HttpConnection.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include <asio/buffer.hpp>
#include <asio/error.hpp>

#include "simulator/http/AnswerHead.h"

namespace {

// For what the peer still sends after its answer.
constexpr std::chrono::milliseconds kEnding(500);
constexpr std::size_t kMostDrained = 8 * 1024 * 1024;
// So much is read of what comes behind a request before its answer.
constexpr std::size_t kMostBehind = 64 * 1024;
// So much is read, or written of an answer, at once, before others have their turn.
constexpr std::size_t kReadBytes = 16 * 1024;
constexpr std::size_t kWriteBytes = 64 * 1024;
// The system doubles it.
constexpr int kSendBufferOfAStream = 8 * 1024;
// A peer of a stream that has not read so much is sent no more: some fifty states.
constexpr std::size_t kMostUnread = 32 * 1024;

} // namespace

CHttpConnection::CHttpConnection(asio::ip::tcp::socket socket, const HttpPatience& patience,
                                 PeerSocketC& peers, CHttpConnectionOwner& owner)
    : m_socket(std::move(socket)), m_timer(m_socket.get_executor()), m_patience(patience),
      m_peers(peers), m_owner(owner)
{
}

void CHttpConnection::Start()
{
    // In a flood many have gone before they are read: that is found out at a fraction of the cost
    // of reading them, so that those behind them do not wait.
    if (IsGivenUp()) {
        Close();
        return;
    }
    asio::error_code error;
    m_socket.non_blocking(true, error);
    m_socket.set_option(asio::ip::tcp::no_delay(true), error);
    Limit(Clock::now() + m_patience.firstByte);
    Read();
}

/// Whether nobody waits for an answer: the peer has closed its side of what begins as a POST, or is
/// gone.
bool CHttpConnection::IsGivenUp()
{
    if (!HasGone()) {
        return false;
    }
    std::array<char, 5> start{}; // ends with a zero
    ::recv(m_socket.native_handle(), start.data(), start.size() - 1, MSG_PEEK | MSG_DONTWAIT);
    return start.data() == std::string_view("POST") || HasLeft();
}

bool CHttpConnection::HasGone() const
{
    const std::lock_guard<std::mutex> lock(m_closing);
    if (m_isClosed) {
        return true;
    }
    // Its lowest-level handle alone: the rest of the socket belongs to the other thread.
    pollfd polled{const_cast<asio::ip::tcp::socket&>(m_socket).native_handle(), POLLRDHUP, 0};
    return ::poll(&polled, 1, 0) > 0;
}

bool CHttpConnection::HasLeft() const
{
    if (m_stage == EStage::Closed) {
        return true;
    }
    const auto peer = HasGone() ? m_peers.Of(m_socket) : std::nullopt;
    return peer && !peer->isOpen;
}

/// What several share, each holds a part of.
std::size_t CHttpConnection::Held() const
{
    const std::size_t body =
        m_body ? m_body->size() / static_cast<std::size_t>(m_body.use_count()) : 0;
    return m_reader.Held() + m_head.capacity() + body;
}

void CHttpConnection::Limit(Clock::time_point until)
{
    m_timer.expires_at(until);
    m_timer.async_wait([self = shared_from_this()](const asio::error_code& error) {
        // A wait that was over just before it was made anew ends without an error.
        if (!error && self->m_timer.expiry() <= Clock::now()) {
            self->Close();
        }
    });
}

void CHttpConnection::WaitToRead()
{
    if (m_isWaitingToRead) {
        return;
    }
    m_isWaitingToRead = true;
    m_socket.async_wait(asio::socket_base::wait_read,
                        [self = shared_from_this()](const asio::error_code& error) {
                            self->m_isWaitingToRead = false;
                            if (error || self->m_stage == EStage::Closed) {
                                return;
                            }
                            if (self->ReadsInTurns()) {
                                self->m_owner.AskForTurn(self);
                            } else {
                                self->Read();
                            }
                        });
}

void CHttpConnection::GiveTurn()
{
    if (m_stage != EStage::Closed) {
        Read();
    }
}

void CHttpConnection::Read()
{
    std::array<char, kReadBytes> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
    asio::error_code error;
    const std::size_t size = m_socket.read_some(asio::buffer(bytes), error);
    if (error && error != asio::error::would_block) {
        InputEnded(error);
        return;
    }
    try {
        if (!error) {
            Take(bytes.data(), size);
        }
    } catch (const std::bad_alloc&) {
        Close(); // what it has sent is given back, and costs nobody else
    }
    if (m_stage != EStage::Closed && IsReading()) {
        WaitToRead();
    }
}

/// Whether what the peer sends is read now. What comes behind a request is, up to a limit, while
/// its answer is waited for: else nobody would notice that the peer has gone.
bool CHttpConnection::IsReading() const
{
    return m_stage == EStage::Waiting ? m_drained < kMostBehind : m_stage != EStage::Answering;
}

/// A peer that has said all may still listen for its answer, but not for a stream, nor when it is
/// gone.
void CHttpConnection::InputEnded(const asio::error_code& error)
{
    const bool mayListen =
        m_stage == EStage::Answering || (m_stage == EStage::Waiting && Request().method != "POST");
    if (error != asio::error::eof || !mayListen || HasLeft()) {
        Close();
    }
}

void CHttpConnection::Take(const char* bytes, std::size_t count)
{
    using ERead = CRequestReader::EStage;
    if (m_stage != EStage::Reading) {
        m_drained += count;
        if (m_drained > kMostDrained && m_stage == EStage::Ending) {
            Close();
        }
        return;
    }
    if (!m_anythingCame) {
        m_anythingCame = true;
        Limit(Clock::now() + m_patience.request);
    }
    const ERead read = m_reader.Take(bytes, count);
    if (read == ERead::Headed) {
        HeadHasCome();
    } else {
        GoOnFrom(read);
    }
}

void CHttpConnection::HeadHasCome()
{
    const HttpRefusal refusal = m_owner.Check(m_reader.Request());
    if (refusal.status != 0) {
        Refuse(refusal.status, refusal.reason);
        return;
    }
    // What a request has beyond its head is read away where nothing is done with it.
    const bool hasBody = m_reader.Request().method == "POST";
    GoOnFrom(hasBody ? m_reader.ReadBody() : CRequestReader::EStage::Whole);
}

void CHttpConnection::GoOnFrom(CRequestReader::EStage read)
{
    using ERead = CRequestReader::EStage;
    if (read == ERead::Whole) {
        m_stage = EStage::Waiting;
        m_timer.cancel();
        m_owner.Serve(shared_from_this());
        CountHeld();
    } else if (read == ERead::Malformed) {
        Refuse(400, "not a request");
    } else if (read == ERead::HeadTooLong) {
        Refuse(431, "the head of the request has more than " +
                        std::to_string(CRequestReader::kMostHeadBytes) + " bytes");
    } else if (read == ERead::TooManyHeaders) {
        Refuse(431, "the request has more than " + std::to_string(CRequestReader::kMostHeaders) +
                        " headers");
    } else {
        CountHeld();
        TellToGoOn();
    }
}

void CHttpConnection::CountHeld()
{
    const std::size_t held = m_reader.Held();
    if (held > m_counted) {
        m_owner.Grown(held - std::exchange(m_counted, held));
    }
}

void CHttpConnection::Refuse(int status, const std::string& reason)
{
    m_stage = EStage::Waiting;
    Answer(RefusalOf(status, reason));
}

void CHttpConnection::Answer(const ServedAnswer& answer)
{
    if (m_stage != EStage::Waiting) {
        return;
    }
    m_stage = EStage::Answering;
    m_head = HeadOf(answer);
    m_body = Request().method == "HEAD" ? std::make_shared<const std::string>() : answer.body;
    Limit(Clock::now() + m_patience.answer);
    Write();
    // The whole body, though others may share it: they may have theirs before this one has.
    m_owner.Grown(m_head.capacity() + (m_body ? m_body->size() : 0));
}

void CHttpConnection::Stream(Source source, std::function<void()> ended)
{
    if (m_stage != EStage::Waiting) {
        ended();
        return;
    }
    m_stage = EStage::Streaming;
    asio::error_code error;
    m_socket.set_option(asio::socket_base::send_buffer_size(kSendBufferOfAStream), error);
    m_source = std::move(source);
    m_ended = std::move(ended);
    m_head = HeadOf(200, "text/event-stream") + "\r\n";
    Write();
    WaitToRead();
}

void CHttpConnection::Wake()
{
    if (m_stage != EStage::Streaming || m_isWriting || IsHeldBack()) {
        return;
    }
    m_head = m_source();
    m_sent = 0;
    if (!m_head.empty()) {
        Write();
    }
}

/// Whether the peer has to read before it is sent more. One that never does is dropped.
bool CHttpConnection::IsHeldBack()
{
    const auto peer = m_peers.Of(m_socket);
    const std::size_t unread = peer ? peer->unread : 0;
    const bool isBehind = unread > kMostUnread;
    if (isBehind && (!m_isHeldBack || unread < m_unread)) {
        m_lastTaken = Clock::now();
        Limit(m_lastTaken + m_patience.stream);
    } else if (!isBehind && m_isHeldBack) {
        m_timer.cancel();
    }
    m_isHeldBack = isBehind;
    m_unread = unread;
    return isBehind;
}

void CHttpConnection::Write()
{
    if (!m_isWriting) {
        m_isWriting = true;
        m_lastTaken = Clock::now();
    }
    if (m_stage == EStage::Streaming) {
        Limit(m_lastTaken + m_patience.stream);
    }
    while (m_stage == EStage::Answering || m_stage == EStage::Streaming) {
        const std::size_t bodySize = m_body ? m_body->size() : 0;
        if (m_sent == m_head.size() + bodySize) {
            m_isWriting = false;
            AllIsWritten();
            return;
        }
        const std::size_t ofHead = std::min(m_sent, m_head.size());
        const std::size_t ofBody = m_sent - ofHead;
        const std::array<asio::const_buffer, 2> buffers{
            asio::buffer(m_head) + ofHead,
            bodySize > 0
                ? asio::buffer(m_body->data() + ofBody, std::min(bodySize - ofBody, kWriteBytes))
                : asio::const_buffer()};
        asio::error_code error;
        const std::size_t count = m_socket.write_some(buffers, error);
        if (error == asio::error::would_block) {
            WaitToWrite();
            return;
        }
        if (error) {
            Close();
            return;
        }
        m_sent += count;
        m_lastTaken = Clock::now();
        if (count >= kWriteBytes) {
            WaitToWrite();
            return;
        }
    }
}

void CHttpConnection::WaitToWrite()
{
    m_socket.async_wait(asio::socket_base::wait_write,
                        [self = shared_from_this()](const asio::error_code& error) {
                            if (!error && self->m_stage != EStage::Closed) {
                                self->Write();
                            }
                        });
}

void CHttpConnection::AllIsWritten()
{
    if (m_stage == EStage::Streaming) {
        m_timer.cancel();
        m_head.clear();
        Wake();
        return;
    }
    m_stage = EStage::Ending;
    m_body.reset();
    asio::error_code error;
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_send, error);
    Limit(Clock::now() + kEnding);
    WaitToRead();
}

std::chrono::milliseconds CHttpConnection::Untaken() const
{
    const bool waits = m_isWriting || m_isHeldBack;
    const auto since = waits ? Clock::now() - m_lastTaken : Clock::duration(0);
    return std::chrono::duration_cast<std::chrono::milliseconds>(since);
}

void CHttpConnection::Close()
{
    if (m_stage == EStage::Closed) {
        return;
    }
    m_stage = EStage::Closed;
    m_timer.cancel();
    {
        const std::lock_guard<std::mutex> lock(m_closing);
        m_isClosed = true;
        asio::error_code error;
        m_socket.close(error);
    }
    // Whoever still has the connection does not have what has come over it.
    m_reader.Forget();
    std::string().swap(m_head);
    m_body.reset();
    m_source = {};
    const std::function<void()> ended = std::exchange(m_ended, {});
    if (ended) {
        ended();
    }
    m_owner.Ended(*this);
}
