#include "tests/wayline/AllocationCount.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

long made = 0;
long freed = 0;
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

void Free(void* block)
{
    if (block != nullptr) {
        ++freed;
        liveBytes -= malloc_usable_size(block);
        std::free(block);
    }
}

} // namespace

long LiveAllocations()
{
    return made - freed;
}

long AllocationsSoFar()
{
    return made;
}

std::size_t LiveBytes()
{
    return liveBytes;
}

std::size_t PeakBytes()
{
    return peakBytes;
}

void ForgetPeakBytes()
{
    peakBytes = liveBytes;
}

void* operator new(std::size_t size)
{
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++made;
    liveBytes += malloc_usable_size(block);
    peakBytes = std::max(peakBytes, liveBytes);
    return block;
}

void operator delete(void* block) noexcept
{
    Free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}
