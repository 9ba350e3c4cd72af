#ifndef KESTROVE_TESTS_SIMULATOR_STEPPED_STEPPEDSERVICE_H
#define KESTROVE_TESTS_SIMULATOR_STEPPED_STEPPEDSERVICE_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include "simulator/service/ServiceLink.h"
#include "tests/support/RawClient.h"

/// The simulator's service on a free port, on a thread of its own, with a stepped clock. Its
/// machine drives north at 2 m/s and is measured without error.
class CSteppedService
{
public:
    CSteppedService();
    ~CSteppedService();
    CSteppedService(const CSteppedService&) = delete;
    CSteppedService& operator=(const CSteppedService&) = delete;

    std::uint16_t Port() const { return m_port; }
    /// Does something on the service's thread and waits until it is done.
    void OnLoop(const std::function<void(CServiceCore&)>& action);
    asio::io_context& Loop() { return m_loop; }
    /// The service does nothing more.
    void Stop();

private:
    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    CServiceLink m_link;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};

/// A client of it that makes one request after the other and keeps the events.
class CCaller
{
public:
    /// Returns once the service has it, so that clients are numbered in the order in which a test
    /// makes them.
    explicit CCaller(const CSteppedService& service);

    /// Sends a request and leaves its reply for later.
    /// @param arguments as ListFrom() reads them.
    void Send(const std::string& name, const std::string& arguments = "[]");
    void Notify(const std::string& name, const std::string& arguments);
    void Subscribe(const std::string& event) { Notify("subscribe", "['" + event + "']"); }
    /// The next reply: "number: value", or "number: error".
    std::string Reply();
    /// The value of the reply to a request that is sent now; earlier ones must have been read.
    std::string Call(const std::string& name, const std::string& arguments = "[]");
    /// Waits until all that was sent has been read, though it may wait in the service. Replies that
    /// come meanwhile are kept for Reply().
    void BeReadBehind();
    /// The events so far, "name [payload]", in their order; forgets them.
    std::vector<std::string> TakeEvents();
    /// Takes what has been sent by the service, without waiting for more.
    void TakeWhatIsThere();

private:
    CRawClient m_client;
    std::uint64_t m_number = 0;
    std::deque<std::string> m_replies;
    std::vector<std::string> m_events;

    std::string NextReply();
};

#endif
