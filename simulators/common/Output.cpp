#include "simulators/common/Output.h"

#include <windows.h>

#include <string>

#include "interfaces/CodePages.h"

namespace kandora::simulators {

namespace {

void WriteLine(DWORD which, std::wstring_view line) {
    const HANDLE handle = GetStdHandle(which);
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
        return;
    }
    std::wstring text(line);
    text += L"\r\n";
    DWORD written = 0;
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode) != 0) {
        WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const std::string bytes = Utf8FromText(text);
    WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

}  // namespace

void PrintLine(std::wstring_view line) {
    WriteLine(STD_OUTPUT_HANDLE, line);
}

void PrintErrorLine(std::wstring_view line) {
    WriteLine(STD_ERROR_HANDLE, line);
}

}  // namespace kandora::simulators
