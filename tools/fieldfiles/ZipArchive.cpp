#include "tools/fieldfiles/ZipArchive.h"

#include <algorithm>
#include <memory>

#include <zip.h>

#include "tools/fieldfiles/FieldFile.h"
#include "tools/fieldfiles/FileLimits.h"

namespace {

std::string ErrorText(zip_error_t& error)
{
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

bool LeadsOut(const std::string& path)
{
    const std::string whole = "/" + path + "/";
    return path.front() == '/' || path.find('\\') != std::string::npos ||
           whole.find("/../") != std::string::npos || path.find(':') != std::string::npos;
}

bool BelongsToADesktop(const std::string& path)
{
    return NameInFolder(path).compare(0, 2, "._") == 0 || path.compare(0, 9, "__MACOSX/") == 0;
}

} // namespace

std::string NameInFolder(const std::string& path)
{
    return path.substr(path.find_last_of('/') + 1);
}

std::string FolderOf(const std::string& path)
{
    return path.substr(0, path.find_last_of('/') + 1);
}

CZipArchive::CZipArchive(const std::string& bytes)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    m_zip = source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY, &error);
    if (m_zip == nullptr) {
        zip_source_free(source);
        throw CFieldFileProblem("the zip is broken: " + ErrorText(error));
    }
    try {
        TakePaths();
    } catch (...) {
        zip_discard(m_zip);
        throw;
    }
}

CZipArchive::~CZipArchive()
{
    zip_discard(m_zip);
}

void CZipArchive::TakePaths()
{
    const zip_int64_t count = zip_get_num_entries(m_zip, 0);
    if (count > static_cast<zip_int64_t>(FileLimits::kZipEntries)) {
        throw CFieldFileProblem("the zip has " + std::to_string(count) + " files, more than the " +
                                std::to_string(FileLimits::kZipEntries) + " that are read");
    }
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* const name = zip_get_name(m_zip, static_cast<zip_uint64_t>(i), 0);
        const std::string path = name == nullptr ? "" : name;
        if (path.empty()) {
            continue;
        }
        if (LeadsOut(path)) {
            throw CFieldFileProblem("the zip has a path that leads out of it: " + path);
        }
        if (path.back() != '/' && !BelongsToADesktop(path)) {
            m_paths.push_back(path);
        }
    }
}

std::string CZipArchive::Unpack(const std::string& path)
{
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(zip_fopen(m_zip, path.c_str(), 0),
                                                                 zip_fclose);
    if (file == nullptr) {
        throw CFieldFileProblem(path + " in the zip cannot be read: " + zip_strerror(m_zip));
    }
    constexpr std::size_t kPiece = 1U << 16;
    std::string bytes;
    zip_stat_t status;
    zip_stat_init(&status);
    if (zip_stat(m_zip, path.c_str(), 0, &status) == 0 && (status.valid & ZIP_STAT_SIZE) != 0) {
        // As long as it says: a string that grows is there twice at times.
        bytes.reserve(std::min<std::size_t>(status.size, FileLimits::kBytes) + 2 * kPiece);
    }
    for (;;) {
        const std::size_t before = bytes.size();
        bytes.resize(before + kPiece);
        const zip_int64_t count = zip_fread(file.get(), bytes.data() + before, kPiece);
        if (count < 0) {
            throw CFieldFileProblem(path +
                                    " in the zip is broken: " + zip_file_strerror(file.get()));
        }
        bytes.resize(before + static_cast<std::size_t>(count));
        m_unpacked += static_cast<std::size_t>(count);
        if (m_unpacked > FileLimits::kBytes) {
            throw CFieldFileProblem("the zip unpacks to more than the " +
                                    std::to_string(FileLimits::kBytes >> 20) +
                                    " MiB that are read");
        }
        if (count == 0) {
            return bytes;
        }
    }
}

std::string MakeZip(const std::vector<std::pair<std::string, std::string>>& files)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const target = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* const archive = zip_open_from_source(target, ZIP_TRUNCATE, &error);
    if (archive == nullptr) {
        throw CFieldFileProblem("cannot make a zip: " + ErrorText(error));
    }
    zip_source_keep(target); // read below, behind the end of the archive
    bool isGood = true;
    for (const auto& [path, bytes] : files) {
        zip_source_t* const source = zip_source_buffer(archive, bytes.data(), bytes.size(), 0);
        isGood = isGood && zip_file_add(archive, path.c_str(), source, ZIP_FL_ENC_UTF_8) >= 0;
    }
    isGood = isGood && zip_close(archive) == 0;
    if (!isGood) {
        const std::string reason = zip_strerror(archive);
        zip_discard(archive);
        zip_source_free(target);
        throw CFieldFileProblem("cannot make a zip: " + reason);
    }
    std::string result;
    zip_stat_t status;
    zip_stat_init(&status);
    if (zip_source_stat(target, &status) == 0 && zip_source_open(target) == 0) {
        result.resize(status.size);
        const zip_int64_t count = zip_source_read(target, result.data(), result.size());
        result.resize(static_cast<std::size_t>(count < 0 ? 0 : count));
        zip_source_close(target);
    }
    zip_source_free(target);
    return result;
}
