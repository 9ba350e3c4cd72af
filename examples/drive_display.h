#ifndef KESTROVE_EXAMPLES_DRIVE_DISPLAY_H
#define KESTROVE_EXAMPLES_DRIVE_DISPLAY_H

#include <string>

/// Shows on standard output how a drive goes: on a terminal one line that changes, with a progress
/// bar and a lightbar; elsewhere a plain line now and then. Colours are left out when the
/// environment variable NO_COLOR is set.
class CDriveDisplay
{
public:
    CDriveDisplay();

    /// Begins a leg of the given length (metres).
    void BeginLeg(const std::string& name, double length);
    /// Shows where the machine is: metres driven since the leg began, and cross-track error
    /// (metres, positive right of the line).
    void Show(double distance, double crossTrackError);
    /// Ends the line that changes, so that other text can follow.
    void EndLeg();

private:
    void ShowLive(double distance, double crossTrackError) const;
    void ShowPlain(double distance, double crossTrackError);

    bool m_isLive;
    bool m_hasColours;
    std::string m_name;
    double m_length = 0.0;
    double m_nextPlainLine = 0.0; // metres since the leg began
};

#endif
