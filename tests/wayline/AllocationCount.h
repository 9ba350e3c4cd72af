#ifndef KESTROVE_TESTS_WAYLINE_ALLOCATIONCOUNT_H
#define KESTROVE_TESTS_WAYLINE_ALLOCATIONCOUNT_H

/// The number of blocks that `operator new` has handed out in this program and that have not been
/// given back: equal before and after means that nothing was left behind.
long LiveAllocations();

/// The number of blocks that `operator new` has handed out so far.
long AllocationsSoFar();

#endif
