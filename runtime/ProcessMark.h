#ifndef KESTROVE_RUNTIME_PROCESSMARK_H
#define KESTROVE_RUNTIME_PROCESSMARK_H

#include <cstdint>

/// A number by which a process and the processes that it was forked from differ: what was noted
/// before a fork() is not what the child gets. Never 0. Costs no system call but at the first call
/// of a process.
///
/// Thread safety: may be called from every thread.
std::uint64_t ProcessMark();

#endif
