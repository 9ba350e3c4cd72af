#include "tools/navctl/Output.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/navctl/TextWrap.h"

namespace {

constexpr int kUsualColumns = 80;

/// A variable of the environment; empty when it is not set.
std::string Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

int ColumnsOf(int descriptor)
{
    winsize size{};
    const bool known =
        descriptor >= 0 && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualColumns;
}

bool IsRegularFile(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Writes text whole. While there is no room, because nobody reads, signals come through that are
/// blocked otherwise: they end the program then, as if nothing were written.
///
/// @param unblocked the signals that are blocked while waiting.
/// @return 0, or the reason as in errno.
int WriteWhole(int descriptor, const std::string& text, const sigset_t& unblocked)
{
    // Once there is room in a pipe, so much fits without waiting.
    const std::size_t most = IsRegularFile(descriptor) ? text.size() : PIPE_BUF;
    std::size_t written = 0;
    while (written < text.size()) {
        pollfd entry{descriptor, POLLOUT, 0};
        // A signal that a handler has taken is to end the wait, too.
        if (::ppoll(&entry, 1, nullptr, &unblocked) < 0) {
            return errno;
        }
        const std::size_t length = std::min(text.size() - written, most);
        const ssize_t count = ::write(descriptor, text.data() + written, length);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR && errno != EAGAIN) {
            return errno;
        }
    }
    return 0;
}

/// How many bytes the letter takes that begins at a place of a text in UTF-8; 0 where none does.
std::size_t LetterLength(const std::string& text, std::size_t place)
{
    const auto byte = [&text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const unsigned first = byte(place);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xc2 && first < 0xe0 ? 2
                               : first >= 0xe0 && first < 0xf0 ? 3
                               : first >= 0xf0 && first < 0xf5 ? 4
                                                               : 0;
    // What a shorter form has, the surrogates, and what lies beyond the last letter.
    const unsigned second = byte(place + 1);
    if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second >= 0xa0) ||
        (first == 0xf0 && second < 0x90) || (first == 0xf4 && second >= 0x90)) {
        return 0;
    }
    for (std::size_t at = place + 1; at < place + length; ++at) {
        if ((byte(at) & 0xc0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

/// The signals that are blocked at the program's start: none that would end it.
sigset_t BlockedAtStart()
{
    sigset_t signals;
    ::sigprocmask(SIG_SETMASK, nullptr, &signals);
    ::sigdelset(&signals, SIGINT);
    ::sigdelset(&signals, SIGTERM);
    return signals;
}

} // namespace

COutput::COutput()
    : m_descriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
      m_unblocked(BlockedAtStart())
{
    if (m_descriptor < 0) {
        m_problem = std::strerror(errno);
    }
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0 && nowhere != STDOUT_FILENO) {
        ::dup2(nowhere, STDOUT_FILENO);
        ::close(nowhere);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

COutput::~COutput()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

void COutput::TraceToErrors()
{
    std::fflush(stdout);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

void COutput::Write(const std::string& text)
{
    if (HasFailed()) {
        return;
    }
    const int error = WriteWhole(m_descriptor, text, m_unblocked);
    if (error != 0) {
        m_problem = std::strerror(error);
    }
}

bool COutput::HasLostReader()
{
    pollfd entry{m_descriptor, 0, 0};
    const bool isLost =
        ::poll(&entry, 1, 0) > 0 && (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
    if (isLost && !HasFailed()) {
        // What a write would do, whether or not there is something to write.
        ::raise(SIGPIPE);
        m_problem = std::strerror(EPIPE);
    }
    return isLost;
}

std::string COutput::Fitted(const std::string& text) const
{
    return IsTerminal() ? Wrapped(text, static_cast<std::size_t>(Columns())) : text;
}

bool COutput::IsTerminal() const
{
    return m_descriptor >= 0 && ::isatty(m_descriptor) == 1;
}

int COutput::Columns() const
{
    return ColumnsOf(m_descriptor);
}

bool COutput::HasColours() const
{
    return IsTerminal() && ColoursAreAllowed();
}

std::string Printable(const std::string& text)
{
    std::string printable;
    char code[16];
    std::size_t length = 1;
    for (std::size_t place = 0; place < text.size(); place += length) {
        const auto byte = static_cast<unsigned char>(text[place]);
        const std::size_t letter = LetterLength(text, place);
        length = std::max<std::size_t>(letter, 1);
        if (letter == 0 || (byte < 0x20 && byte != '\n') || byte == 0x7f) {
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(byte));
            printable += code;
        } else if (byte == 0xc2 && static_cast<unsigned char>(text[place + 1]) < 0xa0) {
            std::snprintf(code, sizeof code, "\\u%04x",
                          static_cast<unsigned>(static_cast<unsigned char>(text[place + 1])));
            printable += code;
        } else {
            printable.append(text, place, letter);
        }
    }
    return printable;
}

void WriteError(const std::string& text)
{
    std::string line = "navctl: " + Printable(text);
    if (ErrorsAreTerminal()) {
        line = Wrapped(line, static_cast<std::size_t>(ColumnsOf(STDERR_FILENO)));
    }
    WriteWhole(STDERR_FILENO, line + "\n", BlockedAtStart());
}

bool ErrorsAreTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

bool ColoursAreAllowed()
{
    return Variable("NO_COLOR").empty() && ObeysSequences();
}

bool ObeysSequences()
{
    return Variable("TERM") != "dumb";
}

bool HasUtf8()
{
    // The first that is set decides.
    for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const std::string value = Variable(name);
        if (!value.empty()) {
            return value.find("UTF-8") != std::string::npos ||
                   value.find("utf8") != std::string::npos;
        }
    }
    return false;
}
