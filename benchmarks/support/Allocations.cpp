#include "benchmarks/support/Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

std::size_t g_count = 0;
std::size_t g_bytes = 0;
std::size_t g_peakBytes = 0;

} // namespace

void* operator new(std::size_t size)
{
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++g_count;
    g_bytes += malloc_usable_size(block);
    g_peakBytes = std::max(g_peakBytes, g_bytes);
    return block;
}

void operator delete(void* block) noexcept
{
    g_bytes -= malloc_usable_size(block);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

namespace Benchmarks {

CAllocations::CAllocations() : m_count(g_count), m_bytes(g_bytes)
{
    g_peakBytes = g_bytes;
}

std::size_t CAllocations::Count() const
{
    return g_count - m_count;
}

std::size_t CAllocations::PeakBytes() const
{
    return g_peakBytes - m_bytes;
}

} // namespace Benchmarks
