#include "tools/fieldfiles/MemoryFiles.h"

#include <algorithm>
#include <cstring>

#include "tools/fieldfiles/FileLimits.h"
#include "tools/navctl/files/CsvRow.h"

namespace {

thread_local FileSet* t_files = nullptr;
thread_local std::string t_problem;

/// An open file.
struct MemoryFile
{
    std::string* bytes;
    std::size_t place;
};

MemoryFile& FileOf(SAFile handle)
{
    return *reinterpret_cast<MemoryFile*>(handle);
}

SAFile Open(const char* name, const char* access)
{
    const std::string wanted = LowerCase(name);
    if (access[0] == 'w') {
        (*t_files)[wanted].clear();
    } else if (t_files->count(wanted) == 0) {
        return nullptr;
    }
    return reinterpret_cast<SAFile>(new MemoryFile{&(*t_files)[wanted], 0});
}

SAOffset Read(void* target, SAOffset size, SAOffset count, SAFile handle)
{
    MemoryFile& file = FileOf(handle);
    if (size == 0 || file.place >= file.bytes->size()) {
        return 0;
    }
    const SAOffset whole = std::min<SAOffset>(count, (file.bytes->size() - file.place) / size);
    std::memcpy(target, file.bytes->data() + file.place, whole * size);
    file.place += whole * size;
    return whole;
}

SAOffset Write(void* source, SAOffset size, SAOffset count, SAFile handle)
{
    MemoryFile& file = FileOf(handle);
    const std::size_t end = file.place + size * count;
    if (end > FileLimits::kBytes) {
        return 0;
    }
    if (end > file.bytes->size()) {
        file.bytes->resize(end);
    }
    std::memcpy(file.bytes->data() + file.place, source, size * count);
    file.place = end;
    return count;
}

SAOffset Seek(SAFile handle, SAOffset offset, int whence)
{
    MemoryFile& file = FileOf(handle);
    const std::size_t base = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? file.place
                                                  : file.bytes->size();
    file.place = base + offset; // what wraps around or is behind the end reads nothing
    return 0;
}

SAOffset Tell(SAFile handle)
{
    return FileOf(handle).place;
}

int Flush(SAFile /*handle*/)
{
    return 0;
}

int Close(SAFile handle)
{
    delete &FileOf(handle);
    return 0;
}

int Remove(const char* name)
{
    return t_files->erase(LowerCase(name)) == 1 ? 0 : -1;
}

void TakeError(const char* message)
{
    if (t_problem.empty()) {
        t_problem = message;
    }
}

double Number(const char* text)
{
    return FiniteNumber(text).value_or(0.0);
}

} // namespace

CMemoryFiles::CMemoryFiles(FileSet& files)
    : m_hooks{Open, Read, Write, Seek, Tell, Flush, Close, Remove, TakeError, Number}
{
    t_files = &files;
    t_problem.clear();
}

CMemoryFiles::~CMemoryFiles()
{
    t_files = nullptr;
}

std::string CMemoryFiles::Problem()
{
    return t_problem;
}
