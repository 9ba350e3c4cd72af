#ifndef KESTROVE_TESTS_END_TO_END_PROGRAM_H
#define KESTROVE_TESTS_END_TO_END_PROGRAM_H

#include <string>
#include <sys/types.h>
#include <vector>

/// The simulator as a process of its own. Ends with the object.
class Program
{
public:
    /// Starts the program that the environment variable NAVIGATION_SIMULATOR names, and waits until
    /// it listens. Throws std::runtime_error when it does not.
    explicit Program(const std::vector<std::string>& arguments = {});
    ~Program() { Kill(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Ends the process without a warning and waits for its end; nothing happens when it has ended.
    void Kill();

private:
    pid_t m_process = -1;
};

#endif
