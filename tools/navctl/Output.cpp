#include "tools/navctl/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kUsualColumns = 80;

/// A variable of the environment; empty when it is not set.
std::string Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

} // namespace

COutput::COutput() : m_descriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    if (m_descriptor < 0)
        m_problem = std::strerror(errno);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0 && nowhere != STDOUT_FILENO) {
        ::dup2(nowhere, STDOUT_FILENO);
        ::close(nowhere);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

COutput::~COutput()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void COutput::TraceToErrors()
{
    std::fflush(stdout);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

void COutput::Write(const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size() && !HasFailed()) {
        const ssize_t count = ::write(m_descriptor, text.data() + written, text.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            m_problem = std::strerror(errno);
        }
    }
}

bool COutput::IsTerminal() const
{
    return m_descriptor >= 0 && ::isatty(m_descriptor) == 1;
}

int COutput::Columns() const
{
    winsize size{};
    const bool known =
        m_descriptor >= 0 && ::ioctl(m_descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualColumns;
}

bool COutput::HasColours() const
{
    return IsTerminal() && ColoursAreAllowed();
}

std::string Printable(const std::string& text)
{
    std::string printable;
    char code[16];
    for (std::size_t place = 0; place < text.size(); ++place) {
        const auto byte = static_cast<unsigned char>(text[place]);
        const auto next =
            static_cast<unsigned char>(place + 1 < text.size() ? text[place + 1] : '\0');
        if ((byte < 0x20 && byte != '\n') || byte == 0x7f) {
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(byte));
            printable += code;
        } else if (byte == 0xc2 && next >= 0x80 && next < 0xa0) {
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(next));
            printable += code;
            ++place;
        } else {
            printable += text[place];
        }
    }
    return printable;
}

void WriteError(const std::string& text)
{
    std::fprintf(stderr, "navctl: %s\n", Printable(text).c_str());
}

bool ErrorsAreTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

bool ColoursAreAllowed()
{
    return Variable("NO_COLOR").empty() && Variable("TERM") != "dumb";
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
