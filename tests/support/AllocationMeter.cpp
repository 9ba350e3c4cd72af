#include "tests/support/AllocationMeter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_isWatching{false};
std::atomic<std::size_t> g_largest{0};
std::atomic<std::size_t> g_count{0};

void* Allocate(std::size_t size)
{
    if (g_isWatching) {
        ++g_count;
        std::size_t largest = g_largest;
        while (size > largest && !g_largest.compare_exchange_weak(largest, size)) {
        }
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
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

CAllocationMeter::CAllocationMeter()
{
    g_largest = 0;
    g_count = 0;
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
