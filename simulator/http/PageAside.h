#ifndef KESTROVE_SIMULATOR_HTTP_PAGEASIDE_H
#define KESTROVE_SIMULATOR_HTTP_PAGEASIDE_H

#include <atomic>
#include <exception>
#include <memory>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include "runtime/SignalsBlocked.h"
#include "simulator/guidance/LongWork.h"

/// The page's thread for reading and writing what is long.
///
/// Thread safety: none but that of its own thread; lives on the page's thread.
class PageAsideC
{
public:
    /// @param loop the page's; must outlive this object.
    explicit PageAsideC(asio::io_context& loop) : m_loop(loop) {}

    void Start()
    {
        const SignalsBlockedC blocked;
        m_threads = std::make_unique<asio::thread_pool>(1);
    }
    /// What is under way ends soon, and nothing else begins.
    void End() { m_isEnding = true; }
    /// Returns when the thread has ended.
    void Join()
    {
        if (m_threads) {
            m_threads->stop();
            m_threads->join();
        }
    }

    /// Does something on the thread.
    ///
    /// @param then is called on the page's thread with a pointer to what `work` gives; with none
    ///        when it throws, for want of memory, for one.
    template <typename Work, typename Then>
    void Do(Work work, Then then)
    {
        asio::post(*m_threads, [this, work = std::move(work), then = std::move(then)] {
            using Result = decltype(work());
            std::shared_ptr<Result> result;
            g_workStop = &m_isEnding;
            try {
                result = std::make_shared<Result>(work());
            } catch (const std::exception&) {
                // There is no result then.
            }
            asio::post(m_loop, [result, then] { then(result); });
        });
    }

private:
    asio::io_context& m_loop;
    std::atomic<bool> m_isEnding{false};
    std::unique_ptr<asio::thread_pool> m_threads;
};

#endif
