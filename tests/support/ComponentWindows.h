#pragma once

#include <array>
#include <cstddef>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

namespace kandora::test {

// Controls of the component's windows, and of message boxes.
constexpr int okButton = 1;
constexpr int boxText = 0xFFFF;
constexpr int inputText = 101;
constexpr int reportTitle = 101;
constexpr int reportDescription = 104;

struct WindowSearch {
    const wchar_t* className;
    std::vector<HWND> found;
};

inline BOOL CALLBACK TakeWindow(HWND window, LPARAM state) {
    auto& search = *reinterpret_cast<WindowSearch*>(state);
    std::array<wchar_t, 64> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    if (std::wcscmp(name.data(), search.className) == 0) {
        search.found.push_back(window);
    }
    return TRUE;
}

/// The windows of a class on the desktop.
inline std::vector<HWND> WindowsOf(const wchar_t* className) {
    WindowSearch search{className, {}};
    EnumWindows(TakeWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

/// Looks at every message box and every form of the component on the desktop. Whoever waits for boxes asks
/// all the time, and asking for the first one of a class takes a fraction of the time of going through all
/// windows. Windows are not asked for one after the other: when one is just being destroyed, wine 10's server
/// searches for the next one for ever, and all programs stand still.
template <class Look>
void ForEachBox(Look look) {
    for (const wchar_t* const name : {L"#32770", L"KandoraForm"}) {
        if (FindWindowExW(nullptr, nullptr, name, nullptr) != nullptr) {
            for (const HWND window : WindowsOf(name)) {
                look(window);
            }
        }
    }
}

inline std::wstring ClassOf(HWND window) {
    std::array<wchar_t, 64> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return {name.data(), static_cast<std::size_t>(length)};
}

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

/// The parts of a message box or form that matter to whoever answers it.
struct Question {
    bool isBox = false;
    HWND button = nullptr;
    HWND prompt = nullptr;
};
/// Nothing when the window is neither, or is still coming up. `formPrompt` is the control of a form that says
/// what it asks for.
inline std::optional<Question> QuestionIn(HWND window, int formPrompt) {
    const std::wstring windowClass = ClassOf(window);
    Question question;
    question.isBox = windowClass == L"#32770";
    if (IsWindowVisible(window) == FALSE || !(question.isBox || windowClass == L"KandoraForm")) {
        return std::nullopt;
    }
    question.button =
        question.isBox ? FindWindowExW(window, nullptr, L"Button", nullptr) : GetDlgItem(window, okButton);
    question.prompt = GetDlgItem(window, question.isBox ? boxText : formPrompt);
    return question.button != nullptr && question.prompt != nullptr ? std::optional(question) : std::nullopt;
}

/// Puts the text into a control of the window.
inline void Type(HWND window, int control, const wchar_t* text) {
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(GetDlgItem(window, control), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text),
                        SMTO_NORMAL, 60'000, &ignored);
}

}  // namespace kandora::test
