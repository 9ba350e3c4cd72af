#ifndef KESTROVE_SIMULATOR_HTTP_WAYLINETEXT_H
#define KESTROVE_SIMULATOR_HTTP_WAYLINETEXT_H

#include <chrono>
#include <optional>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/http/ServedRequest.h"
#include "simulator/lines/WaylineKeeper.h"

/// Keeps the answer with the text form of the last wayline that somebody has asked for, which takes
/// long to write and is large: until another is kept, or nobody has asked for a while.
///
/// Thread safety: none; lives on the thread that runs the loop.
class CWaylineText
{
public:
    /// After so long without being asked for it is let go.
    static constexpr std::chrono::milliseconds kUnasked{2000};

    /// @param loop must outlive this object.
    explicit CWaylineText(asio::io_context& loop) : m_timer(loop) {}

    /// The answer for a wayline, where it is kept.
    std::optional<ServedAnswer> Of(const CWaylineKeeper::SharedWayline& wayline);
    void Keep(const CWaylineKeeper::SharedWayline& wayline, const ServedAnswer& answer);

private:
    void WaitToForget();

    asio::steady_timer m_timer;
    CWaylineKeeper::SharedWayline m_wayline;
    std::optional<ServedAnswer> m_answer;
};

#endif
