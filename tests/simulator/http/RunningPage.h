#ifndef KESTROVE_TESTS_SIMULATOR_HTTP_RUNNINGPAGE_H
#define KESTROVE_TESTS_SIMULATOR_HTTP_RUNNINGPAGE_H

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include "simulator/http/LivePage.h"
#include "simulator/service/Pacer.h"
#include "simulator/service/ServiceLink.h"

/// The simulator's service with its live page on free ports, on a thread of its own. Its machine
/// drives north at 2 m/s. The world stands still unless it is set to run.
class RunningPage
{
public:
    /// @param servicePort 0 takes a free one.
    explicit RunningPage(const LivePageTimes& times = {}, std::uint16_t servicePort = 0);
    ~RunningPage();
    RunningPage(const RunningPage&) = delete;
    RunningPage& operator=(const RunningPage&) = delete;

    /// The port of the page.
    std::uint16_t Port() const { return m_port; }
    /// Does something on the service's thread and waits until it is done.
    void OnLoop(const std::function<void(CServiceCore&)>& action);
    /// Lets the world run.
    void Run(double speedFactor = 1.0);
    /// Moves the world on.
    void Advance(double seconds);
    /// Stops the page, as the program does at its end: the loop runs no more.
    void Stop();

private:
    asio::io_context m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    CLogTap m_log;
    CTrail m_trail;
    CServiceLink m_link;
    std::unique_ptr<CPacer> m_pacer;
    std::unique_ptr<CLivePage> m_page;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};

/// How many threads and descriptors this process has.
struct ProcessCounts
{
    int threads;
    int descriptors;
};

ProcessCounts CountsOfThisProcess();

/// Waits until something holds, ten seconds at most.
bool WaitUntil(const std::function<bool()>& condition);

#endif
