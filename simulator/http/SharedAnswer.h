#ifndef KESTROVE_SIMULATOR_HTTP_SHAREDANSWER_H
#define KESTROVE_SIMULATOR_HTTP_SHAREDANSWER_H

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "simulator/http/HttpConnection.h"

/// An answer that is the same for everybody who asks for it, such as the trail. It is worked out
/// once for all who have asked before the work begins, and for nobody who has gone by then: however
/// many ask, there is one piece of work at a time.
///
/// Thread safety: none; lives on the thread that serves the connections.
class SharedAnswerC
{
public:
    /// Takes the answer. To be called once, on the thread that serves the connections.
    using Reply = std::function<void(const ServedAnswer&)>;
    /// Works the answer out, now or later.
    using Work = std::function<void(Reply)>;

    /// @param freshFor for so long it is given again without being worked out anew. Who asks right
    ///        after a change sees the change only with 0.
    explicit SharedAnswerC(Work work, std::chrono::milliseconds freshFor = {});

    /// Answers a connection, now or later.
    void Give(const std::shared_ptr<HttpConnectionC>& connection);

private:
    using Clock = std::chrono::steady_clock;
    using Asking = std::vector<std::shared_ptr<HttpConnectionC>>;

    void WorkIfAsked();
    void Finish(const ServedAnswer& answer);

    Work m_work;
    std::chrono::milliseconds m_freshFor;
    Asking m_next; ///< who has asked since the work began
    Asking m_now;  ///< who is waiting for the work under way
    bool m_isWorking = false;
    std::optional<ServedAnswer> m_fresh; ///< never a refusal
    Clock::time_point m_begun;           ///< when the last work was
};

#endif
