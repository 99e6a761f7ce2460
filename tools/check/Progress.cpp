#include "tools/check/Progress.h"

#include <windows.h>

namespace kandora::check {

namespace {

constexpr std::uint64_t pause = 250;  // milliseconds

bool HasConsole() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
}

/// A line that fills the console's width would begin a new one.
std::size_t Width() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) != FALSE && info.dwSize.X > 1
               ? static_cast<std::size_t>(info.dwSize.X) - 1
               : 79;
}

void Write(const Text& text) {
    DWORD written = 0;
    WriteConsoleW(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written,
                  nullptr);
}

}  // namespace

void ProgressLine::Begin() {
    begun_ = GetTickCount64();
    shown_ = 0;
}

void ProgressLine::Show(const std::function<Text(std::uint64_t elapsed)>& text) {
    const std::uint64_t now = GetTickCount64();
    if (now - shown_ < pause || !HasConsole()) {
        return;
    }
    shown_ = now;
    Text line = text(now - begun_);
    line.resize(std::min(line.size(), Width()));
    const std::size_t length = line.size();
    line.resize(std::max(length, length_), L' ');
    length_ = length;
    Write(L"\r" + line);
}

void ProgressLine::Clear() {
    if (length_ > 0) {
        Write(L"\r" + Text(length_, L' ') + L"\r");
        length_ = 0;
    }
}

}  // namespace kandora::check
