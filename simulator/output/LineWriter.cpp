#include "simulator/output/LineWriter.h"

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <poll.h>
#include <thread>
#include <utility>

#include "runtime/SignalsBlocked.h"

namespace {

using Clock = std::chrono::steady_clock;

// What a line costs beside its bytes, so that empty ones are bounded too.
constexpr std::size_t kBytesPerLine = 64;
// A reader that has come back to a pipe, or space on a disk, shows in an attempt alone.
constexpr std::chrono::seconds kBetweenNotices(1);

/// Writes some bytes, however long that takes.
///
/// @return how many; -1 when it failed, with errno.
ssize_t WriteSome(int descriptor, const char* bytes, std::size_t count)
{
    for (;;) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written >= 0) {
            return written;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd writable{descriptor, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            return -1;
        }
    }
}

} // namespace

/// What the thread shares with the writer. It lives as long as either of them: a write that never
/// returns holds up nobody but the thread.
class CLineWriter::CState
{
public:
    CState(CDescriptor descriptor, std::size_t mostBytes, Notice notice)
        : m_descriptor(std::move(descriptor)), m_mostBytes(mostBytes), m_notice(std::move(notice))
    {
    }

    void Add(std::string line);
    void Run();
    void End();
    bool WaitForEnd(Clock::time_point deadline);
    int Error() const;
    std::size_t TakeLeftOut();

private:
    bool OwesNotice() const
    {
        return m_notice && m_leftOut > 0 && (!m_isRefusing || m_lines.empty());
    }
    void WaitForWork(std::unique_lock<std::mutex>& lock);
    void WriteNotice(std::unique_lock<std::mutex>& lock);
    void WriteFirstLine(std::unique_lock<std::mutex>& lock);
    template <typename GetLine>
    int WriteWhole(GetLine getLine);

    const CDescriptor m_descriptor;
    const std::size_t m_mostBytes;
    const Notice m_notice;
    bool m_isInsideLine = false; ///< used by the thread alone

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::string> m_lines; ///< the first one stays until it has been written
    std::size_t m_bytes = 0;
    std::size_t m_leftOut = 0;
    bool m_isRefusing = false; ///< from the first line that is too many until none waits
    int m_error = 0;
    Clock::time_point m_nextNotice;
    bool m_isEnding = false;
    bool m_hasEnded = false;
};

void CLineWriter::CState::Add(std::string line)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t bytes = line.size() + kBytesPerLine;
    if (m_isEnding || m_isRefusing || (!m_lines.empty() && m_bytes + bytes > m_mostBytes)) {
        ++m_leftOut;
        m_isRefusing = !m_lines.empty();
        return;
    }
    m_bytes += bytes;
    m_lines.push_back(std::move(line));
    m_changed.notify_all();
}

void CLineWriter::CState::Run()
{
    // The allocator prepares a thread at its first allocation, which is to be while there is
    // memory.
    std::string().reserve(kBytesPerLine);
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_hasEnded) {
        WaitForWork(lock);
        if (OwesNotice()) {
            WriteNotice(lock);
        }
        if (!m_lines.empty()) {
            WriteFirstLine(lock);
        } else {
            m_hasEnded = m_isEnding && (!OwesNotice() || m_nextNotice > Clock::now());
        }
    }
    m_changed.notify_all();
}

void CLineWriter::CState::WaitForWork(std::unique_lock<std::mutex>& lock)
{
    const auto isWork = [this] { return !m_lines.empty() || m_isEnding; };
    if (OwesNotice()) {
        m_changed.wait_until(lock, m_nextNotice, isWork);
    } else {
        m_changed.wait(lock, isWork);
    }
}

/// Reports how many lines were left out. When that fails, they stay counted.
void CLineWriter::CState::WriteNotice(std::unique_lock<std::mutex>& lock)
{
    const std::size_t leftOut = m_leftOut;
    lock.unlock();
    const int error = WriteWhole([&] { return m_notice(leftOut); });
    lock.lock();
    if (error == 0) {
        m_leftOut -= leftOut;
    } else {
        m_nextNotice = Clock::now() + kBetweenNotices;
    }
}

void CLineWriter::CState::WriteFirstLine(std::unique_lock<std::mutex>& lock)
{
    const std::string& line = m_lines.front();
    lock.unlock();
    const int error = WriteWhole([&] { return line; });
    lock.lock();
    if (error != 0) {
        m_error = error;
        ++m_leftOut;
    }
    m_bytes -= line.size() + kBytesPerLine;
    m_lines.pop_front();
    m_isRefusing = m_isRefusing && !m_lines.empty();
}

/// Writes a line, on a line of its own even if the one before broke off.
///
/// @param getLine gives the line; what there is no memory for is not written.
/// @return the error number; 0 on success.
template <typename GetLine>
int CLineWriter::CState::WriteWhole(GetLine getLine)
{
    std::string text;
    try {
        text = getLine();
        text.insert(0, m_isInsideLine ? "\n" : "");
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count =
            WriteSome(m_descriptor.Get(), text.data() + written, text.size() - written);
        if (count <= 0) {
            m_isInsideLine = m_isInsideLine || written > 0;
            return count < 0 ? errno : EIO;
        }
        written += static_cast<std::size_t>(count);
    }
    m_isInsideLine = false;
    return 0;
}

void CLineWriter::CState::End()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isEnding = true;
    m_changed.notify_all();
}

bool CLineWriter::CState::WaitForEnd(Clock::time_point deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_until(lock, deadline, [this] { return m_hasEnded; });
}

int CLineWriter::CState::Error() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

std::size_t CLineWriter::CState::TakeLeftOut()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isRefusing ? 0 : std::exchange(m_leftOut, 0);
}

CLineWriter::CLineWriter(CDescriptor descriptor, std::size_t mostBytes, Notice notice)
    : m_state(std::make_shared<CState>(std::move(descriptor), mostBytes, std::move(notice)))
{
    const SignalsBlockedC blocked;
    std::thread([state = m_state] { state->Run(); }).detach();
}

CLineWriter::~CLineWriter()
{
    m_state->End();
}

void CLineWriter::Write(std::string line)
{
    m_state->Add(std::move(line));
}

bool CLineWriter::Finish(std::chrono::steady_clock::time_point deadline)
{
    m_state->End();
    return m_state->WaitForEnd(deadline);
}

int CLineWriter::Error() const
{
    return m_state->Error();
}

std::size_t CLineWriter::TakeLeftOut()
{
    return m_state->TakeLeftOut();
}
