#include "simulator/guidance/LineSearch.h"

#include <algorithm>

Projection CLineSearch::Find(const CLineShape& line, const Point& place, double station,
                             LookBudget& budget)
{
    if (m_place && m_place->x == place.x && m_place->y == place.y) {
        return m_found;
    }
    const bool isFirst = !m_place;
    const std::size_t allowed =
        isFirst ? LookBudget::kMostOfASearch : std::min(budget.left, LookBudget::kMostOfASearch);
    if (allowed == 0) {
        return line.ProjectNear(place, station);
    }
    std::size_t left = allowed;
    m_found = line.ProjectFrom(place, station, left);
    m_place = place;
    budget.left -= std::min(budget.left, allowed - left);
    budget.taken += allowed - left;
    return m_found;
}
