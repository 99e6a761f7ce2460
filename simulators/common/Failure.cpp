#include "simulators/common/Failure.h"

#include <oleauto.h>

#include <cstdio>

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
    const std::string bytes = ToUtf8(text);
    WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

}  // namespace

Failure::Failure(std::wstring_view message) : std::runtime_error(ToUtf8(message)), message_(message) {}

std::string ToUtf8(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes) {
    if (bytes.empty()) {
        return {};
    }
    const int length = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), needed);
    return text;
}

std::wstring FoldCase(std::wstring_view text) {
    std::wstring folded(text);
    CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return left.size() == right.size() && FoldCase(left) == FoldCase(right);
}

std::wstring FromBstr(const wchar_t* bstr) {
    if (bstr == nullptr) {
        return {};
    }
    return std::wstring(bstr, SysStringLen(const_cast<BSTR>(bstr)));
}

std::wstring SystemMessage(unsigned long code) {
    wchar_t buffer[512] = {};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                                  0, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
    while (length > 0 && (buffer[length - 1] <= L' ' || buffer[length - 1] == L'.')) {
        --length;
    }
    std::wstring text(buffer, length);
    if (text.empty()) {
        text = L"Systemfehler";
    }
    wchar_t number[24];
    const bool isHresult = (code & 0x80000000UL) != 0;
    std::swprintf(number, std::size(number), isHresult ? L" (0x%08lX)" : L" (%lu)", code);
    return text + number;
}

void PrintLine(std::wstring_view line) {
    WriteLine(STD_OUTPUT_HANDLE, line);
}

void PrintErrorLine(std::wstring_view line) {
    WriteLine(STD_ERROR_HANDLE, line);
}

}  // namespace kandora::simulators
