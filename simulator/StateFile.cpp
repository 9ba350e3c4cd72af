#include "simulator/StateFile.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <nlohmann/json.hpp>

namespace {

constexpr const char* kSettingsKey = "settings";

std::string ReasonOf(int error)
{
    return std::generic_category().message(error);
}

/// Closes a file descriptor at the end of a scope.
class FileC
{
public:
    // Not blocking, or a pipe without a reader would hold up the program.
    FileC(const std::string& path, int flags)
        : m_descriptor(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0644))
    {
    }
    ~FileC()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    FileC(const FileC&) = delete;
    FileC& operator=(const FileC&) = delete;

    bool IsOpen() const { return m_descriptor >= 0; }
    bool Sync() const { return ::fsync(m_descriptor) == 0; }
    bool Write(const std::string& text) const
    {
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t count =
                ::write(m_descriptor, text.data() + written, text.size() - written);
            if (count < 0 && errno != EINTR)
                return false;
            if (count > 0)
                written += static_cast<std::size_t>(count);
        }
        return true;
    }

private:
    int m_descriptor;
};

/// Where the file itself is, so that a rename replaces the file and not a link to it.
std::string Resolved(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved.string();
}

/// What a file is that should be a regular one; empty when it is, or is not there.
std::string NoRegularFile(const std::filesystem::file_status& status)
{
    if (!std::filesystem::exists(status) || std::filesystem::is_regular_file(status))
        return {};
    return std::filesystem::is_directory(status) ? "it is a directory" : "it is no regular file";
}

std::string ReadWhole(const std::string& path, std::string& text)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    if (!file)
        return ReasonOf(errno != 0 ? errno : EIO);
    text = content.str();
    return {};
}

std::string Parse(const std::string& text, KeptValues& values)
{
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    if (!document.is_object() || !document.contains(kSettingsKey) ||
        !document[kSettingsKey].is_object())
        return "it is no JSON object with an object \"settings\"";
    KeptValues found;
    for (const auto& entry : document[kSettingsKey].items()) {
        if (entry.value().is_boolean()) {
            found[entry.key()] = entry.value().get<bool>();
        } else if (entry.value().is_number()) {
            found[entry.key()] = entry.value().get<double>();
        } else {
            return "\"" + entry.key() + "\" is " + entry.value().dump() +
                   ", allowed is a number, true or false";
        }
    }
    values = std::move(found);
    return {};
}

std::string Document(const KeptValues& values)
{
    nlohmann::json settings = nlohmann::json::object();
    for (const auto& [name, value] : values)
        std::visit([&entry = settings[name]](auto plain) { entry = plain; }, value);
    return nlohmann::json{{kSettingsKey, settings}}.dump(2) + "\n";
}

} // namespace

StateFileC::StateFileC(const std::string& path) : m_path(Resolved(path)) {}

std::string StateFileC::Directory() const
{
    const std::string directory = std::filesystem::path(m_path).parent_path().string();
    return directory.empty() ? "." : directory;
}

std::string StateFileC::Check() const
{
    const std::string useless = "cannot use the state file " + m_path + ": ";
    std::error_code error;
    const std::string problem = NoRegularFile(std::filesystem::status(m_path, error));
    if (!problem.empty())
        return useless + problem;
    if (::access(Directory().c_str(), W_OK | X_OK) != 0)
        return useless + "files cannot be made in " + Directory() + ": " + ReasonOf(errno);
    const auto temporary = std::filesystem::symlink_status(TemporaryFile(), error);
    if (!NoRegularFile(temporary).empty())
        return useless + TemporaryFile() + ", which it needs for itself, is no regular file";
    return {};
}

std::string StateFileC::Load(KeptValues& values) const
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(m_path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return {};
    std::string text;
    std::string problem = NoRegularFile(status);
    if (problem.empty())
        problem = ReadWhole(m_path, text);
    if (problem.empty())
        problem = Parse(text, values);
    return problem.empty() ? problem : "cannot read the state file " + m_path + ": " + problem;
}

std::string StateFileC::Save(const KeptValues& values) const
{
    const std::string temporary = TemporaryFile();
    const std::string failed = "cannot write the state file " + m_path + ": ";
    {
        const FileC file(temporary, O_WRONLY | O_CREAT | O_TRUNC);
        if (!file.IsOpen() || !file.Write(Document(values)) || !file.Sync())
            return failed + ReasonOf(errno);
    }
    if (::rename(temporary.c_str(), m_path.c_str()) != 0)
        return failed + ReasonOf(errno);
    // The new name must reach the disk too, or a power cut brings the old file back.
    const FileC folder(Directory(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen() || !folder.Sync())
        return failed + ReasonOf(errno);
    return {};
}
