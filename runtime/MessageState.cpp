#include "runtime/MessageState.h"

#include <algorithm>
#include <array>
#include <utility>

#include <poll.h>

#include "runtime/ElementText.h"

namespace {

/// How much is taken in at one look at the link: more than a socket buffers, so that the end of a
/// connection is seen, and yet an end, for a peer that never stops sending.
constexpr std::size_t kMostAtOneLook = std::size_t{16} * 1024 * 1024;
/// How long that may take: a call that looks twice and opens a connection in between still ends
/// within half a second of its limits.
constexpr int kLongestLookMilliseconds = 250;
/// A peer that has sent less is not taken for lost when that time is over: it is this process that
/// is held up, and soon catches up.
constexpr std::size_t kLeastFlood = std::size_t{64} * 1024;
/// How many requests of the peer wait for their answer while a message of our own is half written.
constexpr std::size_t kMostRequests = 1024;
/// And how much memory their arguments may take.
constexpr std::size_t kMostRequestMemory = std::size_t{16} * 1024 * 1024;
/// A wait that is this much shorter than the time-out still counts as the whole time-out.
constexpr int kSlackMilliseconds = 5;
constexpr std::chrono::milliseconds kReopeningPace(500);
/// Delivering events must not hold an application up, whatever swallows connections on the port.
constexpr int kReopeningLimitMilliseconds = 100;
/// About what an event costs beside its values.
constexpr std::size_t kEventBytes = 128;

/// Sets a flag for as long as it lives, also when an exception passes.
class FlagHolder
{
public:
    explicit FlagHolder(bool& flag) : m_flag(flag) { m_flag = true; }
    ~FlagHolder() { m_flag = false; }
    FlagHolder(const FlagHolder&) = delete;
    FlagHolder& operator=(const FlagHolder&) = delete;

private:
    bool& m_flag;
};

std::unique_ptr<BDictionaryC> DescriptionOf(MessageC& request)
{
    auto description = std::make_unique<BDictionaryC>(nullptr);
    description->Add("msgid", new BAtomC(static_cast<std::int64_t>(request.id)));
    description->Add("method", new BAtomC(request.method));
    description->Add("params", request.arguments.release());
    return description;
}

} // namespace

bool MessageStateC::IsUp()
{
    if (SocketState().tcp.IsInherited()) {
        Lose(ELinkError::NotConnected, "the connection is the parent process's");
    }
    return connection.m_connected || connection.m_accepted;
}

bool MessageStateC::IsStill(unsigned long present)
{
    // A hook may have opened another connection in the meantime.
    return IsUp() && SocketState().connections == present;
}

bool MessageStateC::Lose(ELinkError code, std::string reason)
{
    SocketState().recorder.Closed(reason);
    connection.Close();
    return SocketState().Fail(code, std::move(reason));
}

bool MessageStateC::Send(const char* data, std::size_t size, const DeadlineC& deadline)
{
    const unsigned long present = SocketState().connections;
    const bool isWhole = SendWhole(data, size, deadline);
    // What the peer asked for while the message was half written.
    AnswerRequests();
    return isWhole && IsStill(present);
}

bool MessageStateC::SendWhole(const char* data, std::size_t size, const DeadlineC& deadline)
{
    const FlagHolder sending(m_isSending);
    TcpSocketC& tcp = SocketState().tcp;
    const unsigned long present = SocketState().connections;
    std::size_t gone = 0;
    while (gone < size && IsStill(present)) {
        std::size_t sent = 0;
        const ETransfer outcome = tcp.Send(data + gone, size - gone, sent);
        if (sent > 0) { // while the service is at work on it
            SocketState().recorder.Sent(data + gone, sent);
        }
        gone += sent;
        if (outcome == ETransfer::Closed) {
            // What the peer had sent before it closed still counts.
            TakeIn();
            if (IsStill(present)) {
                Lose(ELinkError::Closed, "the service closed the connection");
            }
        } else if (outcome == ETransfer::NotNow) {
            // A peer that is itself waiting for room goes on when we read.
            if (!tcp.Wait(true, deadline) || deadline.Passed()) {
                Lose(ELinkError::TimedOut, "the service took no message in time");
            } else {
                std::size_t received = 0;
                Receive(false, received);
            }
        }
    }
    return gone == size;
}

