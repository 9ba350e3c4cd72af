#include "simulator/http/History.h"

#include <utility>

namespace {

/// Whether further marks of the kind replace the one before: values, and not what happens once.
bool IsOfValue(EHistoryMark kind)
{
    return kind == EHistoryMark::Nudge || kind == EHistoryMark::Tuning ||
           kind == EHistoryMark::Line;
}

/// Cut between two characters of UTF-8.
std::string Shortened(std::string text)
{
    constexpr unsigned kFollowing = 0x80U;
    constexpr unsigned kFollowingMask = 0xC0U;
    if (text.size() <= CHistory::kLongestText) {
        return text;
    }
    std::size_t end = CHistory::kLongestText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & kFollowingMask) == kFollowing) {
        --end;
    }
    text.resize(end);
    return text + "…";
}

} // namespace

const char* NameOf(EHistoryMark kind)
{
    static const char* const names[kHistoryMarks] = {"engaged", "ended",  "dropped", "nudge",
                                                     "line",    "tuning", "fault"};
    return names[static_cast<std::size_t>(kind)];
}

void CHistory::Add(const HistorySample& sample)
{
    m_open += BytesOf(sample);
    if (m_open.size() < kPieceSamples * HistorySample::kBytes) {
        return;
    }
    m_pieces.push_back(std::make_shared<const std::string>(std::exchange(m_open, {})));
    if (m_pieces.size() > kMostPieces) {
        m_pieces.pop_front();
        ++m_first;
    }
}

void CHistory::Mark(EHistoryMark kind, double time, std::string text)
{
    auto& marks = m_marks[static_cast<std::size_t>(kind)];
    const bool merges =
        IsOfValue(kind) && !marks.empty() && time - marks.back()->time < kMergeSeconds;
    // What goes on for long has marks a second apart.
    const double since = merges ? marks.back()->time : time;
    if (merges) {
        marks.pop_back();
    }
    marks.push_back(
        std::make_shared<const HistoryMark>(HistoryMark{since, kind, Shortened(std::move(text))}));
    if (marks.size() > kMostMarksOfAKind) {
        marks.pop_front();
    }
}

HistoryView CHistory::View() const
{
    HistoryView view{m_first, {m_pieces.begin(), m_pieces.end()}, m_open, {}};
    for (const auto& marks : m_marks) {
        view.marks.insert(view.marks.end(), marks.begin(), marks.end());
    }
    return view;
}

HistoryView::Piece PieceOf(const HistoryView& view, std::uint64_t number)
{
    if (number < view.first || number > view.first + view.pieces.size()) {
        return nullptr;
    }
    const auto place = static_cast<std::size_t>(number - view.first);
    return place < view.pieces.size() ? view.pieces[place]
                                      : std::make_shared<const std::string>(view.open);
}
