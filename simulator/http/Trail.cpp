#include "simulator/http/Trail.h"

#include <cstddef>

#include <nlohmann/json.hpp>

#include "simulator/http/PageValues.h"

EventSink TrailC::Sink()
{
    return [this](const std::string& event, const BListC& payload) {
        if (event == "cb_relative_position")
            Add({payload.GetDouble(0), payload.GetDouble(1)});
    };
}

void TrailC::Add(const Point& position)
{
    if (m_ring.size() < kMostPoints) {
        m_ring.push_back(position);
        return;
    }
    m_ring[m_oldest] = position;
    m_oldest = (m_oldest + 1) % kMostPoints;
}

std::vector<Point> TrailC::Points() const
{
    std::vector<Point> points;
    points.reserve(m_ring.size());
    const auto oldest = m_ring.begin() + static_cast<std::ptrdiff_t>(m_oldest);
    points.insert(points.end(), oldest, m_ring.end());
    points.insert(points.end(), m_ring.begin(), oldest);
    return points;
}

std::string TrailJson(const std::vector<Point>& points, double end, const std::string& run)
{
    return nlohmann::json{
        {"interval", TrailC::kInterval}, {"end", end}, {"run", run}, {"points", PointsJson(points)}}
        .dump();
}
