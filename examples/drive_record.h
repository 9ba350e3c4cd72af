#ifndef KESTROVE_EXAMPLES_DRIVE_RECORD_H
#define KESTROVE_EXAMPLES_DRIVE_RECORD_H

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include <core/Vector2.h>

/// Points in the local frame (metres east and north).
using PointsC = std::vector<Core::Maths::Vector2<double>>;

/// The machine at one moment of a drive.
struct SDriveSample
{
    double time = 0.0;                     ///< seconds since the recording began
    double distance = 0.0;                 ///< metres driven since then
    Core::Maths::Vector2<double> position; ///< metres east and north
    double crossTrackError = 0.0;          ///< metres, positive right of the line
};

/// A part of a drive during which the line stayed where it was.
struct SDriveLeg
{
    std::string name;
    std::vector<SDriveSample> samples;
    std::vector<PointsC> passes; ///< the points to draw of the line, as they came
};

/// How well the machine kept to the line of a leg.
struct SLegFigures
{
    double settleDistance = 0.0; ///< metres until it stays within 5 cm; NaN when it never does
    double overshoot = 0.0;      ///< metres beyond the line, seen from where the leg began
    double error95 = 0.0;        ///< metres, not exceeded in 95 % of the time since it settled
};

/// What happened during a drive, leg by leg.
class CDriveRecord
{
public:
    /// Begins a leg; all that is added from now on belongs to it.
    void BeginLeg(std::string name);
    /// Adds a sample; without a leg it is passed over. Samples are 0.1 s apart.
    void Add(const Core::Maths::Vector2<double>& position, double crossTrackError);
    /// Adds points to draw of the line that is followed; without a leg they are passed over.
    void AddPass(const PointsC& points);

    const std::vector<SDriveLeg>& Legs() const { return m_legs; }
    /// Metres driven since the present leg began.
    double LegDistance() const;

private:
    std::vector<SDriveLeg> m_legs;
    SDriveSample m_last;
    std::size_t m_count = 0;
};

/// The figures of a leg; all NaN for one without samples.
SLegFigures Evaluate(const SDriveLeg& leg);

/// Writes a table with the figures of each leg.
void PrintFigures(std::ostream& stream, const CDriveRecord& record);

#endif
