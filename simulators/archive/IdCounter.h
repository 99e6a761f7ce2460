#pragma once

#include <cstdint>

#include "simulators/archive/StoreFiles.h"

namespace kandora::simulators {

/// Gives out the numbers of folders and entries, each once.
class IdCounter {
public:
    /// No number below `handedOutBelow` is given out. `files` must outlive it.
    IdCounter(const StoreFiles& files, std::int32_t handedOutBelow)
        : files_(files), handedOutBelow_(handedOutBelow), reservedUntil_(handedOutBelow),
          next_(handedOutBelow) {}

    /// Throws Failure.
    std::int32_t Take();
    /// The number that comes next.
    [[nodiscard]] std::int32_t Next() const noexcept { return next_; }
    /// Numbers up to this one are in use.
    void PassOver(std::int32_t id);
    /// Numbers below this one may have been given out before the store was opened.
    [[nodiscard]] std::int32_t HandedOutBelow() const noexcept { return handedOutBelow_; }
    /// Writes the counter, so that numbers reserved and not used are given out next time. Throws Failure.
    void Save() const { files_.WriteCounter(next_); }

private:
    const StoreFiles& files_;
    std::int32_t handedOutBelow_;
    std::int32_t reservedUntil_;  ///< the number in zaehler.json
    std::int32_t next_;
};

}  // namespace kandora::simulators
