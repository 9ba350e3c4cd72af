#include "tools/navctl/report/PdfFile.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/navctl/files/OpenFile.h"

extern char** environ;

namespace {

constexpr std::chrono::seconds kLongestMaking(120);
constexpr std::chrono::milliseconds kBetweenLooks(20);
const char* const kWeasyPrint = "weasyprint";

/// A folder that is gone with this object.
class CTemporaryFolder
{
public:
    CTemporaryFolder()
    {
        std::error_code error;
        m_path = (std::filesystem::temp_directory_path(error) / "navctl-report-XXXXXX").string();
        if (error || ::mkdtemp(m_path.data()) == nullptr) {
            m_path.clear();
        }
    }
    ~CTemporaryFolder()
    {
        if (!m_path.empty()) {
            std::error_code error;
            std::filesystem::remove_all(m_path, error);
        }
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    /// Empty where there is none.
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

std::vector<std::string> CommandOf(const std::string& program, const std::string& folder)
{
    const std::string html = folder + "/report.html";
    const std::string pdf = folder + "/report.pdf";
    if (std::filesystem::path(program).filename() == kWeasyPrint) {
        return {program, html, pdf};
    }
    std::vector<std::string> command{program,
                                     "--headless",
                                     "--disable-gpu",
                                     "--no-first-run",
                                     "--no-pdf-header-footer",
                                     "--user-data-dir=" + folder + "/profile",
                                     "--print-to-pdf=" + pdf};
    if (::geteuid() == 0) {
        command.emplace_back("--no-sandbox"); // it does not start with one as root
    }
    command.push_back("file://" + html);
    return command;
}

/// Starts a program without anything to read and with nobody who reads what it says.
///
/// @return its number; -1 where it cannot be started.
pid_t Start(const std::vector<std::string>& command)
{
    std::vector<char*> words;
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    }
    pid_t process = -1;
    const int error = ::posix_spawn(&process, words[0], &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : -1;
}

/// Waits for a program to end, and ends one that takes too long.
bool HasEndedWell(pid_t process)
{
    const auto end = std::chrono::steady_clock::now() + kLongestMaking;
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(process, &status, WNOHANG)) == 0 || (ended < 0 && errno == EINTR)) {
        if (std::chrono::steady_clock::now() > end) {
            ::kill(process, SIGKILL);
            ::waitpid(process, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

std::string PdfProgram()
{
    const char* const path = std::getenv("PATH");
    for (const char* const name :
         {"chromium", "chromium-browser", "google-chrome", "google-chrome-stable", kWeasyPrint}) {
        std::istringstream folders(path == nullptr ? "" : path);
        for (std::string folder; std::getline(folders, folder, ':');) {
            const std::string program = folder + "/" + name;
            if (!folder.empty() && ::access(program.c_str(), X_OK) == 0) {
                return program;
            }
        }
    }
    return {};
}

std::string NoPdfProgram()
{
    return "nothing is installed that makes PDF of HTML: install chromium or weasyprint, or print "
           "the report that --html writes";
}

std::string MakePdf(const std::string& program, const std::string& html, std::string& pdf)
{
    const CTemporaryFolder folder;
    if (folder.Path().empty()) {
        return std::string("there is no place for temporary files: ") + std::strerror(errno);
    }
    std::string problem = WriteWholeFile(folder.Path() + "/report.html", html);
    if (!problem.empty()) {
        return problem;
    }
    const pid_t process = Start(CommandOf(program, folder.Path()));
    if (process < 0 || !HasEndedWell(process)) {
        return program + " has made no PDF";
    }
    std::ifstream file(folder.Path() + "/report.pdf", std::ios::binary);
    pdf.assign(std::istreambuf_iterator<char>(file), {});
    return pdf.compare(0, 5, "%PDF-") == 0 ? "" : program + " has made no PDF";
}
