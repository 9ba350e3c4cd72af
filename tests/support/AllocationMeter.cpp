#include "tests/support/AllocationMeter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

std::atomic<bool> g_isWatching{false};
std::atomic<std::size_t> g_largest{0};
std::atomic<std::size_t> g_count{0};
std::atomic<long long> g_inUse{0}; // less than at the start where older blocks are freed
std::atomic<long long> g_peak{0};

template <typename Number>
void RaiseTo(std::atomic<Number>& highest, Number value)
{
    Number known = highest;
    while (value > known && !highest.compare_exchange_weak(known, value)) {
    }
}

void* Allocate(std::size_t size)
{
    if (g_isWatching) {
        ++g_count;
        RaiseTo(g_largest, size);
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    if (g_isWatching) {
        const auto usable = static_cast<long long>(::malloc_usable_size(block));
        RaiseTo(g_peak, g_inUse += usable);
    }
    return block;
}

void Free(void* block)
{
    if (g_isWatching) {
        g_inUse -= static_cast<long long>(::malloc_usable_size(block));
    }
    std::free(block);
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
    Free(block);
}
void operator delete[](void* block) noexcept
{
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    Free(block);
}

CAllocationMeter::CAllocationMeter()
{
    g_largest = 0;
    g_count = 0;
    g_inUse = 0;
    g_peak = 0;
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
    return static_cast<std::size_t>(g_peak);
}
