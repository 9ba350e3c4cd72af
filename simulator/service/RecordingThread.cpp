#include "simulator/service/RecordingThread.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "runtime/SignalsBlocked.h"

namespace {

/// What a piece costs beside its bytes.
constexpr std::size_t kBytesPerPiece = 256;

} // namespace

/// What the thread shares with those who have work. It lives as long as either of them: a write
/// that never returns holds up nobody but the thread.
class CRecordingThread::CState
{
public:
    explicit CState(std::size_t mostBytes) : m_mostBytes(mostBytes) {}

    bool Add(std::size_t bytes, EWhen when, Piece piece)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_problem.empty() && m_bytes + bytes + kBytesPerPiece > m_mostBytes) {
            m_problem = "the disk does not take what is recorded";
        }
        if (!m_problem.empty()) {
            return false;
        }
        m_bytes += bytes + kBytesPerPiece;
        (when == EWhen::Next ? m_next : m_meanwhile)
            .push_back({bytes + kBytesPerPiece, std::move(piece)});
        m_changed.notify_all();
        return true;
    }

    void Run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (true) {
            m_changed.wait(lock, [this] { return HasPieces() || m_isEnding; });
            if (m_isEnding) {
                return;
            }
            DoFirst(lock);
        }
    }

    bool WaitForAll(std::chrono::steady_clock::time_point deadline)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock, deadline, [this] { return !HasPieces() && !m_isBusy; });
    }

    void End()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
        m_changed.notify_all();
    }

    std::size_t WaitingBytes() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bytes;
    }

    std::string Problem() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_problem;
    }

private:
    struct Waiting
    {
        std::size_t bytes;
        Piece piece;
    };

    bool HasPieces() const { return !m_next.empty() || !m_meanwhile.empty(); }

    void DoFirst(std::unique_lock<std::mutex>& lock)
    {
        std::deque<Waiting>& pieces = m_next.empty() ? m_meanwhile : m_next;
        Waiting first = std::move(pieces.front());
        pieces.pop_front();
        m_isBusy = true;
        lock.unlock();
        std::string problem = Do(first.piece);
        first.piece = nullptr; // what it holds goes here, where nobody waits
        lock.lock();
        m_isBusy = false;
        m_bytes -= first.bytes;
        if (!problem.empty()) {
            m_problem = std::move(problem);
            m_next.clear();
            m_meanwhile.clear();
        }
        m_changed.notify_all();
    }

    static std::string Do(const Piece& piece)
    {
        try {
            return piece();
        } catch (const std::exception& exception) {
            return exception.what();
        }
    }

    const std::size_t m_mostBytes;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Waiting> m_next;
    std::deque<Waiting> m_meanwhile;
    std::size_t m_bytes = 0; // of those that wait and of the one that is being done
    bool m_isBusy = false;
    bool m_isEnding = false;
    std::string m_problem;
};

CRecordingThread::CRecordingThread(std::size_t mostBytes)
    : m_state(std::make_shared<CState>(mostBytes))
{
    const SignalsBlockedC blocked;
    std::thread([state = m_state] { state->Run(); }).detach();
}

CRecordingThread::~CRecordingThread()
{
    m_state->End();
}

bool CRecordingThread::Add(std::size_t bytes, EWhen when, Piece piece)
{
    return m_state->Add(bytes, when, std::move(piece));
}

bool CRecordingThread::Finish(std::chrono::steady_clock::time_point deadline)
{
    return m_state->WaitForAll(deadline);
}

std::size_t CRecordingThread::WaitingBytes() const
{
    return m_state->WaitingBytes();
}

std::string CRecordingThread::Problem() const
{
    return m_state->Problem();
}
