#include "runtime/SpareMemory.h"

#include <new>
#include <utility>

namespace {

thread_local SpareMemoryC* g_spare = nullptr; // of this thread
thread_local bool g_isRefusable = false;

} // namespace

SpareMemoryC::RefusableC::RefusableC(bool applies)
    : m_before(std::exchange(g_isRefusable, g_isRefusable || applies))
{
}

SpareMemoryC::RefusableC::~RefusableC()
{
    g_isRefusable = m_before;
}

SpareMemoryC::SpareMemoryC(std::size_t bytes) : m_most(bytes / kPieceBytes)
{
    m_pieces.reserve(m_most);
    Refill();
    g_spare = this;
    std::set_new_handler(GiveOut); // the same one for all threads
}

SpareMemoryC::~SpareMemoryC()
{
    g_spare = nullptr;
}

bool SpareMemoryC::Refill()
{
    const RefusableC refusable(true); // or it would be refilled with what it has
    while (!IsWhole()) {
        std::unique_ptr<char[]> piece(new (std::nothrow) char[kPieceBytes]);
        if (!piece) {
            return false;
        }
        m_pieces.push_back(std::move(piece));
    }
    return true;
}

/// Called where an allocation has failed, which is tried again after it.
void SpareMemoryC::GiveOut()
{
    if (g_spare == nullptr || g_isRefusable || g_spare->m_pieces.empty()) {
        throw std::bad_alloc();
    }
    g_spare->m_pieces.pop_back();
}
