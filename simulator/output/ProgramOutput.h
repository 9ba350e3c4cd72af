#ifndef KESTROVE_SIMULATOR_OUTPUT_PROGRAMOUTPUT_H
#define KESTROVE_SIMULATOR_OUTPUT_PROGRAMOUTPUT_H

#include <chrono>
#include <string>

#include "simulator/output/LineWriter.h"

/// The program's standard output and standard error. Neither ever holds up who writes, whoever
/// reads or does not; see CLineWriter. Control characters in what is written show as text.
///
/// Nothing else comes out on the standard output: what the wayline library prints of the text forms
/// that it reads goes nowhere.
///
/// Thread safety: full, but for the start and end of its life.
class CProgramOutput
{
public:
    /// Takes the process's descriptors over; those that are closed become /dev/null, or the next
    /// file or connection would be taken for them.
    ///
    /// @throws std::system_error when the system refuses descriptors or threads.
    CProgramOutput();

    /// Writes text of one or several lines to the standard output.
    void Print(const std::string& text) { Write(m_output, text); }
    /// Writes text of one or several lines to the standard error.
    void PrintError(const std::string& text) { Write(m_errors, text); }
    /// Writes a line to the standard error, after the program's name.
    void Log(const std::string& line);
    /// Waits until everything has been written; what has not by the deadline is lost.
    void Finish(std::chrono::steady_clock::time_point deadline);

private:
    static void Write(CLineWriter& writer, const std::string& text);

    CLineWriter m_output;
    CLineWriter m_errors;
};

/// A text with each control character, and each byte that is not UTF-8, written as \xNN, so that a
/// terminal shows it and does not obey it.
std::string WithoutControls(const std::string& text);

#endif
