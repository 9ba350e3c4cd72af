#ifndef KESTROVE_SIMULATOR_HTTP_HISTORYANSWERS_H
#define KESTROVE_SIMULATOR_HTTP_HISTORYANSWERS_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "simulator/http/History.h"
#include "simulator/http/PageAside.h"
#include "simulator/http/SharedAnswer.h"

/// The history as it is now.
struct HistoryNow
{
    HistoryView view;
    std::string recording = "null"; ///< JSON about the recording that it is of
};

/// Answers who asks for the history: "/history" with what there is, and "/history/7" with the
/// samples of a piece.
///
/// Whoever asks, and however often: what there is is fetched ten times a second at most, and a
/// piece is compressed once. Pieces are given from what was fetched last, which takes no time of
/// the thread that the history belongs to.
///
/// Thread safety: none; lives on the page's thread.
class CHistoryAnswers
{
public:
    using NowPtr = std::shared_ptr<HistoryNow>;
    using Reply = CSharedAnswer::Reply;
    /// Fetches what there is now. Calls `then` on the page's thread, now or later, or else replies
    /// with a refusal.
    using Fetch = std::function<void(const Reply& reply, std::function<void(NowPtr)> then)>;

    /// @param aside must outlive this object.
    /// @param run another text for each history.
    /// @param interval seconds from one sample to the next, where that is always the same; or 0.
    CHistoryAnswers(CPageAside& aside, std::string run, double interval, Fetch fetch);

    /// Answers a connection, now or later.
    ///
    /// @return false when it asks for something else.
    bool Give(const std::shared_ptr<CHttpConnection>& connection);

private:
    void GiveIndex(bool isCompressed, const Reply& reply);
    void GivePiece(const std::shared_ptr<CHttpConnection>& connection, const std::string& number);
    ServedAnswer::Body Compressed(std::uint64_t number, const HistoryView::Piece& piece);
    void Keep(const NowPtr& now);

    CPageAside& m_aside;
    const std::string m_run;
    const double m_interval;
    Fetch m_fetch;
    std::array<CSharedAnswer, 2> m_index; ///< as it is, and compressed
    NowPtr m_now = std::make_shared<HistoryNow>();
    std::map<std::uint64_t, ServedAnswer::Body> m_compressed; ///< pieces, by their numbers
    std::uint64_t m_open = 0; ///< the number of the piece that was not full when it was fetched
};

#endif
