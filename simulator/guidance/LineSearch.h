#ifndef KESTROVE_SIMULATOR_GUIDANCE_LINESEARCH_H
#define KESTROVE_SIMULATOR_GUIDANCE_LINESEARCH_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "simulator/guidance/LineShape.h"

/// How many parts of lines may be looked at, in all searches until it is filled again.
struct LookBudget
{
    /// What one search takes at most, about: far more than it takes where not all of the line is
    /// equally far away.
    static constexpr std::size_t kMostOfASearch = 4096;
    static constexpr std::size_t kFull = 4 * kMostOfASearch;

    std::size_t left = kFull;
    std::uint64_t taken = 0; ///< since the start
};

/// Looks for where a place is relative to the whole of a line, and remembers what it has found.
///
/// Searching takes long where all of the line is equally far away, as from the middle of a circle.
/// So a search is bounded, one for the same place is not made again, and when the budget is used up
/// only the surroundings of the last place are looked at. What is found then may not be the nearest
/// point, until a search after the budget has been filled again.
///
/// A value.
class CLineSearch
{
public:
    /// @param line the one that was searched before, unless Forget() was called since.
    /// @param station of an earlier place on it, or of a guess.
    /// @param budget that for a line's first search is not asked.
    Projection Find(const CLineShape& line, const Point& place, double station, LookBudget& budget);
    /// Another line is searched from now on.
    void Forget() { m_place.reset(); }

private:
    std::optional<Point> m_place; ///< that has been looked for last
    Projection m_found;
};

#endif
