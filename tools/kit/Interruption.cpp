#include "tools/kit/Interruption.h"

#include <atomic>

namespace kandora::kit {

namespace {

constexpr DWORD patience = 60'000;  // milliseconds

// What the system calls knows no object.
std::atomic<HANDLE> wish{nullptr};
std::atomic<HANDLE> done{nullptr};

}  // namespace

Interruption::Interruption()
    : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)), end_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    wish = event_.Get();
    done = end_.Get();
    // Whoever starts this program may have told it not to listen.
    SetConsoleCtrlHandler(nullptr, FALSE);
    SetConsoleCtrlHandler(&Interruption::OnConsoleEvent, TRUE);
}

Interruption::~Interruption() {
    SetEvent(end_.Get());
    SetConsoleCtrlHandler(&Interruption::OnConsoleEvent, FALSE);
    wish = nullptr;
    done = nullptr;
}

BOOL WINAPI Interruption::OnConsoleEvent(DWORD kind) {
    SetEvent(wish);
    // With the return from any of the others the system ends the process.
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT) {
        WaitForSingleObject(done, patience);
    }
    return TRUE;
}

}  // namespace kandora::kit
