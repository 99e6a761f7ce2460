#include "automation/BusyServer.h"

#include <algorithm>

#include <windows.h>

#include <objbase.h>

namespace kandora {

namespace {

constexpr std::uint32_t longestPause = 1000;  // milliseconds

std::uint64_t Ticks() {
    return GetTickCount64();
}

/// The program that is busy may be waiting for this very thread, so it must be let in meanwhile.
void WaitReachable(std::uint32_t milliseconds) {
    DWORD index = 0;
    HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HRESULT waited =
        never == nullptr ? E_OUTOFMEMORY : CoWaitForMultipleHandles(0, milliseconds, 1, &never, &index);
    if (waited != RPC_S_CALLPENDING) {
        Sleep(milliseconds);
    }
    if (never != nullptr) {
        CloseHandle(never);
    }
}

}  // namespace

Patience& BusyPatience() noexcept {
    static Patience patience{Ticks, WaitReachable};
    return patience;
}

bool WasTurnedAway(std::int32_t hresult) noexcept {
    return hresult == RPC_E_CALL_REJECTED || hresult == RPC_E_SERVERCALL_RETRYLATER ||
           hresult == RPC_E_SERVERCALL_REJECTED || hresult == HRESULT_FROM_WIN32(RPC_S_SERVER_TOO_BUSY);
}

bool Repetition::Wait() {
    const std::uint64_t waited = BusyPatience().milliseconds() - begin_;
    if (waited >= patienceLimit) {
        return false;
    }
    BusyPatience().pause(std::min(pause_, static_cast<std::uint32_t>(patienceLimit - waited)));
    pause_ = std::min(pause_ * 2, longestPause);
    return true;
}

}  // namespace kandora
