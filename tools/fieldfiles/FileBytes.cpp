#include "tools/fieldfiles/FileBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileLimits.h"

namespace {

void CheckLength(std::uint64_t bytes, const std::string& name)
{
    if (bytes > FileLimits::kBytes) {
        throw CFieldFileProblem(name + " is longer than the " +
                                std::to_string(FileLimits::kBytes >> 20) + " MiB that are read");
    }
}

} // namespace

std::string ReadBytes(const COpenFile& file, const std::string& name, std::string taken)
{
    constexpr std::size_t kPiece = 1U << 16;
    const int descriptor = file.Descriptor();
    CheckLength(file.Length(), name);
    for (;;) {
        const std::size_t before = taken.size();
        CheckLength(before, name);
        taken.resize(before + kPiece);
        const ssize_t count = read(descriptor, taken.data() + before, kPiece);
        taken.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count < 0 && errno != EINTR) {
            throw CFieldFileProblem("cannot read " + name + ": " + std::strerror(errno));
        }
        if (count == 0) {
            return taken;
        }
    }
}

std::string ReadFileBytes(const std::string& path)
{
    // What is found beside a file may be a pipe, which would be waited for.
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
        throw CFieldFileProblem(path + " is no file");
    }
    const COpenFile file(path);
    if (!file.Problem().empty()) {
        throw CFieldFileProblem(file.Problem());
    }
    return ReadBytes(file, path);
}

std::vector<std::string> NamesIn(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator place(folder, error);
    for (const std::filesystem::directory_iterator end; !error && place != end;
         place.increment(error)) {
        names.push_back(place->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string LowerCase(std::string text)
{
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return text;
}

std::string SuffixOf(const std::string& path)
{
    const std::size_t dot = path.find_last_of("./");
    return dot == std::string::npos || path[dot] == '/' ? std::string()
                                                        : LowerCase(path.substr(dot + 1));
}

std::string WithoutSuffix(const std::string& path)
{
    const std::string ending = SuffixOf(path);
    return ending.empty() ? path : path.substr(0, path.size() - ending.size() - 1);
}

const std::string* FindFile(const FileSet& files, const std::string& name)
{
    const auto found = files.find(LowerCase(name));
    return found == files.end() ? nullptr : &found->second;
}
