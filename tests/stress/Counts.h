#pragma once

#include <cstddef>
#include <iosfwd>

#include "tests/support/Unique.h"

namespace kandora::stress_tests {

/// What this process holds at the moment.
struct Counts {
    long objects = 0;      ///< of the archive and the accounting
    long allocations = 0;  ///< of COM: texts, arrays
    int handles = 0;
    unsigned long gdiObjects = 0;   ///< 0 where the system does not count them
    unsigned long userObjects = 0;  ///< the same
    int windows = 0;
    int threads = 0;
    int storageSlots = 0;  ///< for thread storage, still to be had
    std::size_t heapBlocks = 0;
    std::size_t heapBytes = 0;
    std::size_t privateBytes = 0;

    static Counts Now();
};
std::ostream& operator<<(std::ostream& stream, const Counts& counts);

/// Whether the heap cuts small blocks out of larger ones, which it keeps for later, and tells of these only.
/// Later versions of wine do.
bool AreBlocksGrouped();

/// Counts COM's allocations while it lives. Only complete when the texts are not kept for later use, which
/// the environment variable OANOCACHE forbids from the start of the process.
class AllocationSpy : test::Unique {
public:
    AllocationSpy();
    ~AllocationSpy();

    static long Outstanding() noexcept;
};

}  // namespace kandora::stress_tests
