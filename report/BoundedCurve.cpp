#include "report/BoundedCurve.h"

#include <algorithm>
#include <cmath>
#include <utility>

void CBoundedCurve::Add(double time, double value)
{
    if (m_spans.empty()) {
        m_start = time;
    }
    while ((time - m_start) / m_seconds >= static_cast<double>(kMostSpans)) {
        Halve();
    }
    const auto number = static_cast<std::size_t>((time - m_start) / m_seconds);
    if (m_spans.size() <= number) {
        m_spans.resize(number + 1);
    }
    Span& span = m_spans[number];
    span.low = span.isEmpty ? value : std::min(span.low, value);
    span.high = span.isEmpty ? value : std::max(span.high, value);
    span.isEmpty = false;
}

void CBoundedCurve::Halve()
{
    std::vector<Span> merged((m_spans.size() + 1) / 2);
    for (std::size_t i = 0; i < m_spans.size(); ++i) {
        Span& span = merged[i / 2];
        const Span& half = m_spans[i];
        if (half.isEmpty) {
            continue;
        }
        span.low = span.isEmpty ? half.low : std::min(span.low, half.low);
        span.high = span.isEmpty ? half.high : std::max(span.high, half.high);
        span.isEmpty = false;
    }
    m_spans = std::move(merged);
    m_seconds *= 2.0;
}

double CBoundedCurve::BeginOf(std::size_t span) const
{
    return m_start + static_cast<double>(span) * m_seconds;
}

bool CBoundedWay::IsWanted(const Place& last, const Place& place) const
{
    return last.isEngaged != place.isEngaged ||
           std::hypot(place.x - last.x, place.y - last.y) >= m_spacing;
}

void CBoundedWay::Add(const Place& place)
{
    if (!m_places.empty() && !IsWanted(m_places.back(), place)) {
        return;
    }
    m_places.push_back(place);
    if (m_places.size() <= kMostPoints) {
        return;
    }
    // Of those that change between engaged and not, too, every other one goes: memory is bounded
    // however often that happens.
    m_spacing *= 2.0;
    std::vector<Place> kept;
    for (std::size_t i = 0; i < m_places.size(); i += 2) {
        kept.push_back(m_places[i]);
    }
    m_places = std::move(kept);
}
