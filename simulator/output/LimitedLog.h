#ifndef KESTROVE_SIMULATOR_OUTPUT_LIMITEDLOG_H
#define KESTROVE_SIMULATOR_OUTPUT_LIMITEDLOG_H

#include <cstdint>
#include <string>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/output/LogLimit.h"
#include "simulator/output/ServiceLog.h"

/// The service's log within the limits of CLogLimit, on the loop's clock.
/// Thread safety: none; used from the thread that runs the loop.
class CLimitedLog
{
public:
    /// @param loop must outlive this object.
    /// @param mostDetailed the lines up to which level are logged.
    /// @param onward takes the lines that pass.
    CLimitedLog(asio::io_context& loop, ELogLevel mostDetailed, LogSink onward);
    /// Reports what has been left out until now.
    ~CLimitedLog();
    CLimitedLog(const CLimitedLog&) = delete;
    CLimitedLog& operator=(const CLimitedLog&) = delete;

    /// The sink to log to; this object must outlive it.
    LogSink Sink();
    /// Whose message is being carried out, and so causes the lines that come now; 0 for nobody's.
    void Serve(std::uint64_t client) { m_client = client; }

private:
    void Take(ELogLevel level, const std::string& text);
    void WaitForPeriods();

    asio::steady_timer m_timer;
    const ELogLevel m_mostDetailed;
    CLogLimit m_limit;
    std::uint64_t m_client = 0;
    bool m_isWaiting = false;
};

#endif
