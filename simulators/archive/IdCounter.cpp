#include "simulators/archive/IdCounter.h"

#include <algorithm>

namespace kandora::simulators {

namespace {

/// Ids are reserved in blocks, so that not every filing has to write the counter.
constexpr std::int32_t reservedBlock = 64;

}  // namespace

std::int32_t IdCounter::Take() {
    if (next_ >= reservedUntil_) {
        files_.WriteCounter(next_ + reservedBlock);
        reservedUntil_ = next_ + reservedBlock;
    }
    return next_++;
}

void IdCounter::PassOver(std::int32_t id) {
    if (id <= highestId) {
        next_ = std::max(next_, id + 1);
    }
}

}  // namespace kandora::simulators
