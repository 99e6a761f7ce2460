#pragma once

#include <cstdint>
#include <utility>

#include "automation/OwnArithmetic.h"

namespace kandora {

/// How a call waits for a program that is too busy to take it.
struct Patience {
    /// A clock that only goes forward, in milliseconds.
    std::uint64_t (*milliseconds)();
    /// Waits without using the processor; the thread stays reachable for calls from other programs.
    void (*pause)(std::uint32_t milliseconds);
};

/// Longest time for which one call is repeated, in milliseconds.
inline constexpr std::uint32_t patienceLimit = 10000;

/// The patience of all calls; tests put another one in its place.
Patience& BusyPatience() noexcept;

/// True when the callee's program turned the call away because it is busy. Such a call never ran.
bool WasTurnedAway(std::int32_t hresult) noexcept;

/// Says when a call that was turned away is to be repeated: after rising pauses, for `patienceLimit` in all.
class Repetition {
public:
    Repetition() : begin_(BusyPatience().milliseconds()) {}

    /// Waits for the next attempt; false when the time is up.
    bool Wait();

private:
    std::uint64_t begin_;
    std::uint32_t pause_ = 10;  ///< milliseconds; doubled each time
};

/// Makes a call, again and again while it is turned away and the patience lasts, and returns the outcome of
/// the last attempt. The callee may leave the processor's arithmetic as it likes. The message filter of the
/// program around this component stays as it is.
template <class Call>
std::int32_t WhileBusy(Call&& call) {
    std::int32_t outcome = call();
    if (outcome < 0 && WasTurnedAway(outcome)) {
        Repetition repetition;
        while (WasTurnedAway(outcome) && repetition.Wait()) {
            outcome = call();
        }
    }
    OwnArithmetic::Resume();
    return outcome;
}

}  // namespace kandora
