#include "simulator/settings/SettingsSaver.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "runtime/SignalsBlocked.h"

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

/// What the thread shares with the saver. It lives as long as either of them: a disk that never
/// answers holds up nobody but the thread.
class CSettingsSaver::CState
{
public:
    CState(std::unique_ptr<CStateFile> file, KeptValues saved, Report report)
        : m_file(std::move(file)), m_saved(saved), m_report(std::move(report)), m_wanted(saved),
          m_written(std::move(saved))
    {
    }

    void Keep(const KeptValues& values)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_wanted = values;
        m_changed.notify_all();
    }

    EKeeping State()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_isFailing) {
            return EKeeping::Failing;
        }
        return m_wanted == m_written ? EKeeping::Saved : EKeeping::Pending;
    }

    void End()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
        m_changed.notify_all();
    }

    bool WaitForEnd(Clock::time_point deadline)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock, deadline, [this] { return m_hasEnded; });
    }

    void Run();

private:
    void LookAfterFile();
    void Save(const KeptValues& values);

    // Used by the thread alone.
    std::unique_ptr<CStateFile> m_file;
    std::optional<KeptValues> m_saved; ///< none while what the file holds is not known
    const Report m_report;
    std::string m_problem;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    KeptValues m_wanted;
    KeptValues m_written; ///< that the last attempt was for
    bool m_isFailing = false;
    bool m_isEnding = false;
    bool m_hasEnded = false;
};

void CSettingsSaver::CState::Run()
{
    Clock::time_point nextSave{};
    std::unique_lock<std::mutex> lock(m_mutex);
    for (bool isLast = false; !isLast;) {
        m_changed.wait_for(lock, kBetweenLooks,
                           [this] { return m_wanted != m_saved || m_isEnding; });
        m_changed.wait_until(lock, nextSave, [this] { return m_isEnding; });
        isLast = m_isEnding;
        const KeptValues values = m_wanted;
        lock.unlock();
        const Clock::time_point start = Clock::now();
        LookAfterFile();
        if (values != m_saved) {
            Save(values);
            nextSave = start + (m_problem.empty() ? kBetweenSaves : kBetweenAttempts);
        }
        lock.lock();
        m_written = values;
        m_isFailing = !m_problem.empty();
    }
    lock.unlock();
    m_file.reset();
    lock.lock();
    m_hasEnded = true;
    m_changed.notify_all();
}

/// Somebody may have removed the file, which is then written again, or its lock.
void CSettingsSaver::CState::LookAfterFile()
{
    m_file->LookAfterLock();
    if (m_saved && !m_saved->empty() && !m_file->IsThere()) {
        m_saved.reset();
    }
}

void CSettingsSaver::CState::Save(const KeptValues& values)
{
    const std::string problem = m_file->Save(values);
    if (problem.empty()) {
        m_saved = values;
    } else {
        m_saved.reset();
    }
    if (problem != m_problem) {
        m_report(problem.empty() ? "the state file " + m_file->Path() + " is written again"
                                 : problem);
    }
    m_problem = problem;
}

CSettingsSaver::CSettingsSaver(std::unique_ptr<CStateFile> file, KeptValues saved, Report report)
    : m_state(std::make_shared<CState>(std::move(file), std::move(saved), std::move(report)))
{
    const SignalsBlockedC blocked;
    std::thread([state = m_state] { state->Run(); }).detach();
}

CSettingsSaver::~CSettingsSaver()
{
    m_state->End();
}

void CSettingsSaver::Keep(const KeptValues& values)
{
    m_state->Keep(values);
}

EKeeping CSettingsSaver::State() const
{
    return m_state->State();
}

bool CSettingsSaver::Finish(std::chrono::steady_clock::time_point deadline)
{
    m_state->End();
    return m_state->WaitForEnd(deadline);
}
