#ifndef KESTROVE_SIMULATOR_SERVICE_RECORDINGTHREAD_H
#define KESTROVE_SIMULATOR_SERVICE_RECORDINGTHREAD_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

/// Does pieces of work on a thread of its own, in their order but for those that have time, so that
/// nobody who has one to give waits for a disk or for a long calculation. A bounded number of bytes
/// waits.
///
/// Thread safety: full, but for the end of its life.
class CRecordingThread
{
public:
    /// Gives what stands in the way of further pieces; empty where nothing does.
    using Piece = std::function<std::string()>;

    /// @param mostBytes how much may wait.
    /// @throws std::system_error when the system gives no thread.
    explicit CRecordingThread(std::size_t mostBytes);
    /// Ends with the piece that is being done; those that wait are dropped.
    ~CRecordingThread();
    CRecordingThread(const CRecordingThread&) = delete;
    CRecordingThread& operator=(const CRecordingThread&) = delete;

    /// When a piece is done.
    enum class EWhen
    {
        Next,      ///< before those that are done meanwhile, in the order of its kind
        Meanwhile, ///< when no other is there
    };

    /// Has a piece done. Never waits.
    ///
    /// @param bytes what it holds.
    /// @return false, and nothing is done any more, when too much waits or a piece has failed.
    bool Add(std::size_t bytes, EWhen when, Piece piece);
    /// Waits until all pieces have been done or dropped.
    ///
    /// @return false when the deadline came first.
    bool Finish(std::chrono::steady_clock::time_point deadline);
    /// How much waits, with what is being done.
    std::size_t WaitingBytes() const;
    /// Why nothing is done any more; empty while all is well.
    std::string Problem() const;

private:
    class CState;
    std::shared_ptr<CState> m_state;
};

#endif
