#pragma once

#include <windows.h>
#include <tlhelp32.h>

#include <array>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kandora::test {

/// What the debugger says of a process. It writes into a file, not a pipe: it may have stopped this very
/// process, which could not empty a pipe then.
inline std::string Debugged(DWORD id, const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    const HANDLE output = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherited, CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    std::array<wchar_t, 100> line{};
    std::swprintf(line.data(), line.size(), L"winedbg.exe --command \"bt all\" 0x%lx",
                  static_cast<unsigned long>(id));
    PROCESS_INFORMATION debugger{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &debugger) != FALSE) {
        constexpr DWORD patience = 60'000;  // milliseconds
        if (WaitForSingleObject(debugger.hProcess, patience) != WAIT_OBJECT_0) {
            TerminateProcess(debugger.hProcess, 1);
        }
        CloseHandle(debugger.hThread);
        CloseHandle(debugger.hProcess);
    }
    CloseHandle(output);
    std::ifstream told(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(told), std::istreambuf_iterator<char>()};
}

/// Where every program of this Windows session stands, for the report of one that hangs. Empty where there is
/// no debugger.
inline std::string StacksOfAll() {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / (std::to_wstring(GetCurrentProcessId()) + L"-stacks.txt");
    std::string told;
    const HANDLE list = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(list, &entry); more != FALSE; more = Process32NextW(list, &entry)) {
        const std::wstring name = entry.szExeFile;
        told.append("\n").append(name.begin(), name.end()).append(":\n");
        told += Debugged(entry.th32ProcessID, file);
    }
    CloseHandle(list);
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return told;
}

}  // namespace kandora::test
