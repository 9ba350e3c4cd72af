#include "bindings/python/Turn.h"

#include <atomic>

#include <pthread.h>

namespace Kestrove::Python {
namespace {

std::atomic<unsigned int> g_forksBehind{0};

void CountInChild()
{
    g_forksBehind.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

unsigned int ForksBehind() noexcept
{
    [[maybe_unused]] static const int isCounted = ::pthread_atfork(nullptr, nullptr, CountInChild);
    return g_forksBehind.load(std::memory_order_relaxed);
}

} // namespace Kestrove::Python
