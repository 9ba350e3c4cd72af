#include "recording/RecordingFiles.h"

#include <charconv>
#include <utility>

#include "recording/RecordingClock.h"

namespace {

/// How long the file counts as untouched: the question costs as much as half a record.
constexpr std::uint64_t kLookAfterNanoseconds = 10'000'000;
/// How long a file's limit of size counts as it was: the question costs as much as half a record.
constexpr std::uint64_t kLimitHoldsNanoseconds = 1'000'000;
constexpr std::string_view kSuffix = ".mcap";

/// Reads a whole number; gives what stands behind it, and null where there is none.
const char* ReadNumber(const std::string& text, std::size_t from, std::uint64_t& number)
{
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + from, end, number);
    return result.ec == std::errc() ? result.ptr : nullptr;
}

std::uint64_t FactorOf(char letter)
{
    switch (letter) {
    case 'k':
    case 'K':
        return 1'000;
    case 'M':
        return 1'000'000;
    case 'G':
        return 1'000'000'000;
    default:
        return 0;
    }
}

} // namespace

bool ReadRecordingLimits(const std::string& text, CRecordingLimits& limits)
{
    constexpr std::uint64_t kLeast = 4096;
    constexpr std::uint64_t kMost = 1'000'000'000'000;
    constexpr std::uint64_t kMostFiles = 10'000;
    const char* const end = text.data() + text.size();
    std::uint64_t size = 0;
    const char* next = ReadNumber(text, 0, size);
    if (next != nullptr && next != end && *next != ',') {
        const std::uint64_t factor = size <= kMost ? FactorOf(*next) : 0;
        size *= factor;
        ++next;
    }
    std::uint64_t files = limits.files;
    if (next != nullptr && next != end && *next == ',') {
        next = ReadNumber(text, static_cast<std::size_t>(next - text.data()) + 1, files);
    }
    if (next != end || size < kLeast || size > kMost || files < 1 || files > kMostFiles) {
        return false;
    }
    limits = {size, static_cast<unsigned>(files)};
    return true;
}

std::string NumberedPath(const std::string& path, const std::string& number)
{
    const bool hasSuffix = path.size() > kSuffix.size() &&
                           path.compare(path.size() - kSuffix.size(), kSuffix.size(), kSuffix) == 0;
    const std::size_t stem = hasSuffix ? path.size() - kSuffix.size() : path.size();
    return path.substr(0, stem) + "." + number + path.substr(stem);
}

bool CRecordingFiles::Begin(const std::string& path, const std::string& peer)
{
    m_path = path;
    m_number = 1;
    m_peer = peer;
    m_isOpen = !peer.empty();
    m_client = m_isOpen ? 1 : 0;
    return BeginFile(path);
}

bool CRecordingFiles::BeginFile(const std::string& path)
{
    m_files.push_back(std::make_unique<CLiveFile>());
    CLiveFile& file = *m_files.back();
    if (!file.Create(path)) {
        m_problem = file.Problem();
        m_files.pop_back();
        return false;
    }
    m_recording = std::make_unique<CLinkRecording>(file);
    const std::uint64_t now = RecordingTime();
    m_origin.started = RecordingTimeText(now);
    m_nextLook = now + kLookAfterNanoseconds;
    m_limitAsked = 0;
    if (!m_recording->Begin(m_origin) ||
        (m_isOpen && !m_recording->State(now, 1, m_client, ELinkState::Present, m_peer))) {
        Stop();
    }
    return IsOn();
}

void CRecordingFiles::Stop()
{
    m_problem = m_files.back()->Problem();
    m_recording.reset();
    m_files.back()->Close();
}

void CRecordingFiles::State(ELinkState state, std::string_view text)
{
    m_isOpen = state == ELinkState::Opened || state == ELinkState::Present;
    if (m_isOpen) {
        ++m_client;
        m_peer = text;
    }
    if (!IsOn()) {
        return;
    }
    m_files.back()->AskForLimit(true);
    if (!m_recording->State(RecordingTime(), 1, m_client, state, text)) {
        Stop();
    }
}

void CRecordingFiles::Bytes(ELinkDirection direction, std::string_view bytes)
{
    if (!IsOn()) {
        return;
    }
    const std::uint64_t now = RecordingTime();
    const bool asks = now - m_limitAsked >= kLimitHoldsNanoseconds;
    m_files.back()->AskForLimit(asks);
    m_limitAsked = asks ? now : m_limitAsked;
    if (!m_recording->Bytes(now, 1, direction, bytes)) {
        Stop();
    } else if (now >= m_nextLook) {
        LookAfterFile(now);
    } else if (m_recording->Writer().Size() >= 2 * m_limits.fileBytes) {
        NextFile();
    }
}

void CRecordingFiles::LookAfterFile(std::uint64_t now)
{
    m_nextLook = now + kLookAfterNanoseconds;
    if (!m_files.back()->IsStillThere()) {
        Stop();
    }
}

void CRecordingFiles::BetweenMessages()
{
    if (IsOn() && m_recording->Writer().Size() >= m_limits.fileBytes) {
        NextFile();
    }
}

void CRecordingFiles::NextFile()
{
    if (!m_files.back()->IsStillThere()) {
        return Stop();
    }
    m_files.back()->AskForLimit(true);
    m_recording->Finish(); // one that has no room for its summary is a cut file
    m_recording.reset();
    m_files.back()->Close();
    ++m_number;
    if (BeginFile(NumberedPath(m_path, std::to_string(m_number))) &&
        m_files.size() > m_limits.files) {
        m_files.front()->Remove();
        m_files.pop_front();
    }
}

void CRecordingFiles::End() noexcept
{
    if (!IsOn()) {
        return;
    }
    try {
        m_files.back()->AskForLimit(true);
        if (!m_files.back()->IsStillThere()) {
            return Stop();
        }
        m_recording->Finish();
    } catch (...) {
        // No memory for the summary: the file stays one that was cut.
    }
    Abandon();
}

void CRecordingFiles::Abandon() noexcept
{
    m_recording.reset();
    m_files.clear();
}
