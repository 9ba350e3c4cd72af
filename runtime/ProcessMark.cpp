#include "runtime/ProcessMark.h"

#include <atomic>
#include <new>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using Mark = std::atomic<std::uint64_t>;

/// What a child of this process inherits: the last mark that was given out.
Mark g_lastMark{0};

/// This process's mark, and 0 in every new child until it asks: the kernel empties the page for a
/// child, however that was made.
Mark* MakePage()
{
    void* const page = ::mmap(nullptr, static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)),
                              PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        throw std::bad_alloc();
    }
    ::madvise(page, static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)), MADV_WIPEONFORK);
    return new (page) Mark(0);
}

Mark& PageMark()
{
    static Mark* const page = MakePage(); // stays, since clients may outlive what is destroyed
    return *page;
}

/// For kernels before 4.14, which know nothing of such pages.
void EmptyInChild()
{
    PageMark().store(0, std::memory_order_relaxed);
}

Mark& WatchedMark()
{
    Mark& mark = PageMark();
    [[maybe_unused]] static const int isWatched = ::pthread_atfork(nullptr, nullptr, EmptyInChild);
    return mark;
}

} // namespace

std::uint64_t ProcessMark()
{
    static Mark& mark = WatchedMark();
    std::uint64_t value = mark.load(std::memory_order_relaxed);
    if (value == 0) {
        const std::uint64_t fresh = g_lastMark.fetch_add(1, std::memory_order_relaxed) + 1;
        // Of several threads that ask at once, one gives the mark to all.
        value =
            mark.compare_exchange_strong(value, fresh, std::memory_order_relaxed) ? fresh : value;
    }
    return value;
}
