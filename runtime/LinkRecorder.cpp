#include "runtime/LinkRecorder.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <string_view>

#include <unistd.h>

#include "core/Version.h"
#include "recording/RecordingClock.h"
#include "recording/RecordingFiles.h"
#include "runtime/ProcessMark.h"

namespace {

/// How many names are tried when there is a file of the same name, as after a number of a process
/// that comes again.
constexpr int kMostNames = 100;
constexpr std::size_t kLongestProgramName = 64;

std::string ProgramName()
{
    std::string name = ::program_invocation_short_name;
    name.resize(std::min(name.size(), kLongestProgramName));
    for (char& character : name) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(character)) != 0 ||
                             character == '.' || character == '_' || character == '-';
        character = isPlain ? character : '_';
    }
    return name.empty() ? "application" : name;
}

CRecordingOrigin Origin()
{
    return {"kestrove-navigation " + std::to_string(KESTROVE_VERSION_MAJOR) + "." +
                std::to_string(KESTROVE_VERSION_MINOR) + "." +
                std::to_string(KESTROVE_VERSION_PATCH),
            ProgramName(), std::to_string(::getpid()), "", "application"};
}

std::string Environment(const char* name)
{
    // Not that of a program which acts for somebody else.
    const char* const value = ::secure_getenv(name);
    return value == nullptr ? std::string() : value;
}

/// A name that no other connection object of the machine has.
std::string NewName()
{
    static std::atomic<unsigned> last{0};
    std::string time = RecordingTimeText(RecordingTime());
    time.erase(std::remove_if(time.begin(), time.end(),
                              [](char character) { return character == '-' || character == ':'; }),
               time.end());
    return ProgramName() + "-" + std::to_string(::getpid()) + "-" + time + "-" +
           std::to_string(++last) + ".mcap";
}

} // namespace

LinkRecorderC::LinkRecorderC() = default;

LinkRecorderC::~LinkRecorderC()
{
    Stop();
}

/// Does what may fail, in such a way that nobody but the recording notices.
template <typename Action>
void LinkRecorderC::Do(Action action)
{
    try {
        if (m_files != nullptr && m_process != ProcessMark()) {
            LeaveToParent();
        }
        action();
        if (m_files != nullptr && !m_files->IsOn()) {
            m_error = m_files->Problem();
            m_files.reset();
        }
    } catch (const std::exception&) {
        if (m_files != nullptr) {
            m_files->Abandon();
            m_files.reset();
        }
        m_error.assign("no memory"); // short enough to need none
    }
}

void LinkRecorderC::LeaveToParent()
{
    m_files->Abandon();
    m_files.reset();
    m_isOpen = false;
    m_isForked = true;
    m_looksAtEnvironment = m_path.empty();
}

bool LinkRecorderC::Begin(const std::string& path, const std::string& peer)
{
    CRecordingLimits limits;
    const std::string wanted = Environment("KESTROVE_RECORD_LIMIT");
    m_error.clear();
    if (!wanted.empty() && !ReadRecordingLimits(wanted, limits)) {
        m_error = "KESTROVE_RECORD_LIMIT is no limit: " + wanted +
                  " (4096 to 1000G, with 1 to 10000 files behind a comma, is one); 100M,10 holds";
    }
    m_files = std::make_unique<CRecordingFiles>(Origin(), limits);
    m_process = ProcessMark();
    m_isOpen = !peer.empty();
    if (m_files->Begin(path, peer)) {
        return true;
    }
    m_error = m_files->Problem();
    m_files.reset();
    return false;
}

bool LinkRecorderC::Start(const std::string& path, const std::string& peer)
{
    bool isStarted = false;
    Stop();
    Do([&] {
        m_path = path;
        isStarted = Begin(path, peer);
    });
    return isStarted && IsOn();
}

void LinkRecorderC::Stop()
{
    Closed("the recording ends");
    Do([this] {
        if (m_files != nullptr) {
            m_files->End();
            m_files.reset();
        }
    });
    m_isForked = false;
    m_looksAtEnvironment = false;
}

void LinkRecorderC::BeginByEnvironment()
{
    const std::string folder = Environment("KESTROVE_RECORD");
    for (int name = 0; !folder.empty() && name < kMostNames; ++name) {
        errno = 0;
        if (Begin(folder + "/" + NewName(), "") || errno != EEXIST) {
            return;
        }
    }
}

void LinkRecorderC::Opening()
{
    Do([this] {
        if (m_files == nullptr && m_isForked && !m_path.empty()) {
            Begin(NumberedPath(m_path, std::to_string(::getpid())), "");
        } else if (m_files == nullptr && m_looksAtEnvironment) {
            BeginByEnvironment();
        }
        m_isForked = false;
        m_looksAtEnvironment = false;
    });
}

void LinkRecorderC::Note(ELinkState state, const std::string& text)
{
    Do([&] {
        m_isOpen = state == ELinkState::Opened;
        if (m_files != nullptr) {
            m_files->State(state, text);
        }
    });
}

void LinkRecorderC::Opened(const std::string& peer)
{
    Note(ELinkState::Opened, peer);
}

void LinkRecorderC::Refused(const std::string& reason)
{
    Note(ELinkState::Refused, reason);
}

void LinkRecorderC::Closed(const std::string& reason)
{
    if (m_files != nullptr && m_isOpen) {
        Note(ELinkState::Closed, reason);
    }
}

void LinkRecorderC::RecordSent(const char* data, std::size_t size)
{
    Record(ELinkDirection::ToService, data, size);
}

void LinkRecorderC::RecordReceived(const char* data, std::size_t size)
{
    Record(ELinkDirection::ToApplication, data, size);
}

void LinkRecorderC::Record(ELinkDirection direction, const char* data, std::size_t size)
{
    Do([&] {
        if (m_files != nullptr) {
            m_files->Bytes(direction, std::string_view(data, size));
        }
    });
}

void LinkRecorderC::BetweenMessages()
{
    Do([this] {
        if (m_files != nullptr) {
            m_files->BetweenMessages();
        }
    });
}
