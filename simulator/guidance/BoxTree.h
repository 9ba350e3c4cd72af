#ifndef KESTROVE_SIMULATOR_GUIDANCE_BOXTREE_H
#define KESTROVE_SIMULATOR_GUIDANCE_BOXTREE_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "simulator/machine/Pose.h"

/// A rectangle along the axes.
struct Box
{
    Point least;
    Point most;

    static Box Around(const Point& point) { return {point, point}; }
    void Take(const Box& other)
    {
        least = {std::min(least.x, other.least.x), std::min(least.y, other.least.y)};
        most = {std::max(most.x, other.most.x), std::max(most.y, other.most.y)};
    }
    /// The square of the distance from a place; 0 inside.
    double SquaredDistance(const Point& place) const
    {
        const double x = std::max({least.x - place.x, place.x - most.x, 0.0});
        const double y = std::max({least.y - place.y, place.y - most.y, 0.0});
        return x * x + y * y;
    }
    Point Middle() const { return {(least.x + most.x) / 2.0, (least.y + most.y) / 2.0}; }
};

/// Things in the plane by the boxes that hold them, in a tree: each half of the things has a box of
/// its own, split at the median along the longer side (Bentley, "Multidimensional Binary Search
/// Trees Used for Associative Searching", 1975). So what is near a place is found without a look at
/// most of them, however they lie.
///
/// Takes n log n to make. Never changes.
class CBoxTree
{
public:
    CBoxTree() = default;
    /// @param boxes of the things, which are known by their places in it.
    explicit CBoxTree(const std::vector<Box>& boxes)
    {
        m_items.reserve(boxes.size());
        for (std::size_t thing = 0; thing < boxes.size(); ++thing)
            m_items.push_back({boxes[thing], thing});
        m_nodes.reserve(2 * boxes.size() / kLeafSize + 2);
        if (!m_items.empty())
            Split(0, m_items.size());
    }

    /// Visits the things whose boxes are no farther from a place than a limit, near ones first by
    /// and large.
    ///
    /// @param squaredLimit the limit's square, which visits may lower: below 0 the search ends.
    /// @param visit is called with the place of the thing among the boxes.
    template <typename TVisit>
    void Search(const Point& place, double& squaredLimit, const TVisit& visit) const
    {
        if (!m_items.empty())
            Search(0, 0, m_items.size(), place, squaredLimit, visit);
    }

private:
    static constexpr std::size_t kLeafSize = 8;

    struct Item
    {
        Box box;
        std::size_t thing;
    };

    struct Node
    {
        Box box;
        std::size_t upper; ///< the node of the second half; 0 for a leaf
    };

    static std::size_t Half(std::size_t first, std::size_t last)
    {
        return first + (last - first) / 2;
    }

    void Split(std::size_t first, std::size_t last);

    template <typename TVisit>
    void Search(std::size_t node, std::size_t first, std::size_t last, const Point& place,
                double& squaredLimit, const TVisit& visit) const
    {
        if (m_nodes[node].box.SquaredDistance(place) > squaredLimit)
            return;
        const std::size_t upper = m_nodes[node].upper;
        if (upper == 0) {
            for (std::size_t i = first; i < last; ++i) {
                if (m_items[i].box.SquaredDistance(place) <= squaredLimit)
                    visit(m_items[i].thing);
            }
            return;
        }
        const std::size_t half = Half(first, last);
        const bool lowerFirst = Nearness(node + 1, place) <= Nearness(upper, place);
        if (lowerFirst)
            Search(node + 1, first, half, place, squaredLimit, visit);
        Search(upper, half, last, place, squaredLimit, visit);
        if (!lowerFirst)
            Search(node + 1, first, half, place, squaredLimit, visit);
    }

    /// Orders nodes that are looked into: among boxes that hold the place, the middle counts.
    double Nearness(std::size_t node, const Point& place) const
    {
        return Box::Around(m_nodes[node].box.Middle()).SquaredDistance(place);
    }

    std::vector<Item> m_items;
    std::vector<Node> m_nodes; ///< each followed by that of its first half
};

#endif
