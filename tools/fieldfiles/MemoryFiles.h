#ifndef KESTROVE_TOOLS_FIELDFILES_MEMORYFILES_H
#define KESTROVE_TOOLS_FIELDFILES_MEMORYFILES_H

#include <string>

#include <shapefil.h>

#include "tools/fieldfiles/FileBytes.h"

/// Lets shapelib read and write files that are in memory, for as long as this lives. Its functions
/// know no object, so there is one at a time on a thread.
class CMemoryFiles
{
public:
    /// @param files what is read and written; must outlive this.
    explicit CMemoryFiles(FileSet& files);
    ~CMemoryFiles();
    CMemoryFiles(const CMemoryFiles&) = delete;
    CMemoryFiles& operator=(const CMemoryFiles&) = delete;

    SAHooks* Hooks() { return &m_hooks; }
    /// What shapelib has found wrong; empty when nothing.
    static std::string Problem();

private:
    SAHooks m_hooks;
};

#endif
