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

/// Counts down how many looks are left, to 0.
inline void CountLooks(std::size_t& left, std::size_t looks)
{
    left -= std::min(left, looks);
}

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
        for (std::size_t thing = 0; thing < boxes.size(); ++thing) {
            m_items.push_back({boxes[thing], thing});
        }
        m_nodes.reserve(2 * boxes.size() / kLeafSize + 2);
        if (!m_items.empty()) {
            Split(0, m_items.size());
        }
    }

    /// Visits the things whose boxes are no farther from a place than a limit, those of the nearest
    /// boxes first: Hjaltason and Samet, "Distance Browsing in Spatial Databases", 1999.
    ///
    /// @param squaredLimit the limit's square, which visits may lower: below 0 the search ends.
    /// @param looks how many boxes may be looked at, counted down; the search ends at 0, or a few
    ///        boxes later. Visits may count down what they look at themselves.
    /// @param visit is called with the place of the thing among the boxes.
    template <typename TVisit>
    void Search(const Point& place, double& squaredLimit, std::size_t& looks,
                const TVisit& visit) const
    {
        if (m_items.empty()) {
            return;
        }
        std::vector<Part> parts{PartAt(0, 0, m_items.size(), place)};
        while (!parts.empty() && looks > 0) {
            std::pop_heap(parts.begin(), parts.end());
            const Part part = parts.back();
            parts.pop_back();
            if (part.squaredDistance > squaredLimit) {
                return;
            }
            const std::size_t upper = m_nodes[part.node].upper;
            if (upper == 0) {
                SearchLeaf(part, place, squaredLimit, looks, visit);
                continue;
            }
            CountLooks(looks, 2);
            const std::size_t half = Half(part.first, part.last);
            for (const Part& next : {PartAt(part.node + 1, part.first, half, place),
                                     PartAt(upper, half, part.last, place)}) {
                if (next.squaredDistance > squaredLimit) {
                    continue;
                }
                parts.push_back(next);
                std::push_heap(parts.begin(), parts.end());
            }
        }
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

    /// A node that is yet to be looked into.
    struct Part
    {
        double squaredDistance; ///< of its box
        double toMiddle;        ///< of the box, squared
        std::size_t node;
        std::size_t first; ///< of its items
        std::size_t last;  ///< past the last of them

        /// Later to be looked into; among boxes that are equally near, the middle counts.
        bool operator<(const Part& other) const
        {
            if (squaredDistance != other.squaredDistance) {
                return squaredDistance > other.squaredDistance;
            }
            return toMiddle > other.toMiddle;
        }
    };

    Part PartAt(std::size_t node, std::size_t first, std::size_t last, const Point& place) const
    {
        const Box& box = m_nodes[node].box;
        return {box.SquaredDistance(place), Box::Around(box.Middle()).SquaredDistance(place), node,
                first, last};
    }

    template <typename TVisit>
    void SearchLeaf(const Part& leaf, const Point& place, double& squaredLimit, std::size_t& looks,
                    const TVisit& visit) const
    {
        CountLooks(looks, leaf.last - leaf.first);
        for (std::size_t i = leaf.first; i < leaf.last; ++i) {
            if (m_items[i].box.SquaredDistance(place) <= squaredLimit) {
                visit(m_items[i].thing);
            }
        }
    }

    std::vector<Item> m_items;
    std::vector<Node> m_nodes; ///< each followed by that of its first half
};

#endif
