#ifndef KESTROVE_SIMULATOR_HTTP_HISTORY_H
#define KESTROVE_SIMULATOR_HTTP_HISTORY_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "simulator/http/HistorySample.h"

/// What happened at a moment.
enum class EHistoryMark : std::size_t
{
    Engaged,
    Ended,   ///< by hand, or by whoever steers
    Dropped, ///< by the service
    Nudge,
    Line,
    Tuning, ///< or another setting
    Fault,
};

inline constexpr std::size_t kHistoryMarks = 7;

/// The word for a kind: "engaged".
const char* NameOf(EHistoryMark kind);

struct HistoryMark
{
    double time = 0.0; ///< simulated seconds
    EHistoryMark kind = EHistoryMark::Engaged;
    std::string text; ///< in words; of a drop its reason
};

/// What of a history is handed on. It never changes, and may go to other threads.
struct HistoryView
{
    using Piece = std::shared_ptr<const std::string>;

    std::uint64_t first = 0;   ///< the number of the first of the pieces
    std::vector<Piece> pieces; ///< full ones, the oldest first
    std::string open;          ///< the samples after those
    std::vector<std::shared_ptr<const HistoryMark>> marks; ///< each kind in its order
};

/// The samples and marks of the last hour, or more slowly of a longer time. To hand them on costs
/// no more than copying some pointers and a piece.
///
/// It takes 2.1 MB at most of samples, and of marks less than 1.6 MB: 500 of each kind, so that
/// many of one, such as nudges, displace none of another.
///
/// Thread safety: none.
class CHistory
{
public:
    /// Samples of a piece: a minute, at ten a second.
    static constexpr std::size_t kPieceSamples = 600;
    /// Full pieces: an hour.
    static constexpr std::size_t kMostPieces = 60;
    static constexpr std::size_t kMostMarksOfAKind = 500;
    static constexpr std::size_t kLongestText = 300;
    /// Further marks of a kind within that time, seconds, take the place of the one before: a
    /// slider that is drawn leaves one.
    static constexpr double kMergeSeconds = 1.0;

    /// Adds a sample; the oldest piece goes when there are too many.
    void Add(const HistorySample& sample);
    /// Adds what happened, no earlier than what was added before.
    ///
    /// @param text is cut where it is longer than kLongestText.
    void Mark(EHistoryMark kind, double time, std::string text);
    /// What there is now.
    HistoryView View() const;

private:
    std::uint64_t m_first = 0;
    std::deque<HistoryView::Piece> m_pieces;
    std::string m_open;
    std::array<std::deque<std::shared_ptr<const HistoryMark>>, kHistoryMarks> m_marks;
};

/// The bytes of a piece by its number; nothing where there is none.
HistoryView::Piece PieceOf(const HistoryView& view, std::uint64_t number);

#endif
