#pragma once

#include <windows.h>
#include <winsvc.h>

namespace kandora::test {

/// Makes COM forget which programs serve classes; to be called when a program that served one was ended by
/// force and none is left. False when it cannot.
///
/// Under wine a service keeps the list. A program that dies stays in it, ahead of its successors, so that
/// whoever asks for the class is sent to the dead one. This stops the service; the next call starts it again
/// with an empty list. Windows forgets dead programs by itself.
inline bool ForgetServedClasses() {
    const HMODULE platform = GetModuleHandleW(L"ntdll.dll");
    if (platform == nullptr || GetProcAddress(platform, "wine_get_version") == nullptr) {
        return true;
    }
    constexpr ULONGLONG patience = 60'000;  // milliseconds
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = OpenServiceW(manager, L"RpcSs", SERVICE_STOP | SERVICE_QUERY_STATUS);
    SERVICE_STATUS status{};
    const auto isStopped = [&] {
        return QueryServiceStatus(service, &status) != FALSE && status.dwCurrentState == SERVICE_STOPPED;
    };
    ControlService(service, SERVICE_CONTROL_STOP, &status);
    const ULONGLONG end = GetTickCount64() + patience;
    while (!isStopped() && GetTickCount64() < end) {
        Sleep(2);
    }
    const bool forgot = isStopped();
    CloseServiceHandle(service);
    CloseServiceHandle(manager);
    return forgot;
}

}  // namespace kandora::test
