#include "tests/support/AllocationMeter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <malloc.h>

namespace {

/// How much memory is in use is asked for whenever so many bytes have been asked for since.
constexpr std::size_t kBytesUnseen = 65536;

std::atomic<bool> g_isWatching{false};
std::atomic<std::size_t> g_largest{0};
std::atomic<std::size_t> g_count{0};
std::atomic<std::size_t> g_unseen{0};
std::atomic<std::size_t> g_start{0};
std::atomic<std::size_t> g_peak{0};

void RaiseTo(std::atomic<std::size_t>& highest, std::size_t value)
{
    std::size_t known = highest;
    while (value > known && !highest.compare_exchange_weak(known, value)) {
    }
}

std::size_t InUse()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

void Note(std::size_t size)
{
    if (g_isWatching) {
        RaiseTo(g_largest, size);
        ++g_count;
        if ((g_unseen += size) >= kBytesUnseen) {
            g_unseen = 0;
            RaiseTo(g_peak, InUse());
        }
    }
}

void* Allocate(std::size_t size)
{
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    Note(size);
    return block;
}

} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete[](void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

// The sanitizers have a realloc() of their own, before which no other may stand.
#ifndef KESTROVE_WITH_SANITIZERS
extern "C" __attribute__((visibility("default"))) void* realloc(void* block,
                                                                std::size_t size) noexcept
{
    using Realloc = void*(void*, std::size_t);
    static auto* const system = reinterpret_cast<Realloc*>(::dlsym(RTLD_NEXT, "realloc"));
    void* const resized = system(block, size);
    Note(size);
    return resized;
}
#endif

CAllocationMeter::CAllocationMeter()
{
    // Asking how much is in use walks every free block: what earlier tests left is joined first.
    ::malloc_trim(0);
    g_largest = 0;
    g_count = 0;
    g_unseen = 0;
    g_start = InUse();
    g_peak = g_start.load();
    g_isWatching = true;
}

CAllocationMeter::~CAllocationMeter()
{
    g_isWatching = false;
}

std::size_t CAllocationMeter::LargestBlock() const
{
    return g_largest;
}

std::size_t CAllocationMeter::BlockCount() const
{
    return g_count;
}

std::size_t CAllocationMeter::PeakGrowth() const
{
    return g_peak - g_start;
}
