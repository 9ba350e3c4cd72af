#include "tests/wayline/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

long made = 0;
long freed = 0;

void Free(void* block)
{
    if (block != nullptr) {
        ++freed;
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

void* operator new(std::size_t size)
{
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++made;
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
