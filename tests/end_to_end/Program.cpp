#include "tests/end_to_end/Program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Starts a process whose standard output goes to a descriptor.
pid_t Spawn(std::vector<std::string> words, int output)
{
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t process = -1;
    const int error =
        posix_spawn(&process, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + words[0]);
    }
    return process;
}

/// Waits for the first output of a process; false when it ended without any.
bool HasSpoken(int output)
{
    char first = 0;
    ssize_t count = 0;
    do {
        count = ::read(output, &first, 1);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}

} // namespace

Program::Program(const std::vector<std::string>& arguments)
{
    const char* program = std::getenv("NAVIGATION_SIMULATOR");
    if (program == nullptr) {
        throw std::runtime_error("NAVIGATION_SIMULATOR does not name the simulator");
    }
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    m_process = Spawn(words, pipe[1]);
    ::close(pipe[1]);
    const bool listens = HasSpoken(pipe[0]);
    ::close(pipe[0]);
    if (!listens) {
        Kill();
        throw std::runtime_error("the simulator does not listen");
    }
}

void Program::Kill()
{
    if (m_process < 0) {
        return;
    }
    ::kill(m_process, SIGKILL);
    while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
}
