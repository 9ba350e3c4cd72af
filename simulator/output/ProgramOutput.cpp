#include "simulator/output/ProgramOutput.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostWaitingBytes = 64 * 1024;
constexpr const char* kProgram = "navigation-simulator: ";

[[noreturn]] void Throw(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/// Another descriptor for the same file, out of the way of the standard ones.
CDescriptor Copy(int standard)
{
    CDescriptor copy(::fcntl(standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.IsOpen()) {
        Throw("cannot take the output over");
    }
    return copy;
}

/// Opens /dev/null in the place of each standard descriptor that is closed.
void FillStandardDescriptors()
{
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        // The lowest free number is taken, which is this one.
        if (::fcntl(standard, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) < 0) {
            Throw("cannot open /dev/null");
        }
    }
}

/// The standard output, from now on for the writer alone.
CDescriptor TakeOutput()
{
    FillStandardDescriptors();
    CDescriptor output = Copy(STDOUT_FILENO);
    const CDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (!nowhere.IsOpen() || ::dup2(nowhere.Get(), STDOUT_FILENO) < 0) {
        Throw("cannot open /dev/null");
    }
    return output;
}

std::string Notice(std::size_t leftOut)
{
    return std::string(kProgram) + std::to_string(leftOut) + (leftOut == 1 ? " line" : " lines") +
           " left out that could not be written\n";
}

bool IsBetween(unsigned char byte, int lowest, int highest)
{
    return byte >= lowest && byte <= highest;
}

/// How many bytes the character at `text` has, in UTF-8; 0 for a control character and for what is
/// no UTF-8.
std::size_t LengthOfCharacter(const unsigned char* text)
{
    const unsigned char first = text[0];
    if (first < 0x80) {
        return IsBetween(first, 0x20, 0x7e) ? 1 : 0;
    }
    if (!IsBetween(first, 0xc2, 0xf4)) {
        return 0;
    }
    // The second byte's limits keep out the second set of control characters, forms that are longer
    // than need be, halves of surrogate pairs, and what lies beyond the last character.
    const int lowest = first == 0xc2 || first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const int highest = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    const std::size_t length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (!IsBetween(text[1], lowest, highest)) {
        return 0;
    }
    for (std::size_t next = 2; next < length; ++next) {
        if (!IsBetween(text[next], 0x80, 0xbf)) {
            return 0;
        }
    }
    return length;
}

} // namespace

CProgramOutput::CProgramOutput()
    : m_output(TakeOutput(), kMostWaitingBytes, Notice),
      m_errors(Copy(STDERR_FILENO), kMostWaitingBytes, Notice)
{
}

void CProgramOutput::Log(const std::string& line)
{
    m_errors.Write(kProgram + WithoutControls(line) + "\n");
}

void CProgramOutput::Finish(std::chrono::steady_clock::time_point deadline)
{
    m_errors.Finish(deadline);
    m_output.Finish(deadline);
}

void CProgramOutput::Write(CLineWriter& writer, const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        writer.Write(WithoutControls(line) + "\n");
    }
}

std::string WithoutControls(const std::string& text)
{
    std::string shown;
    for (std::size_t at = 0; at < text.size();) {
        // The text's end is a zero, which continues no character.
        const auto* character = reinterpret_cast<const unsigned char*>(text.c_str() + at);
        const std::size_t length = LengthOfCharacter(character);
        if (length > 0) {
            shown.append(text, at, length);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(*character));
            shown += escaped;
        }
        at += length > 0 ? length : 1;
    }
    return shown;
}