ETransfer MessageStateC::Receive(bool mayWait, std::size_t& received)
{
    SocketStateC& socket = SocketState();
    const unsigned long present = socket.connections;
    if (m_decodedConnection != present) {
        m_decoder.Reset();
        m_requests.clear();
        m_requestMemory = 0;
        m_decodedConnection = present;
    }
    std::size_t room = 0;
    char* const space = m_decoder.Space(room);
    const ETransfer outcome = mayWait ? socket.tcp.ReceiveWaiting(space, room, received)
                                      : socket.tcp.ReceiveNow(space, room, received);
    if (outcome == ETransfer::Closed) {
        Lose(ELinkError::Closed, "the service closed the connection");
    }
    if (outcome != ETransfer::Done) {
        return outcome;
    }
    socket.recorder.Received(space, received);
    m_decoder.Arrived(received);
    const bool isWellFormed = SortArrived();
    if (socket.recorder.IsOn() && !m_isSending && !m_decoder.InMessage()) {
        socket.recorder.BetweenMessages();
    }
    connection.DataReceived();
    connection.DataReceivedFrom(socket.tcp.PeerHost(), socket.tcp.PeerPort());
    if (!isWellFormed && IsStill(present)) {
        Lose(ELinkError::BadMessage, m_decoder.Problem());
    }
    if (!IsStill(present)) {
        return ETransfer::Closed;
    }
    AnswerRequests();
    return ETransfer::Done;
}

bool MessageStateC::SortArrived()
{
    MessageC message;
    auto decoded = m_decoder.Next(message);
    while (decoded == MessageDecoderC::EResult::Complete) {
        Sort(message);
        decoded = m_decoder.Next(message);
    }
    return decoded != MessageDecoderC::EResult::Bad;
}

void MessageStateC::Sort(MessageC& message)
{
    switch (message.kind) {
    case MessageC::EKind::Response:
        TakeReply(message);
        break;
    case MessageC::EKind::Notification:
        if (const Registration* const found = FindRegistration(message.method)) {
            const std::size_t memory = message.memory + message.method.size() + kEventBytes;
            events.Push(found->first, message.arguments, memory);
        }
        break;
    case MessageC::EKind::Request:
        if (m_requests.size() < kMostRequests &&
            message.memory <= kMostRequestMemory - m_requestMemory) {
            m_requestMemory += message.memory;
            m_requests.push_back(DescriptionOf(message));
        }
        break;
    }
}

const MessageStateC::Registration* MessageStateC::FindRegistration(const std::string& name)
{
    if (m_lastFound != nullptr && (&m_lastFound->first == &name || m_lastFound->first == name)) {
        return m_lastFound;
    }
    const auto found = callbacks.find(name);
    if (found == callbacks.end()) {
        return nullptr;
    }
    m_lastFound = &*found;
    return m_lastFound;
}

void MessageStateC::TakeReply(MessageC& message)
{
    Awaited* awaited = m_awaited;
    while (awaited != nullptr && awaited->number != message.id) {
        awaited = awaited->outer;
    }
    if (awaited == nullptr || awaited->hasCome) {
        return; // too late, twice, or never asked for
    }
    awaited->hasCome = true;
    awaited->error = std::move(message.error);
    awaited->result = std::move(message.result);
}

void MessageStateC::AnswerRequests()
{
    if (m_isSending || m_requests.empty()) {
        return;
    }
    const auto requests = std::move(m_requests);
    m_requests.clear();
    m_requestMemory = 0;
    for (const auto& request : requests) {
        // An answer belongs to the connection that the request came over.
        if (IsStill(m_decodedConnection)) {
            connection.MessageReceived(request.get());
        }
    }
}

MessageStateC::ELook MessageStateC::TakeIn()
{
    std::size_t taken = 0;
    std::size_t received = 0;
    DeadlineC end; // counts from the first read, so that a look at a silent link asks for no time
    bool isOver = false;
    while (IsUp() && taken < kMostAtOneLook && Receive(false, received) == ETransfer::Done) {
        if (taken == 0) {
            end = DeadlineC::After(kLongestLookMilliseconds);
        }
        taken += received;
        if (isOver) { // and there was still something to read
            return taken < kLeastFlood ? ELook::Something : ELook::Flood;
        }
        isOver = end.Passed();
    }
    return taken > 0 ? ELook::Something : ELook::Nothing;
}

bool MessageStateC::LookAtLink()
{
    if (TakeIn() == ELook::Flood && IsUp()) {
        // Whether the service is still there stands behind what is left, out of sight.
        Lose(ELinkError::TimedOut, "the service sends more than can be read in time");
    }
    return IsUp(); // a hook may have opened another connection
}

bool MessageStateC::Await(const DeadlineC& deadline)
{
    TcpSocketC& tcp = SocketState().tcp;
    const int limit = connection.m_timeoutMilliseconds;
    const int remaining = deadline.Remaining();
    // The first wait of a call is left to the socket's own time-out: one system call. Later ones,
    // with less time left than that, are waited for beforehand.
    const bool isWhole = remaining < 0 || (limit > 0 && remaining >= limit - kSlackMilliseconds);
    if (isWhole) {
        tcp.SetReceiveTimeout(limit);
    } else if (!tcp.Wait(false, deadline)) {
        return false;
    }
    std::size_t received = 0;
    const ETransfer outcome = Receive(isWhole, received);
    return outcome == ETransfer::Done || (outcome == ETransfer::NotNow && !deadline.Passed());
}

