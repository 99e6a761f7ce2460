#pragma once

#include <cstdint>
#include <vector>

#include "automation/BusyServer.h"
#include "tests/support/Unique.h"

namespace kandora::test {

/// For as long as it lives, calls that are turned away are repeated in no time: the pauses are only noted,
/// and advance a clock of its own. Only one may exist at a time.
class VirtualPatience : Unique {
public:
    VirtualPatience() : before_(BusyPatience()) {
        time_ = 0;
        Pauses().clear();
        BusyPatience() = {[] { return time_; },
                          [](std::uint32_t milliseconds) {
                              time_ += milliseconds;
                              Pauses().push_back(milliseconds);
                          }};
    }
    ~VirtualPatience() { BusyPatience() = before_; }

    /// In milliseconds, in the order in which they were made.
    static std::vector<std::uint32_t>& Pauses() {
        static std::vector<std::uint32_t> pauses;
        return pauses;
    }
    /// Lets time go by without a pause, as a slow call does.
    static void Pass(std::uint32_t milliseconds) { time_ += milliseconds; }

private:
    static inline std::uint64_t time_ = 0;
    Patience before_;
};

}  // namespace kandora::test
