#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <windows.h>

namespace kandora::test {

// Controls of the component's windows, and of message boxes.
constexpr int okButton = 1;
constexpr int boxText = 0xFFFF;
constexpr int inputText = 101;
constexpr int reportTitle = 101;
constexpr int reportDescription = 104;

/// A window's text, at most 4095 units of it, or empty when its thread does not answer within a minute.
inline std::wstring TextOf(HWND window) {
    std::array<wchar_t, 4096> text{};
    DWORD_PTR length = 0;
    if (SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                            SMTO_NORMAL, 60'000, &length) == 0) {
        return {};
    }
    return {text.data(), static_cast<std::size_t>(length)};
}

/// Puts the text into a control of the window.
inline void Type(HWND window, int control, const wchar_t* text) {
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(GetDlgItem(window, control), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text),
                        SMTO_NORMAL, 60'000, &ignored);
}

}  // namespace kandora::test
