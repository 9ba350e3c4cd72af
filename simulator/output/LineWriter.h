#ifndef KESTROVE_SIMULATOR_OUTPUT_LINEWRITER_H
#define KESTROVE_SIMULATOR_OUTPUT_LINEWRITER_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "simulator/base/Descriptor.h"

/// Writes lines on a thread of its own, so that nobody who has a line to write waits for a reader,
/// a terminal or a disk. The descriptor's flags stay as they are: where it was inherited, others
/// share them.
///
/// A bounded number of bytes waits. Once they are too many, further lines are left out until all
/// that wait have been written; so are lines whose writing fails. How many were left out is
/// reported in one line as soon as one can be written again.
///
/// Thread safety: full, but for the end of its life.
class CLineWriter
{
public:
    /// Makes the line that stands for lines that were left out.
    using Notice = std::function<std::string(std::size_t leftOut)>;

    /// @param descriptor what to write to.
    /// @param mostBytes how much may wait.
    /// @param notice called on the writer's thread; empty: nothing is reported, see TakeLeftOut().
    /// @throws std::system_error when the system gives no thread.
    CLineWriter(CDescriptor descriptor, std::size_t mostBytes, Notice notice = {});
    /// Leaves the rest to the thread, which ends when it has written it.
    ~CLineWriter();
    CLineWriter(const CLineWriter&) = delete;
    CLineWriter& operator=(const CLineWriter&) = delete;

    /// Has a line written. Never waits.
    ///
    /// @param line with the end of line that it is to have.
    void Write(std::string line);
    /// Waits until everything has been written or given up. Takes no more lines.
    ///
    /// @return false when the deadline came first.
    bool Finish(std::chrono::steady_clock::time_point deadline);

    /// The error number of the last line whose writing failed; 0 when none did.
    int Error() const;
    /// How many lines were left out since the last call, once lines are taken again; until then 0.
    std::size_t TakeLeftOut();

private:
    class CState;
    std::shared_ptr<CState> m_state;
};

#endif
