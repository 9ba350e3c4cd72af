#include "tests/simulator/Directory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

Directory::Directory() : m_path((std::filesystem::temp_directory_path() / "simulator-XXXXXX"))
{
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::runtime_error("cannot make a directory like " + m_path);
    }
}

Directory::~Directory()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void Directory::Write(const std::string& name, const std::string& content) const
{
    std::ofstream(File(name), std::ios::binary) << content;
}

std::string Directory::Read(const std::string& name) const
{
    std::ifstream file(File(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
