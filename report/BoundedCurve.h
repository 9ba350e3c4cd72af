#ifndef KESTROVE_REPORT_BOUNDEDCURVE_H
#define KESTROVE_REPORT_BOUNDEDCURVE_H

#include <cstddef>
#include <vector>

/// A value over time in a bounded memory: of each span of time the lowest and the highest. When
/// there are too many spans each becomes twice as long.
///
/// Thread safety: none.
class CBoundedCurve
{
public:
    static constexpr std::size_t kMostSpans = 1200;

    struct Span
    {
        bool isEmpty = true;
        double low = 0.0;
        double high = 0.0;
    };

    /// Adds a value; times do not run back.
    void Add(double time, double value);
    /// The spans from the first value on.
    const std::vector<Span>& Spans() const { return m_spans; }
    /// Where a span begins, seconds.
    double BeginOf(std::size_t span) const;
    double SpanSeconds() const { return m_seconds; }

private:
    void Halve();

    std::vector<Span> m_spans;
    double m_start = 0.0;
    double m_seconds = 0.1;
};

/// A way in a bounded memory: positions at least so far apart; when there are too many, twice as
/// far.
///
/// Thread safety: none.
class CBoundedWay
{
public:
    static constexpr std::size_t kMostPoints = 6000;

    struct Place
    {
        double x = 0.0;
        double y = 0.0;
        bool isEngaged = false;
    };

    void Add(const Place& place);
    const std::vector<Place>& Places() const { return m_places; }
    /// Whether some are left out that were there.
    double SpacingMetres() const { return m_spacing; }

private:
    bool IsWanted(const Place& last, const Place& place) const;

    std::vector<Place> m_places;
    double m_spacing = 0.1;
};

#endif
