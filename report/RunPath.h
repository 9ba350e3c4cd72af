#ifndef KESTROVE_REPORT_RUNPATH_H
#define KESTROVE_REPORT_RUNPATH_H

#include <cstddef>
#include <optional>
#include <vector>

/// A place of a run.
struct RunPlace
{
    double x = 0.0;
    double y = 0.0;
    double time = 0.0;
    double error = 0.0;          ///< of the machine, metres
    double implementError = 0.0; ///< not a number where it is not known
};

/// A stretch of a pass that was steered along without a break at a steady speed.
///
/// Thread safety: none.
class CRunPath
{
public:
    CRunPath() = default;
    explicit CRunPath(int pass) : m_pass(pass) {}

    void Add(const RunPlace& place, double speed);
    /// To be called once all places are there, and before Nearest().
    void Finish();

    int Pass() const { return m_pass; }
    double Metres() const { return m_metres; }
    /// The mean, metres per second.
    double Speed() const { return m_speed; }
    const std::vector<RunPlace>& Places() const { return m_places; }

    /// The place of the run that is nearest, interpolated between its positions.
    ///
    /// @param hint where the search begins, and where it has ended: of places that follow each
    ///        other, each is found fast with that of the one before. 0 at first.
    /// @return none where the nearest is an end of the run, which was not driven beside then.
    std::optional<RunPlace> Nearest(double x, double y, std::size_t& hint) const;

private:
    /// A rectangle around places that follow each other.
    struct Box
    {
        double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
        double SquareTo(double x, double y) const;
    };
    /// The best so far of a search.
    struct Found
    {
        double square;
        std::size_t segment;
        double share;
    };

    static Box Around(const Box& box, const Box& other);
    void SearchSegments(std::size_t box, double x, double y, Found& best) const;
    void SearchBoxes(std::size_t group, double x, double y, Found& best) const;

    int m_pass = 0;
    double m_metres = 0.0;
    double m_speed = 0.0;
    std::vector<RunPlace> m_places;
    std::vector<Box> m_boxes;  ///< of segments
    std::vector<Box> m_groups; ///< of boxes
};

#endif
