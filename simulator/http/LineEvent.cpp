#include "simulator/http/LineEvent.h"

#include <cstdlib>
#include <iterator>
#include <map>

namespace {

/// Writes pieces one after the other, for as long as there is room.
class CPieces
{
public:
    CPieces(SentPieces& sent, std::size_t mostBytes) : m_sent(sent), m_bytesLeft(mostBytes) {}

    /// Adds a piece to the list, or member, that it belongs to.
    void Add(const LinePiece& piece, bool isChosen)
    {
        const bool isNew = m_sent.passes.count(piece.pass) == 0;
        const std::size_t size = piece.points->size();
        if (isNew && size > m_bytesLeft && (m_hasAny || m_bytesLeft == 0)) {
            m_isWhole = false;
            return;
        }
        if (isNew) {
            m_sent.passes.insert(piece.pass);
            m_hasAny = true;
            m_bytesLeft -= size < m_bytesLeft ? size : m_bytesLeft;
        }
        if (piece.pass == LinePiece::kTheLine) {
            m_line = isNew ? ",\"line\":" + *piece.points : std::string();
            return;
        }
        const std::string points = isNew ? ",\"points\":" + *piece.points : std::string();
        const std::string entry = "{\"pass\":" + std::to_string(piece.pass) + points + "}";
        if (isChosen) {
            m_followed = entry;
        } else {
            m_passes[piece.pass] = entry;
        }
    }
    bool IsWhole() const { return m_isWhole; }
    std::string Members(bool hasLine) const
    {
        std::string passes;
        for (const auto& pass : m_passes) {
            passes += (passes.empty() ? "" : ",") + pass.second;
        }
        return (hasLine ? m_line : ",\"line\":[]") + ",\"followed\":" + m_followed +
               ",\"passes\":[" + passes + "]";
    }

private:
    SentPieces& m_sent;
    std::size_t m_bytesLeft;
    bool m_hasAny = false;
    bool m_isWhole = true;
    std::string m_line;
    std::string m_followed = "null";
    std::map<int, std::string> m_passes;
};

} // namespace

std::string LineEvent(const LinePicture& picture, SentPieces& sent, std::size_t mostBytes,
                      bool& isWhole)
{
    if (sent.picture != picture.number) {
        sent = {picture.number, {}};
    }
    for (auto kept = sent.passes.begin(); kept != sent.passes.end();) {
        const bool isFar =
            *kept != LinePiece::kTheLine && std::abs(*kept - picture.pass) > kKeptPasses;
        kept = isFar ? sent.passes.erase(kept) : std::next(kept);
    }
    CPieces pieces(sent, mostBytes);
    for (const LinePiece& piece : picture.pieces) {
        pieces.Add(piece, piece.pass == picture.pass && picture.isFollowed);
    }
    isWhole = pieces.IsWhole();
    return "{" + picture.members + pieces.Members(picture.hasLine) + "}";
}
