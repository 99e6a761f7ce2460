#include "simulators/host/WindowTexts.h"

#include <array>

namespace kandora::simulators {

namespace {

BOOL CALLBACK Collect(HWND window, LPARAM list) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

std::wstring WithoutMnemonic(std::wstring text) {
    std::erase(text, L'&');
    return text;
}

}  // namespace

std::wstring ClassOf(HWND window) {
    std::array<wchar_t, 64> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return {name.data(), static_cast<std::size_t>(length)};
}

std::optional<std::wstring> TextOf(HWND window) {
    DWORD_PTR length = 0;
    if (!SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, answerLimitMilliseconds,
                             &length)) {
        return std::nullopt;
    }
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    DWORD_PTR copied = 0;
    if (!SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                             SMTO_ABORTIFHUNG, answerLimitMilliseconds, &copied)) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(copied));
    return text;
}

std::vector<HWND> WindowsOf(DWORD threadId) {
    std::vector<HWND> windows;
    EnumThreadWindows(threadId, Collect, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

std::vector<HWND> ChildrenOf(HWND parent) {
    std::vector<HWND> children;
    EnumChildWindows(parent, Collect, reinterpret_cast<LPARAM>(&children));
    return children;
}

HWND ConfirmingButton(HWND box) {
    HWND first = nullptr;
    HWND defaultButton = nullptr;
    for (HWND child : ChildrenOf(box)) {
        if (ClassOf(child) != L"Button") {
            continue;
        }
        const std::wstring text = WithoutMnemonic(TextOf(child).value_or(L""));
        if (text == L"OK" || text == L"Archivieren") {
            return child;
        }
        const auto kind = GetWindowLongPtrW(child, GWL_STYLE) & BS_TYPEMASK;
        if (kind == BS_DEFPUSHBUTTON) {
            defaultButton = child;
        }
        if (!first && kind <= BS_DEFPUSHBUTTON) {
            first = child;
        }
    }
    return defaultButton ? defaultButton : first;
}

}  // namespace kandora::simulators
