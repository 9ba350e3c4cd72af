#ifndef KESTROVE_TESTS_FAULTS_PROCESS_H
#define KESTROVE_TESTS_FAULTS_PROCESS_H

#include <string>
#include <vector>

/// How many descriptors the process has open.
int CountDescriptors();

/// Takes what the process writes to standard output and to standard error while it lives.
class CCapturedOutput
{
public:
    CCapturedOutput();
    ~CCapturedOutput();
    CCapturedOutput(const CCapturedOutput&) = delete;
    CCapturedOutput& operator=(const CCapturedOutput&) = delete;

    /// What has been written so far.
    std::string Text() const;

private:
    int m_file;
    int m_output;
    int m_errors;
};

/// Has descriptors open up to above 1023 while it lives.
class CManyDescriptors
{
public:
    CManyDescriptors();
    ~CManyDescriptors();
    CManyDescriptors(const CManyDescriptors&) = delete;
    CManyDescriptors& operator=(const CManyDescriptors&) = delete;

private:
    std::vector<int> m_descriptors;
};

/// Interrupts the thread that makes it a thousand times a second while it lives, so that its system
/// calls fail with EINTR. Threads that are started meanwhile are left alone.
class CInterruptions
{
public:
    CInterruptions();
    ~CInterruptions();
    CInterruptions(const CInterruptions&) = delete;
    CInterruptions& operator=(const CInterruptions&) = delete;

    /// How often, so far.
    static int Count();
};

#endif
