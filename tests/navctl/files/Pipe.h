#ifndef KESTROVE_TESTS_NAVCTL_FILES_PIPE_H
#define KESTROVE_TESTS_NAVCTL_FILES_PIPE_H

#include <string>

/// A pipe that a test writes to and a reader under test reads from.
class CPipe
{
public:
    CPipe();
    /// A pipe with this in it and nothing more to come; no more than a pipe holds, 64 KiB.
    explicit CPipe(const std::string& content);
    ~CPipe();
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;

    int Descriptor() const { return m_ends[0]; }
    void Write(const std::string& text);
    /// Nothing more will come.
    void End();

private:
    int m_ends[2] = {-1, -1};
};

/// A sentence with its checksum: "$" + body + "*" + checksum.
std::string Sentence(const std::string& body);

#endif
