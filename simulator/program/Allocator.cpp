#include <cstddef>

#include <jemalloc/jemalloc.h>

/// How the process's allocator works, which reads this when it begins.
///
/// What clients have the service hold for a moment goes back to the system within a second of being
/// freed, whoever has held it and in however many pieces. A thread of the allocator's own sees to
/// that, so that no caller ever puts free memory in order, as the C library's allocator does in the
/// midst of some allocation: the loop would wait for it.
const char* malloc_conf = // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
    "background_thread:true,max_background_threads:1,dirty_decay_ms:1000,muzzy_decay_ms:0,narenas:"
    "8";

namespace {

constexpr int kArenas = 8;

/// Has all parts of the allocator made while there is memory: a thread that begins when there is
/// none could not have one of its own.
bool MakeArenas()
{
    for (int arena = 0; arena < kArenas; ++arena) {
        constexpr std::size_t bytes = 64;
        const int flags = MALLOCX_ARENA(arena) | MALLOCX_TCACHE_NONE;
        if (void* const some = ::mallocx(bytes, flags)) {
            ::dallocx(some, flags);
        }
    }
    return true;
}

[[maybe_unused]] const bool g_hasArenas = MakeArenas();

} // namespace
