#ifndef KESTROVE_TESTS_SIMULATOR_DIRECTORY_H
#define KESTROVE_TESTS_SIMULATOR_DIRECTORY_H

#include <string>

/// A directory of a test's own that goes with it.
class Directory
{
public:
    Directory();
    ~Directory();
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    /// The path of a file in it.
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    /// Its own name, in the folder that it is in.
    std::string Name() const { return m_path.substr(m_path.rfind('/') + 1); }
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;

private:
    std::string m_path;
};

#endif
