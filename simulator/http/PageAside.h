#ifndef KESTROVE_SIMULATOR_HTTP_PAGEASIDE_H
#define KESTROVE_SIMULATOR_HTTP_PAGEASIDE_H

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include "runtime/SignalsBlocked.h"
#include "simulator/aside/LongWork.h"
#include "simulator/aside/SurePost.h"
#include "simulator/http/HttpConnection.h"

/// The page's thread for reading and writing what is long, one piece after the other. What nobody
/// waits for any more is not begun, and ends where it asks whether it is to (EndWorkIfStopped()).
///
/// Thread safety: none but that of its own thread; lives on the page's thread.
class CPageAside
{
public:
    /// Who has posted what is worked on, and has given it up when gone.
    using Asker = std::shared_ptr<CHttpConnection>;

    /// @param loop the page's; must outlive this object.
    explicit CPageAside(asio::io_context& loop) : m_loop(loop) {}

    void Start()
    {
        const SignalsBlockedC blocked;
        m_threads = std::make_unique<asio::thread_pool>(1);
    }
    /// What is under way ends soon, once its asker's connection is closed too, and nothing else
    /// begins.
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
    ///        when it throws, for want of memory, for one, or the asker has gone.
    /// @param asker null for what is done in any case.
    template <typename Work, typename Then>
    void Do(Work work, Then then, Asker asker = {})
    {
        using Result = decltype(work());
        const auto result = std::make_shared<std::shared_ptr<Result>>();
        m_waiting.push_back(std::make_shared<Piece>(
            Piece{std::move(asker),
                  [result, work = std::move(work)] { *result = std::make_shared<Result>(work()); },
                  [result, then = std::move(then)] { then(*result); }}));
        BeginNext();
    }
    /// Ends what waits for its turn and whose asker has gone.
    void ForgetUnwanted()
    {
        const auto isWanted = [](const PiecePtr& piece) {
            return !piece->asker || !piece->asker->HasGone();
        };
        const auto first = std::stable_partition(m_waiting.begin(), m_waiting.end(), isWanted);
        const std::vector<PiecePtr> unwanted(first, m_waiting.end());
        m_waiting.erase(first, m_waiting.end());
        for (const PiecePtr& piece : unwanted) {
            piece->end();
        }
    }

private:
    struct Piece
    {
        Asker asker;
        std::function<void()> work;
        std::function<void()> end;
    };
    using PiecePtr = std::shared_ptr<Piece>;

    void BeginNext()
    {
        ForgetUnwanted();
        if (m_isWorking || m_waiting.empty()) {
            return;
        }
        asio::post(*m_threads, [this, piece = m_waiting.front()] {
            Work(*piece);
            const auto end = [this, piece] {
                m_isWorking = false;
                BeginNext();
                piece->end();
            };
            PostSurely(m_loop, end, m_isEnding);
        });
        m_waiting.pop_front();
        m_isWorking = true;
    }
    /// On the thread.
    void Work(Piece& piece) const
    {
        g_workStop = piece.asker ? &piece.asker->IsClosed() : &m_isEnding;
        try {
            if (!m_isEnding) {
                piece.work();
            }
        } catch (const std::exception&) {
            // There is no result then.
        }
        g_workStop = nullptr;
        piece.work = {};
    }

    asio::io_context& m_loop;
    std::atomic<bool> m_isEnding{false};
    std::deque<PiecePtr> m_waiting;
    bool m_isWorking = false;
    std::unique_ptr<asio::thread_pool> m_threads;
};

#endif
