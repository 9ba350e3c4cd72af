#ifndef KESTROVE_BENCHMARKS_SUPPORT_ALLOCATIONS_H
#define KESTROVE_BENCHMARKS_SUPPORT_ALLOCATIONS_H

#include <cstddef>

namespace Benchmarks {

/// What `operator new` has handed out since this object was made: a program that uses it gets its
/// own operators new and delete. For one thread.
class CAllocations
{
public:
    CAllocations();

    /// How many blocks have been handed out.
    std::size_t Count() const;
    /// By how many bytes the blocks in use have grown at their most.
    std::size_t PeakBytes() const;

private:
    std::size_t m_count;
    std::size_t m_bytes;
};

} // namespace Benchmarks

#endif
