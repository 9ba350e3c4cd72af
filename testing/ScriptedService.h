#ifndef KESTROVE_TESTING_SCRIPTEDSERVICE_H
#define KESTROVE_TESTING_SCRIPTEDSERVICE_H

/// @file
/// The navigation service that runs inside a test.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/BElement.h"
#include "testing/Answer.h"
#include "testing/Value.h"

namespace Kestrove::Testing {

/// Which loopback addresses the scripted service listens on.
enum class EListen
{
    Both,     ///< 127.0.0.1 and ::1, as the real service does
    IPv4Only, ///< 127.0.0.1
    IPv6Only, ///< ::1
    Not,      ///< none, until Listen() is called
};

/// A message that the scripted service has received.
struct CReceived
{
    /// The three forms of message.
    enum class EKind
    {
        Request,      ///< a call that waits for a reply
        Notification, ///< a call that does not
        Subscription, ///< `name` is the event
    };

    EKind kind = EKind::Request;             ///< which of them it is
    std::string name;                        ///< the service name as it came
    std::shared_ptr<const BListC> arguments; ///< never null
    std::uint64_t client = 0;                ///< counts the connections from 1

    /// @return the message in words, for example `request SetFieldOffset [int 1, double 2.5]`.
    [[nodiscard]] std::string Text() const;
};

/// A navigation service for tests: it does what the test has written down and remembers everything
/// that it was sent.
///
///     CScriptedService service;                              // listens on port 5010 from here on
///     service.Expect("SetFieldOffset", "[int 1, double 2.5]", 1);
///     CNavigationAPI navigation;
///     EXPECT_EQ(1, navigation.SetFieldOffset(2.5));
///     EXPECT_EQ("", service.Problems());
///
/// A call is looked up among the expectations first, then among the standing answers; a request
/// that is in neither gets an error reply, and such a call shows up in Problems().
///
/// Thread safety: every operation may be called from every thread. The service runs on a thread of
/// its own, from construction to destruction, so that a test may block in the library meanwhile.
/// What is pushed, dropped or released has been done when the call returns (bytes are on their
/// way).
class CScriptedService
{
public:
    /// How long the Wait operations wait unless another limit is given.
    static constexpr int kPatienceMilliseconds = 10000;
    /// Where the library looks for the service.
    static constexpr std::uint16_t kPort = 5010;

    /// Starts the service.
    ///
    /// @param addresses where it listens.
    /// @throw std::runtime_error when it cannot listen, for example because the port is taken.
    explicit CScriptedService(EListen addresses = EListen::Both);
    /// Closes the listener and every connection.
    ~CScriptedService();
    CScriptedService(const CScriptedService&) = delete;
    CScriptedService& operator=(const CScriptedService&) = delete;

    /// @name Script
    /// @{

    /// From now on answers every request of a name alike, whatever its arguments, and accepts every
    /// notification of that name. Replaces an earlier standing answer.
    ///
    /// @param name the service name.
    /// @param answer what each gets.
    void Answer(const std::string& name, const CAnswer& answer);
    /// Expects one call, request or notification. Expectations of the same call are used up in the
    /// order written; calls that differ may come in any order.
    ///
    /// @param name the service name.
    /// @param arguments just these, as text in the form of Describe().
    /// @param answer what a request gets.
    void Expect(const std::string& name, const std::string& arguments,
                const CAnswer& answer = CAnswer::Nothing());
    /// Forgets every expectation, every standing answer and what was unexpected.
    void ForgetScript();
    /// @return what did not go by the script so far, a line each: calls that nobody expected,
    ///         expected calls that did not come, pushed events with which nothing was called (see
    ///         Push()), and connections that sent what is not a message. Empty when all is well.
    [[nodiscard]] std::string Problems() const;

    /// @}
    /// @name Link
    /// @{

