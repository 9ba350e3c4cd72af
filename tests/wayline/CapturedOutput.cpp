#include "tests/wayline/CapturedOutput.h"

#include <unistd.h>

#include <stdexcept>

CCapturedOutput::CCapturedOutput() : m_file(std::tmpfile()), m_standardOutput(dup(STDOUT_FILENO))
{
    std::fflush(stdout);
    if (m_file == nullptr || m_standardOutput < 0 || dup2(fileno(m_file), STDOUT_FILENO) < 0) {
        throw std::runtime_error("cannot capture standard output");
    }
}

CCapturedOutput::~CCapturedOutput()
{
    Restore();
    std::fclose(m_file);
}

std::string CCapturedOutput::Text()
{
    Restore();
    std::string text;
    std::rewind(m_file);
    for (int byte = std::fgetc(m_file); byte != EOF; byte = std::fgetc(m_file)) {
        text += static_cast<char>(byte);
    }
    return text;
}

void CCapturedOutput::Restore()
{
    if (m_standardOutput >= 0) {
        std::fflush(stdout);
        dup2(m_standardOutput, STDOUT_FILENO);
        close(m_standardOutput);
        m_standardOutput = -1;
    }
}
