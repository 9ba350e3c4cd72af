#ifndef KESTROVE_TESTS_WAYLINE_ALLOCATIONCOUNT_H
#define KESTROVE_TESTS_WAYLINE_ALLOCATIONCOUNT_H

#include <cstddef>

/// The number of blocks that `operator new` has handed out in this program and that have not been
/// given back: equal before and after means that nothing was left behind.
long LiveAllocations();

/// The number of blocks that `operator new` has handed out so far.
long AllocationsSoFar();

/// The bytes in the blocks that LiveAllocations() counts.
std::size_t LiveBytes();

/// The most that LiveBytes() has been since ForgetPeakBytes().
std::size_t PeakBytes();

/// Makes the bytes that are live now the peak.
void ForgetPeakBytes();

#endif
