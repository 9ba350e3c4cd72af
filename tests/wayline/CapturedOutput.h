#ifndef KESTROVE_TESTS_WAYLINE_CAPTUREDOUTPUT_H
#define KESTROVE_TESTS_WAYLINE_CAPTUREDOUTPUT_H

#include <cstdio>
#include <string>

/// Keeps what the program writes to standard output, from construction to Text() or destruction.
/// Not to be nested.
class CCapturedOutput
{
public:
    CCapturedOutput();
    ~CCapturedOutput();
    CCapturedOutput(const CCapturedOutput&) = delete;
    CCapturedOutput& operator=(const CCapturedOutput&) = delete;

    /// Ends the capture.
    ///
    /// @return every byte written.
    std::string Text();

private:
    void Restore();

    std::FILE* m_file;
    int m_standardOutput;
};

#endif
