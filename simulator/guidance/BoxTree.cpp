#include "simulator/guidance/BoxTree.h"

void CBoxTree::Split(std::size_t first, std::size_t last)
{
    Box box = m_items[first].box;
    for (std::size_t i = first + 1; i < last; ++i) {
        box.Take(m_items[i].box);
    }
    const std::size_t here = m_nodes.size();
    m_nodes.push_back({box, 0});
    if (last - first <= kLeafSize) {
        return;
    }
    const bool alongX = box.most.x - box.least.x > box.most.y - box.least.y;
    const std::size_t half = Half(first, last);
    const auto at = [this](std::size_t i) {
        return m_items.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::nth_element(at(first), at(half), at(last), [alongX](const Item& a, const Item& b) {
        return alongX ? a.box.Middle().x < b.box.Middle().x : a.box.Middle().y < b.box.Middle().y;
    });
    Split(first, half);
    m_nodes[here].upper = m_nodes.size();
    Split(half, last);
}