    /// Listens elsewhere from now on. Connections stay.
    ///
    /// @param addresses where, in place of the present addresses.
    /// @throw std::runtime_error when it cannot.
    void Listen(EListen addresses);
    /// Closes every connection in order. The listener stays.
    void DropLink();
    /// Resets every connection, as a crash of the service's machine would. The listener stays.
    void ResetLink();
    /// Stops listening and closes every connection in order: what clients see when the service
    /// ends.
    void Stop();
    /// Sets what becomes of new connections.
    ///
    /// @param closes whether they are closed as soon as they have been accepted.
    void SetClosesAtAccept(bool closes);

    /// @}
    /// @name Events and held answers
    /// @{

    /// Pushes an event to every client that has subscribed to it. Problems() shows one to which
    /// nobody has subscribed (yet: see WaitForSubscriptions()), as when its name is misspelt, and
    /// one of the service's that has an element too few or too many for the client to take it, or
    /// something else where the client reads a number.
    ///
    /// @param event its name.
    /// @param payload its elements, in order.
    void Push(const std::string& event, const std::vector<CValue>& payload);
    /// Pushes an event by the rules of Push().
    ///
    /// @param event its name.
    /// @param payload its elements as the library's list, which stays the caller's.
    void PushList(const std::string& event, const BListC& payload);
    /// Pushes an event to every client, subscribed or not, whatever its name and elements.
    ///
    /// @param event its name.
    /// @param payload its elements, in order.
    void PushToAll(const std::string& event, const std::vector<CValue>& payload);
    /// Sends bytes to every client as they are.
    ///
    /// @param bytes any bytes, whether or not they are a message.
    void SendBytes(const std::string& bytes);
    /// Gives the answers that are held, in the order of their requests.
    void ReleaseHeld();

    /// @}
    /// @name Record
    /// @{

    /// @return everything received since the start or the last ForgetReceived(), in order.
    [[nodiscard]] std::vector<CReceived> Received() const;
    /// @return the same as text, a line each.
    [[nodiscard]] std::string ReceivedText() const;
    /// Empties the record.
    void ForgetReceived();
    /// @param name a service name.
    /// @return how many calls of it, requests and notifications, the record holds.
    [[nodiscard]] std::size_t CallCount(const std::string& name) const;
    /// @param event an event's name.
    /// @return how many subscriptions to it have come in since the start or ForgetReceived().
    [[nodiscard]] std::size_t SubscriptionCount(const std::string& event) const;
    /// @return how many clients are connected.
    [[nodiscard]] std::size_t ClientCount() const;
    /// @return how many connections have been accepted since the start.
    [[nodiscard]] std::size_t AcceptedCount() const;

    /// Waits until the record holds at least so many calls of a name.
    ///
    /// @param name a service name.
    /// @param count how many calls of it.
    /// @param timeoutMilliseconds how long to wait at most.
    /// @return false when it does not within the time.
    [[nodiscard]] bool WaitForCalls(const std::string& name, std::size_t count,
                                    int timeoutMilliseconds = kPatienceMilliseconds) const;
    /// Waits until at least so many subscriptions to an event have come in.
    ///
    /// @param event an event's name.
    /// @param count how many subscriptions to it.
    /// @param timeoutMilliseconds how long to wait at most.
    /// @return false when they have not within the time.
    [[nodiscard]] bool WaitForSubscriptions(const std::string& event, std::size_t count,
                                            int timeoutMilliseconds = kPatienceMilliseconds) const;
    /// Waits until at least so many connections have been accepted since the start.
    ///
    /// @param count how many.
    /// @param timeoutMilliseconds how long to wait at most.
    /// @return false when they have not within the time.
    [[nodiscard]] bool WaitForAccepted(std::size_t count,
                                       int timeoutMilliseconds = kPatienceMilliseconds) const;
    /// Waits until exactly so many clients are connected.
    ///
    /// @param count how many.
    /// @param timeoutMilliseconds how long to wait at most.
    /// @return false when that is not so within the time.
    [[nodiscard]] bool WaitForClients(std::size_t count,
                                      int timeoutMilliseconds = kPatienceMilliseconds) const;

    /// @}

private:
    class CState;
    std::unique_ptr<CState> m_state;
};

} // namespace Kestrove::Testing

#endif
