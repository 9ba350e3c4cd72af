#ifndef KESTROVE_RUNTIME_MESSAGESTATE_H
#define KESTROVE_RUNTIME_MESSAGESTATE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "core/SharedPtr.h"
#include "platform/BEncoder.h"
#include "platform/MPISocketConnection.h"
#include "runtime/Deadline.h"
#include "runtime/EventQueue.h"
#include "runtime/MessageDecoder.h"
#include "runtime/SocketState.h"

/// The messages of a connection: what has arrived, what is awaited, who is called.
///
/// Bytes come in at four moments only: when the link is looked at, while a reply is awaited, while
/// sending has to wait for room, and when messages are processed. Each ends in Receive(), which
/// sorts what is complete: the reply that is awaited is kept, other replies are dropped by their
/// number, events are queued, requests are answered once no message of our own is half written.
struct MessageStateC
{
    explicit MessageStateC(MPISocketConnectionC& owner) : connection(owner) {}

    /// Sends bytes whole before the deadline, or closes the connection.
    bool Send(const char* data, std::size_t size, const DeadlineC& deadline);
    /// What a look at what has arrived found.
    enum class ELook
    {
        Nothing,
        Something,
        Flood ///< more than could be taken in before the look had to end
    };
    /// Takes in all that has arrived, without waiting, within a bound in bytes and in time; closes
    /// a connection that the peer has closed.
    ELook TakeIn();
    /// Takes in what has arrived and says whether the link is up. A peer that sends more than can
    /// be taken in in time is taken for lost, because the end of its connection could not be seen.
    bool LookAtLink();
    /// Waits for something to arrive and takes it in.
    ///
    /// @return false when the deadline has passed or the connection is lost.
    bool Await(const DeadlineC& deadline);
    /// Waits for the reply under `number`.
    ///
    /// @return the result; null with the reason in the socket's error.
    std::unique_ptr<BElementC> AwaitReply(std::uint64_t number, const DeadlineC& deadline);
    /// Starts a message in the encoder: its outermost list and its kind.
    void BeginMessage(MessageC::EKind kind);
    /// Writes the name and the arguments behind it; false, with the reason, when that cannot be
    /// sent.
    bool FinishMessage(const std::string& name, const BListC* arguments);
    /// Subscribes to an event on the present connection.
    bool Subscribe(const std::string& name);
    /// Waits until something is there to process, at most until `deadline`.
    ///
    /// @return false when there is no use in waiting longer.
    bool WaitToProcess(const DeadlineC& deadline);
    /// Attends the extra descriptor and delivers the events that are queued.
    ///
    /// @return the number of events delivered.
    int Deliver();
    /// Makes a short attempt to reopen a lost connection, unless the last was less than 500 ms ago.
    void ReopenPaced();
    /// Counts without locking: a connection is used by one thread at a time.
    using CallbackPtr = Core::SharedPtr<MPICallbackBase, Core::SimpleReferenceCounter>;
    using Registration = std::pair<const std::string, CallbackPtr>;
    /// The registration of an event; null where there is none. Most events follow one of their own
    /// kind, so that the last answer is looked at first.
    const Registration* FindRegistration(const std::string& name);

    /// Whether there is a connection. One that was open when this process was forked is the
    /// parent's: it is left to the parent, and this process opens its own.
    bool IsUp();
    SocketStateC& SocketState() { return *connection.m_socket; }

    MPISocketConnectionC& connection;
    BEncoderC encoder;
    EventQueueC events;
    /// What is registered. Shared, so that a callback that is replaced while it runs lives until it
    /// returns.
    std::map<std::string, CallbackPtr> callbacks;
    bool reconnects = false;
    /// Starts anywhere, so that no reply can be made up before its request.
    std::uint32_t lastNumber = std::random_device()();

private:
    /// A reply that is awaited. A hook may send a request of its own while one is awaited, so they
    /// form a chain.
    struct Awaited
    {
        Awaited(Awaited*& chain, std::uint64_t awaitedNumber)
            : innermost(chain), outer(chain), number(awaitedNumber)
        {
            innermost = this;
        }
        ~Awaited() { innermost = outer; }
        Awaited(const Awaited&) = delete;
        Awaited& operator=(const Awaited&) = delete;

        Awaited*& innermost;
        Awaited* outer;
        std::uint64_t number;
        bool hasCome = false;
        std::unique_ptr<BElementC> error;
        std::unique_ptr<BElementC> result;
    };

    bool IsStill(unsigned long present);
    bool SendWhole(const char* data, std::size_t size, const DeadlineC& deadline);
    /// Takes in what one read gives, `received` bytes.
    ETransfer Receive(bool mayWait, std::size_t& received);
    bool SortArrived();
    void Sort(MessageC& message);
    void TakeReply(MessageC& message);
    void AnswerRequests();
    /// Calls ReadExtra() when the extra descriptor has something to read.
    void AttendExtraReader();
    bool Lose(ELinkError code, std::string reason);
    std::unique_ptr<BElementC> ResultOf(Awaited& reply);

    MessageDecoderC m_decoder;
    unsigned long m_decodedConnection = 0; // whose bytes the decoder holds
    Awaited* m_awaited = nullptr;
    const Registration* m_lastFound = nullptr; // registrations stay, in their places
    std::vector<std::unique_ptr<BDictionaryC>> m_requests;
    std::size_t m_requestMemory = 0;
    bool m_isSending = false;
    std::chrono::steady_clock::time_point m_nextReopening;
};

#endif
