#pragma once

#include <windows.h>

#include "tools/check/Handle.h"

namespace kandora::kit {

/// Thrown where a procedure cannot go on because the user wants to end.
struct Interrupted {};

/// Notes that the user wants to end: by Ctrl+C, by closing the console's window, by logging off. One at a
/// time. A console that is closed waits for as long as this object lives, and Windows waits some seconds for
/// that.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Signalled from the first wish on.
    [[nodiscard]] HANDLE Event() const noexcept { return event_.Get(); }
    [[nodiscard]] bool IsRaised() const noexcept {
        return WaitForSingleObject(event_.Get(), 0) == WAIT_OBJECT_0;
    }
    void Raise() const noexcept { SetEvent(event_.Get()); }
    /// Throws Interrupted.
    void ThrowWhenRaised() const {
        if (IsRaised()) {
            throw Interrupted();
        }
    }

private:
    static BOOL WINAPI OnConsoleEvent(DWORD kind);

    check::Handle event_;
    check::Handle end_;  ///< signalled when nothing is left to do
};

}  // namespace kandora::kit
