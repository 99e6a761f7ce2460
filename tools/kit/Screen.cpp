#include "tools/kit/Screen.h"

#include <array>

#include "tools/check/Report.h"

namespace kandora::kit {

namespace {

bool IsConsole(HANDLE handle) {
    DWORD mode = 0;
    return handle != nullptr && handle != INVALID_HANDLE_VALUE && GetConsoleMode(handle, &mode) != FALSE;
}

/// Characters that fit into a line of the console; at its very end the cursor would go on to the next one.
std::size_t WidthOf(HANDLE console) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return GetConsoleScreenBufferInfo(console, &info) != FALSE && info.dwSize.X > 1
               ? static_cast<std::size_t>(info.dwSize.X - 1)
               : 79;
}

}  // namespace

Screen::Screen() {
    if (const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE); IsConsole(output)) {
        console_ = output;
    }
}

void Screen::Line(const Text& line) {
    Wipe();
    check::PrintLine(line);
}

void Screen::Progress(const Text& text) {
    if (console_ == nullptr) {
        return;
    }
    Wipe();
    const Text shown = text.substr(0, WidthOf(console_));
    WriteToConsole(shown);
    shown_ = shown.size();
}

bool Screen::Asks(const Text& question) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (console_ == nullptr || !IsConsole(input)) {
        return false;
    }
    Wipe();
    WriteToConsole(question + L" [j/N] ");
    std::array<wchar_t, 80> answer{};
    DWORD read = 0;
    if (ReadConsoleW(input, answer.data(), static_cast<DWORD>(answer.size()), &read, nullptr) == FALSE ||
        read == 0) {
        return false;
    }
    return answer[0] == L'j' || answer[0] == L'J';
}

void Screen::HoldWindow() {
    std::array<DWORD, 2> processes{};
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (console_ == nullptr || !IsConsole(input) ||
        GetConsoleProcessList(processes.data(), static_cast<DWORD>(processes.size())) != 1) {
        return;
    }
    WriteToConsole(L"\r\nEingabetaste schliesst das Fenster.");
    wchar_t key = 0;
    DWORD read = 0;
    ReadConsoleW(input, &key, 1, &read, nullptr);
}

void Screen::Wipe() {
    if (shown_ > 0) {
        WriteToConsole(L"\r" + Text(shown_, L' ') + L"\r");
        shown_ = 0;
    }
}

void Screen::WriteToConsole(const Text& text) const {
    DWORD written = 0;
    WriteConsoleW(console_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace kandora::kit
