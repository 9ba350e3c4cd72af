#ifndef KESTROVE_SIMULATOR_HTTP_LINEEVENT_H
#define KESTROVE_SIMULATOR_HTTP_LINEEVENT_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// How far from the chosen pass, in passes, a viewer keeps the points of others.
inline constexpr int kKeptPasses = 32;

/// The points of a pass, or of the line itself, as they go over the wire.
struct LinePiece
{
    /// Stands for the line itself where the number of a pass is meant otherwise.
    static constexpr int kTheLine = std::numeric_limits<int>::min();

    int pass = 0;
    std::shared_ptr<const std::string> points; ///< a list of JSON
};

/// What there is to be drawn of the line at a moment.
struct LinePicture
{
    std::uint64_t number = 0; ///< points belong to the picture with the same number
    std::string members;      ///< of the event, but for those with points: JSON without braces
    int pass = 0;             ///< the chosen one
    bool hasLine = false;
    bool isFollowed = false;       ///< whether anything is left of the chosen pass at its place
    std::vector<LinePiece> pieces; ///< those that are drawn already, the most important first
};

using LinePicturePtr = std::shared_ptr<const LinePicture>;

/// What a viewer has been sent of a picture.
struct SentPieces
{
    std::uint64_t picture = 0;
    std::set<int> passes;
};

/// Writes the data of the event "line" for a viewer: points that it has been sent before are left
/// out, and the passes whose points it has not been sent and that do not fit.
///
/// @param sent is brought up to date.
/// @param mostBytes of points, but for those of one piece, which are sent unless this is 0.
/// @param isWhole receives whether nothing has been left out for want of room.
std::string LineEvent(const LinePicture& picture, SentPieces& sent, std::size_t mostBytes,
                      bool& isWhole);

#endif
