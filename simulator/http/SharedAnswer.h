#ifndef KESTROVE_SIMULATOR_HTTP_SHAREDANSWER_H
#define KESTROVE_SIMULATOR_HTTP_SHAREDANSWER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "simulator/http/HttpConnection.h"

/// An answer that is the same for everybody who asks for it, such as the trail. It is worked out
/// once for all who have asked before the work begins, and for nobody who has gone by then: however
/// many ask, there is one piece of work at a time. Where the work throws, the answer is that it has
/// failed. Nothing is kept for connections that have been closed.
///
/// Thread safety: none; lives on the thread that serves the connections.
class CSharedAnswer
{
public:
    /// Takes the answer. To be called once, on the thread that serves the connections.
    using Reply = std::function<void(const ServedAnswer&)>;
    /// Works the answer out, now or later. What is replied a second time, or after it has thrown,
    /// is left out.
    using Work = std::function<void(Reply)>;

    /// @param freshFor for so long it is given again without being worked out anew. Who asks right
    ///        after a change sees the change only with 0.
    explicit CSharedAnswer(Work work, std::chrono::milliseconds freshFor = {});

    /// Answers a connection, now or later.
    void Give(const std::shared_ptr<CHttpConnection>& connection);
    /// How many are kept that wait for the work after the one under way.
    std::size_t Waiting() const { return m_next.size(); }

private:
    using Clock = std::chrono::steady_clock;
    /// The connections are kept by their owner, for as long as they are open.
    using Asking = std::vector<std::weak_ptr<CHttpConnection>>;

    void WorkIfAsked();
    void Finish(std::uint64_t work, const ServedAnswer& answer);

    Work m_work;
    std::chrono::milliseconds m_freshFor;
    Asking m_next; ///< who has asked since the work began
    Asking m_now;  ///< who is waiting for the work under way
    bool m_isWorking = false;
    std::uint64_t m_works = 0;           ///< how many there have been
    const ServedAnswer m_failure;        ///< where the work has thrown
    std::optional<ServedAnswer> m_fresh; ///< never a refusal
    Clock::time_point m_begun;           ///< when the last work was
};

#endif
