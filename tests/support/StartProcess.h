#pragma once

#include <windows.h>

#include <string>

namespace kandora::test {

/// Starts a program with this process's folder and environment, as CreateProcess does; FALSE with the last
/// error set when it cannot. Both handles of `process` are the caller's.
inline BOOL StartProcess(std::wstring commandLine, BOOL inheritsHandles, STARTUPINFOW& startup,
                         PROCESS_INFORMATION& process) {
    // On a busy machine, wine now and then loses a new process before its first instruction and reports an
    // internal error. Nothing of the program has run then.
    constexpr int attempts = 3;
    BOOL isStarted = FALSE;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        isStarted = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, inheritsHandles, 0, nullptr,
                                   nullptr, &startup, &process);
        if (isStarted != FALSE || GetLastError() != ERROR_INTERNAL_ERROR) {
            break;
        }
    }
    return isStarted;
}

}  // namespace kandora::test