std::unique_ptr<BElementC> MessageStateC::AwaitReply(std::uint64_t number,
                                                     const DeadlineC& deadline)
{
    Awaited reply(m_awaited, number);
    const unsigned long present = SocketState().connections;
    while (!reply.hasCome && IsStill(present) && Await(deadline)) {
        if (!reply.hasCome && deadline.Passed()) {
            break;
        }
    }
    if (reply.hasCome) {
        return ResultOf(reply);
    }
    if (IsStill(present) && m_decodedConnection == present && m_decoder.InMessage()) {
        // Its rest may never come, and nothing behind it could be read.
        Lose(ELinkError::TimedOut, "a message of the service did not end in time");
    } else if (IsStill(present)) {
        SocketState().Fail(ELinkError::TimedOut, "no reply in time");
    }
    return nullptr;
}

std::unique_ptr<BElementC> MessageStateC::ResultOf(Awaited& reply)
{
    if (reply.error != nullptr) {
        SocketState().Fail(ELinkError::ServiceError, TextOf(*reply.error));
        return nullptr;
    }
    if (reply.result == nullptr) {
        SocketState().Fail(ELinkError::NoValue, "the service answered without a value");
        return nullptr;
    }
    SocketState().Succeed();
    return std::move(reply.result);
}

void MessageStateC::BeginMessage(MessageC::EKind kind)
{
    encoder.Clear();
    encoder.WriteListHeader(kind == MessageC::EKind::Notification ? 3 : 4);
    encoder.WriteInteger(static_cast<std::int64_t>(kind));
}

bool MessageStateC::FinishMessage(const std::string& name, const BListC* arguments)
{
    encoder.WriteString(name.data(), name.size());
    if (arguments == nullptr) {
        encoder.WriteListHeader(0);
    } else if (!encoder.Write(*arguments)) {
        return SocketState().Fail(ELinkError::BadMessage, "arguments nested deeper than 64 levels");
    }
    // What a peer would refuse is not sent.
    return encoder.Size() <= MessageDecoderC::kLargestMessage ||
           SocketState().Fail(ELinkError::BadMessage, "a message of more than 32 MiB");
}

bool MessageStateC::Subscribe(const std::string& name)
{
    BListC arguments(nullptr);
    arguments.AddString(name);
    return connection.SendNotification("subscribe", &arguments);
}

bool MessageStateC::WaitToProcess(const DeadlineC& deadline)
{
    int limit = deadline.Remaining();
    if (!IsUp()) {
        if (!reconnects || SocketState().port == 0) {
            return false;
        }
        const auto pause = std::chrono::ceil<std::chrono::milliseconds>(
            m_nextReopening - std::chrono::steady_clock::now());
        const int untilReopening = static_cast<int>(std::max<long>(pause.count(), 0));
        limit = limit < 0 ? untilReopening : std::min(limit, untilReopening);
    }
    // A negative descriptor is passed over.
    std::array<pollfd, 2> entries{pollfd{connection.Descriptor(), POLLIN, 0},
                                  pollfd{connection.GetExtraReader(), POLLIN, 0}};
    ::poll(entries.data(), entries.size(), limit);
    return true;
}

int MessageStateC::Deliver()
{
    AttendExtraReader();
    int delivered = 0;
    // Those that are there now: what arrives while callbacks run waits for the next time.
    for (std::size_t left = events.Size(); left > 0 && events.Size() > 0; --left) {
        EventC event = events.Pop();
        connection.DoClientCallback(*event.name, event.payload.get());
        events.Recycle(std::move(event));
        ++delivered;
    }
    return delivered;
}

void MessageStateC::AttendExtraReader()
{
    pollfd entry{connection.GetExtraReader(), POLLIN, 0};
    if (entry.fd >= 0 && ::poll(&entry, 1, 0) > 0) {
        connection.ReadExtra();
    }
}

void MessageStateC::ReopenPaced()
{
    SocketStateC& socket = SocketState();
    if (socket.port == 0 || std::chrono::steady_clock::now() < m_nextReopening) {
        return;
    }
    const int timeoutMilliseconds = socket.timeoutMilliseconds;
    connection.Connect(socket.host, socket.port, kReopeningLimitMilliseconds);
    socket.timeoutMilliseconds = timeoutMilliseconds;
    m_nextReopening = std::chrono::steady_clock::now() + kReopeningPace;
}
