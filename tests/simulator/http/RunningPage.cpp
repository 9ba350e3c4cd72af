#include "tests/simulator/http/RunningPage.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <iterator>
#include <stdexcept>

#include <asio/post.hpp>

namespace {

ServiceCoreOptions OptionsOf(CLogTap& log, CTrail& trail)
{
    ServiceCoreOptions options;
    options.simulation.speed = 2.0;
    options.publish = trail.Sink();
    options.log = log.Sink();
    return options;
}

int EntriesOf(const char* directory)
{
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace

RunningPage::RunningPage(const LivePageTimes& times, std::uint16_t servicePort)
    : m_work(asio::make_work_guard(m_loop)), m_log({}), m_link(m_loop, OptionsOf(m_log, m_trail)),
      m_page(std::make_unique<CLivePage>(m_loop, m_link.Core(), m_trail, m_log, times))
{
    if (!m_link.Listen(servicePort).empty() || !m_page->Listen(0).empty()) {
        throw std::runtime_error("cannot listen");
    }
    m_port = m_page->Port();
    m_thread = std::thread([this] { m_loop.run(); });
}

RunningPage::~RunningPage()
{
    Stop();
}

void RunningPage::OnLoop(const std::function<void(CServiceCore&)>& action)
{
    std::promise<void> done;
    asio::post(m_loop, [&] {
        action(m_link.Core());
        done.set_value();
    });
    done.get_future().get();
}

void RunningPage::Run(double speedFactor)
{
    OnLoop([&](CServiceCore& core) {
        m_pacer = std::make_unique<CPacer>(m_loop, core, speedFactor);
        m_pacer->Start();
    });
}

void RunningPage::Advance(double seconds)
{
    OnLoop([&](CServiceCore& core) { core.Advance(seconds); });
}

void RunningPage::Stop()
{
    m_loop.stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_page.reset();
}

ProcessCounts CountsOfThisProcess()
{
    return {EntriesOf("/proc/self/task"), EntriesOf("/proc/self/fd")};
}

bool WaitUntil(const std::function<bool()>& condition)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}
