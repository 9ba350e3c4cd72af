#include "tests/support/NetworkNamespace.h"

#include <cstring>
#include <exception>
#include <fstream>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kNotAllowed = 77;

bool WriteFile(const char* path, const std::string& text)
{
    std::ofstream file(path);
    file << text;
    return static_cast<bool>(file.flush());
}

bool SwitchLoopbackOn()
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const bool isDone = ::ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
    ::close(descriptor);
    return isDone;
}

bool Enter(int firstPort, int lastPort)
{
    const std::string user = std::to_string(::geteuid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 &&
           WriteFile("/proc/self/uid_map", "0 " + user + " 1") && SwitchLoopbackOn() &&
           WriteFile("/proc/sys/net/ipv4/ip_local_port_range",
                     std::to_string(firstPort) + ' ' + std::to_string(lastPort));
}

[[noreturn]] void RunChild(int firstPort, int lastPort, const std::function<std::string()>& action,
                           int report)
{
    if (!Enter(firstPort, lastPort)) {
        ::_exit(kNotAllowed);
    }
    std::string problem;
    try {
        problem = action();
    } catch (const std::exception& exception) {
        problem = std::string("exception: ") + exception.what();
    }
    const ssize_t written = ::write(report, problem.data(), problem.size());
    ::_exit(written == static_cast<ssize_t>(problem.size()) ? 0 : 1);
}

} // namespace

CIsolatedOutcome InNetworkOfItsOwn(int firstPort, int lastPort,
                                   const std::function<std::string()>& action)
{
    int report[2] = {-1, -1};
    if (::pipe2(report, O_CLOEXEC) != 0) {
        return {true, "no pipe"};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        RunChild(firstPort, lastPort, action, report[1]);
    }
    ::close(report[1]);
    CIsolatedOutcome outcome;
    char portion[4096];
    for (ssize_t count = 0; (count = ::read(report[0], portion, sizeof(portion))) > 0;) {
        outcome.problem.append(portion, static_cast<std::size_t>(count));
    }
    ::close(report[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    outcome.isAllowed = !(WIFEXITED(status) && WEXITSTATUS(status) == kNotAllowed);
    if (outcome.isAllowed && status != 0) {
        outcome.problem += " (the child ended with status " + std::to_string(status) + ")";
    }
    return outcome;
}
