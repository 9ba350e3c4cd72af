#ifndef KESTROVE_REPORT_DRIVEREPORT_H
#define KESTROVE_REPORT_DRIVEREPORT_H

#include <cstdint>
#include <string>

#include "report/BoundedCurve.h"
#include "report/DriveSample.h"
#include "report/ErrorFigures.h"
#include "report/PassToPass.h"

/// How much was steered.
struct SteeringActivity
{
    std::uint64_t samples = 0; ///< from which a rate comes
    double rmsRate = 0.0;      ///< radians a second, of the angle
    double travel = 0.0;       ///< radians that the wheels were turned, to and fro
    double greatestAngle = 0.0;
};

/// Gathers what a report says of a drive, sample by sample, in bounded memory.
///
/// Errors count while steering is engaged and the machine moves at 0.05 m/s at least.
/// Thread safety: none.
class CDriveReport
{
public:
    /// Takes the next sample in. One with the time of the last is left out.
    ///
    /// @return an empty text, or what is wrong with it; it is not taken in then.
    std::string Add(const DriveSample& sample);
    /// To be called once when all samples are there.
    ///
    /// @return an empty text, or why there is nothing to report.
    std::string Finish();

    std::uint64_t Samples() const { return m_samples; }
    double FirstTime() const { return m_first.time; }
    double LastTime() const { return m_last.time; }
    /// Metres driven, and of them while steering was engaged.
    double Metres() const { return m_metres; }
    double EngagedMetres() const { return m_engagedMetres; }
    /// How often steering was engaged.
    std::uint64_t Engagements() const { return m_engagements; }

    const CErrorFigures& Machine() const { return m_machine; }
    const CErrorFigures& Implement() const { return m_implement; }
    /// What is left of the machine's error without the receiver's drift: guidance's part.
    const CErrorFigures& Guidance() const { return m_guidance; }
    const CPassToPass& PassToPass() const { return m_passToPass; }
    SteeringActivity Steering() const;

    const CBoundedCurve& MachineCurve() const { return m_machineCurve; }
    const CBoundedCurve& ImplementCurve() const { return m_implementCurve; }
    const CBoundedCurve& SteeringCurve() const { return m_steeringCurve; }
    const CBoundedWay& Way() const { return m_way; }

private:
    std::string ProblemOf(const DriveSample& sample) const;
    /// A speed that is not measured comes from the way.
    double SpeedOf(const DriveSample& sample, double metres, double seconds) const;
    void Count(const DriveSample& sample, double seconds);
    void CountSteering(const DriveSample& sample, double seconds);

    std::uint64_t m_samples = 0;
    DriveSample m_first;
    DriveSample m_last;
    bool m_isFirstPending = false;
    bool m_lastCounted = false;
    double m_metres = 0.0;
    double m_engagedMetres = 0.0;
    std::uint64_t m_engagements = 0;
    CErrorFigures m_machine;
    CErrorFigures m_implement;
    CErrorFigures m_guidance;
    CPassToPass m_passToPass;
    std::uint64_t m_rates = 0;
    double m_meanSquareRate = 0.0;
    double m_travel = 0.0;
    double m_greatestAngle = 0.0;
    CBoundedCurve m_machineCurve;
    CBoundedCurve m_implementCurve;
    CBoundedCurve m_steeringCurve;
    CBoundedWay m_way;
};

#endif
