#ifndef KESTROVE_BENCHMARKS_SUPPORT_PROCESS_H
#define KESTROVE_BENCHMARKS_SUPPORT_PROCESS_H

#include <functional>

#include <sys/types.h>

namespace Benchmarks {

/// Binds this process, and those that it starts from now on, to the core that it runs on, so that
/// no migration and no idle core's waking up is measured.
void RunOnOneCore();

/// A process that does one piece of work beside this one; ended when this object or this process
/// ends.
class CChild
{
public:
    /// Starts it. Must come before this process has threads.
    explicit CChild(const std::function<void()>& work);
    ~CChild();
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

private:
    pid_t m_process;
};

} // namespace Benchmarks

#endif
