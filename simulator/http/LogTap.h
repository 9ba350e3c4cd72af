#ifndef KESTROVE_SIMULATOR_HTTP_LOGTAP_H
#define KESTROVE_SIMULATOR_HTTP_LOGTAP_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "simulator/output/ServiceLog.h"

/// Passes the service's log lines on, and takes down those that a command leaves: they are the
/// reasons of a refusal that its reply does not give.
///
/// Thread safety: none; used from the thread that runs the loop.
class CLogTap
{
public:
    /// @param onward takes all lines; may be empty.
    explicit CLogTap(LogSink onward) : m_onward(std::move(onward)) {}
    CLogTap(const CLogTap&) = delete;
    CLogTap& operator=(const CLogTap&) = delete;

    /// The sink to log to; this object must outlive it.
    LogSink Sink()
    {
        return [this](ELogLevel level, const std::string& text) { Take(level, text); };
    }

    /// Takes the warnings and errors down from now on, until what is returned goes.
    ///
    /// @param lines receives them; must live as long.
    std::shared_ptr<void> TakeInto(std::vector<std::string>& lines)
    {
        m_lines = &lines;
        return {static_cast<void*>(this), [this](void*) { m_lines = nullptr; }};
    }
    /// Does something.
    ///
    /// @return the warnings and errors that it logged.
    template <typename Work>
    std::vector<std::string> LinesOf(Work work)
    {
        std::vector<std::string> lines;
        const std::shared_ptr<void> taking = TakeInto(lines); // whatever the work throws
        work();
        return lines;
    }

private:
    void Take(ELogLevel level, const std::string& text)
    {
        if (m_lines != nullptr && level <= ELogLevel::Warning) {
            m_lines->push_back(text);
        }
        if (m_onward) {
            m_onward(level, text);
        }
    }

    LogSink m_onward;
    std::vector<std::string>* m_lines = nullptr; ///< null while nothing is taken down
};

#endif
