#ifndef KESTROVE_RECORDING_LIVEFILE_H
#define KESTROVE_RECORDING_LIVEFILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/McapWriter.h"

/// A file that grows inside somebody else's program, which it must not endanger.
///
/// A record is handed to the system whole, in one call, so that what has been written is in the
/// file whatever becomes of the program. One that does not fit on the disk is taken back, so that
/// the file ends behind the last whole one. No signal is raised: the file is not mapped, and the
/// limit of a file's size is asked for before it could be exceeded.
///
/// Thread safety: none. Lifetime: closes the file.
class CLiveFile : public CMcapSink
{
public:
    CLiveFile() = default;
    ~CLiveFile() override { Close(); }
    CLiveFile(const CLiveFile&) = delete;
    CLiveFile& operator=(const CLiveFile&) = delete;

    /// Makes the file, which only its user may read; never opens one that is there, nor follows a
    /// link.
    bool Create(const std::string& path);
    bool Write(std::string_view head, std::string_view data) override;
    /// Whether the next writing asks for the system's limit of a file's size, which another thread
    /// or program may change; it counts as it was otherwise.
    void AskForLimit(bool asks) { m_asksForLimit = asks; }
    /// Whether the file still has a name and the length that was written; otherwise Problem()
    /// says what has become of it.
    bool IsStillThere();
    /// Removes the file's name, where it is still that of this file. The file may be closed.
    void Remove();
    void Close();

    const std::string& Path() const { return m_path; }
    /// Why the last call failed.
    const std::string& Problem() const { return m_problem; }

private:
    bool Fail(std::string problem);
    bool MayGrow(std::uint64_t size);
    bool WriteWhole(std::string_view head, std::string_view data);

    int m_descriptor = -1;
    std::string m_path;
    std::string m_problem;
    std::uint64_t m_size = 0;
    std::uint64_t m_limit = 0; // of the size
    bool m_asksForLimit = true;
    std::uint64_t m_device = 0;
    std::uint64_t m_node = 0;
};

#endif
