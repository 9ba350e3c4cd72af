#include "tools/fieldfiles/DatabaseJournals.h"

#include <filesystem>
#include <fstream>

#include "tools/fieldfiles/FieldFile.h"

namespace {

/// Where a file lies in truth: SQLite puts the journals there. Empty for what is not a file.
std::string PlaceOfDatabase(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path place =
        std::filesystem::canonical(path == "-" ? "/proc/self/fd/0" : path, error);
    return error || !std::filesystem::is_regular_file(place, error) ? std::string()
                                                                    : place.string();
}

std::string BeginningOf(const std::string& path, std::size_t length)
{
    std::string bytes(length, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(length));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

bool HasContent(const std::string& path)
{
    std::error_code error;
    const auto length = std::filesystem::file_size(path, error);
    return !error && length > 0;
}

/// Whether a journal has what is needed to take changes back. One that is kept for the next change
/// begins with zeros.
bool IsHot(const std::string& path)
{
    const std::string beginning = BeginningOf(path, 8);
    return beginning.find_first_not_of('\0') != std::string::npos;
}

} // namespace

void CheckNobodyWrites(const std::string& path, const std::string& bytes)
{
    const std::string place = PlaceOfDatabase(path);
    if (place.empty()) {
        return;
    }
    for (const char* const ending : {"-wal", "-journal"}) {
        const std::string journal = place + ending;
        if (HasContent(journal) && IsHot(journal)) {
            throw CFieldFileProblem(
                "another program has the GeoPackage open, or has ended in the middle of a change: "
                "what belongs to it stands in " +
                journal + "; close it there, or open it there once");
        }
    }
    // Each change counts up a number in the head of the file.
    constexpr std::size_t kHead = 28;
    constexpr std::size_t kCounter = 24;
    const std::string now = BeginningOf(place, kHead);
    if (now.size() == kHead && bytes.size() > kHead &&
        now.compare(kCounter, kHead - kCounter, bytes, kCounter, kHead - kCounter) != 0) {
        throw CFieldFileProblem("another program has changed the GeoPackage while it was read; "
                                "read it again");
    }
}
