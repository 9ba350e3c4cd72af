#include "tools/navctl/report/DriveSource.h"

#include <chrono>

#include "tools/navctl/feed/FileEncoding.h"
#include "tools/navctl/files/OpenFile.h"

namespace {

constexpr std::size_t kLongestTrackLine = 65536;
constexpr std::uint64_t kLongDrive = 50'000'000; // bytes
constexpr std::uint64_t kRowsBetweenLooks = 1000;
const std::string kMcapMagic = "\x89MCAP0\r\n";
constexpr std::size_t kMostLookedAt = 64;

double SecondsSinceStart()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

bool IsRecording(const std::string& firstBytes)
{
    return firstBytes.compare(0, kMcapMagic.size(), kMcapMagic) == 0;
}

} // namespace

CReadingProgress::CReadingProgress(std::uint64_t length) : m_length(length)
{
    if (length == 0 || length > kLongDrive) {
        m_progress = std::make_unique<CFeedProgress>();
        m_start = SecondsSinceStart();
    }
}

void CReadingProgress::Show(std::uint64_t bytesUsed, const char* what)
{
    if (++m_count % kRowsBetweenLooks == 0 && m_progress != nullptr) {
        m_progress->Show({bytesUsed, m_length, m_count, 0, SecondsSinceStart() - m_start, what});
    }
}

DriveReading ReadDrive(const std::string& path, CDriveReport& report)
{
    DriveReading reading;
    const COpenFile file(path);
    if (!file.Problem().empty()) {
        reading.problem = file.Problem();
        return reading;
    }
    const std::string name = file.IsStandardInput() ? "the standard input" : path;
    CLineReader lines(file.Descriptor(), kLongestTrackLine);
    const std::string first =
        lines.Peek([](const std::string& come) { return come.size() >= kMostLookedAt; });
    const std::string encoding = IsRecording(first) ? std::string() : ForeignEncoding(first);
    CReadingProgress progress(file.Length());
    if (first.empty()) {
        reading.problem = "is empty";
    } else if (!encoding.empty()) {
        reading.problem = encoding;
    } else if (IsRecording(first)) {
        reading = ReadRecording(lines.TakeBuffer(), file.Descriptor(), progress, report);
    } else {
        reading = ReadTrack(lines, progress, report);
    }
    if (reading.problem.empty()) {
        reading.problem = report.Finish();
        reading.problem = reading.problem.empty() ? "" : ": " + reading.problem;
    }
    if (!reading.problem.empty()) {
        const bool isPart = reading.problem[0] == ':';
        reading.problem = name + (isPart ? "" : " ") + reading.problem;
    }
    return reading;
}
