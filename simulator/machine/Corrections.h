#ifndef KESTROVE_SIMULATOR_MACHINE_CORRECTIONS_H
#define KESTROVE_SIMULATOR_MACHINE_CORRECTIONS_H

#include "simulator/machine/ReceiverReport.h"

/// What becomes of the fix of a receiver with a base station as its corrections come and stay away.
///
/// The ambiguities stay resolved until the correction is kFixedSeconds old. Then the fix floats,
/// and beyond kFloatSeconds there is none but that of the satellites alone. When corrections come
/// again, or positions after none, it floats for kFixingSeconds first.
class CCorrections
{
public:
    static constexpr double kUsualAge = 1.0;
    static constexpr double kFixedSeconds = 20.0;
    static constexpr double kFloatSeconds = 60.0;
    static constexpr double kFixingSeconds = 8.0;

    /// Moves the clock on.
    ///
    /// @param come whether corrections come.
    /// @param isCovered whether there is no position at all.
    void Step(double seconds, bool come, bool isCovered);

    EFix Fix() const;
    /// Of the last correction, seconds.
    double Age() const { return m_age; }

private:
    bool m_isCovered = false;
    double m_age = kUsualAge;
    double m_fixing = 0.0; ///< seconds until the ambiguities are resolved
};

#endif
