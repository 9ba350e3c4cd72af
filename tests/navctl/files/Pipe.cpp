#include "tests/navctl/files/Pipe.h"

#include <cstdio>
#include <stdexcept>

#include <unistd.h>

CPipe::CPipe()
{
    if (pipe(m_ends) != 0) {
        throw std::runtime_error("no pipe");
    }
}

CPipe::CPipe(const std::string& content) : CPipe()
{
    Write(content);
    End();
}

CPipe::~CPipe()
{
    End();
    close(m_ends[0]);
}

void CPipe::Write(const std::string& text)
{
    if (write(m_ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot write to the pipe");
    }
}

void CPipe::End()
{
    if (m_ends[1] >= 0) {
        close(m_ends[1]);
    }
    m_ends[1] = -1;
}

std::string Sentence(const std::string& body)
{
    int sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    char ending[8];
    std::snprintf(ending, sizeof ending, "*%02X", static_cast<unsigned>(sum));
    return "$" + body + ending;
}
