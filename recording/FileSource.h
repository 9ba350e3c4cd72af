#ifndef KESTROVE_RECORDING_FILESOURCE_H
#define KESTROVE_RECORDING_FILESOURCE_H

#include <cstdint>
#include <string>

#include "recording/McapReader.h"

/// A file to read from.
class CFileSource : public CMcapSource
{
public:
    /// Opens the file; Problem() says why it cannot be read.
    explicit CFileSource(const std::string& path);
    ~CFileSource() override;
    CFileSource(const CFileSource&) = delete;
    CFileSource& operator=(const CFileSource&) = delete;

    std::size_t Read(char* into, std::size_t room) override;
    /// How many bytes the file has; 0 for what is not an ordinary file.
    std::uint64_t Size() const { return m_size; }
    /// Why the file could not be opened or read on; empty when it could.
    const std::string& Problem() const { return m_problem; }

private:
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
    std::string m_problem;
};

#endif
