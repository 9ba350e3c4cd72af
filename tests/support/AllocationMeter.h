#ifndef KESTROVE_TESTS_SUPPORT_ALLOCATIONMETER_H
#define KESTROVE_TESTS_SUPPORT_ALLOCATIONMETER_H

#include <cstddef>

/// Watches the allocations of the whole process, on every thread, while it lives. A program that
/// uses it gets this library's operators new and delete, and its realloc().
class CAllocationMeter
{
public:
    CAllocationMeter();
    ~CAllocationMeter();
    CAllocationMeter(const CAllocationMeter&) = delete;
    CAllocationMeter& operator=(const CAllocationMeter&) = delete;

    /// The largest single block that has been asked for.
    std::size_t LargestBlock() const;
    /// How many blocks have been asked for.
    std::size_t BlockCount() const;
    /// By how much the memory in use, buffers of the system library included, has grown at its
    /// highest. 0 under a sanitizer that brings its own memory management.
    std::size_t PeakGrowth() const;
};

#endif
