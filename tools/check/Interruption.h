#pragma once

#include <atomic>

#include <windows.h>

namespace kandora::check {

/// Ctrl+C, the console's closing and the end of the session. What is under way asks whether one of them is
/// wanted, and goes on to the next point at which it can end.
class Interruption {
public:
    Interruption() {
        done_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        SetConsoleCtrlHandler(&Interruption::OnEvent, TRUE);
    }
    ~Interruption() {
        // The event stays: a handler may be waiting for it.
        SetEvent(done_);
        SetConsoleCtrlHandler(&Interruption::OnEvent, FALSE);
    }
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    [[nodiscard]] static bool IsWanted() { return wanted_; }

private:
    static BOOL WINAPI OnEvent(DWORD event) {
        const bool again = wanted_.exchange(true);
        if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
            // Whoever insists ends the program.
            return again ? FALSE : TRUE;
        }
        // The system ends the program when this returns.
        WaitForSingleObject(done_, INFINITE);
        return TRUE;
    }

    static inline std::atomic<bool> wanted_ = false;
    static inline HANDLE done_ = nullptr;
};

}  // namespace kandora::check
