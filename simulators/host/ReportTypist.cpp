#include "simulators/host/ReportTypist.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/host/WindowTexts.h"

namespace kandora::simulators {

namespace {

constexpr auto pollInterval = std::chrono::milliseconds(10);
/// Far beyond what any step takes: a dialog that does not react must not hold up a run for ever.
constexpr auto waitLimit = std::chrono::minutes(2);
/// A click can be lost while a window is still coming up, so it is repeated for as long as the window stays.
constexpr int looksBeforeRepeat = 100;

/// The window of the dialog's thread that gets the keys; null when none does.
HWND FocusOf(HWND dialog) {
    GUITHREADINFO info{};
    info.cbSize = sizeof(info);
    return GetGUIThreadInfo(GetWindowThreadProcessId(dialog, nullptr), &info) ? info.hwndFocus : nullptr;
}

bool IsTextBoxOf(HWND dialog, HWND window) {
    return window != nullptr && IsChild(dialog, window) != FALSE && ClassOf(window) == L"Edit";
}

}  // namespace

template <class Condition>
bool ReportTypist::WaitUntil(Condition condition) const {
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while (!condition()) {
        if (stop_ || std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

/// The box is emptied first: if it already held the very text that is to be typed, it would look finished
/// before the keys have arrived.
bool ReportTypist::Type(HWND textBox, const std::wstring& text) const {
    PostMessageW(textBox, EM_SETSEL, 0, -1);
    PostMessageW(textBox, WM_CHAR, VK_BACK, 1);
    if (!WaitUntil([&] { return TextOf(textBox) == std::wstring(); })) {
        return false;
    }
    for (const wchar_t unit : text) {
        PostMessageW(textBox, WM_CHAR, unit, 1);
    }
    DWORD_PTR limit = text.size();
    SendMessageTimeoutW(textBox, EM_GETLIMITTEXT, 0, 0, SMTO_ABORTIFHUNG, answerLimitMilliseconds, &limit);
    const std::wstring expected = text.substr(0, static_cast<std::size_t>(limit));
    return WaitUntil([&] { return TextOf(textBox) == expected; });
}

HWND ReportTypist::TabFrom(HWND textBox) const {
    HWND dialog = GetAncestor(textBox, GA_ROOT);
    PostMessageW(textBox, WM_KEYDOWN, VK_TAB, 0x000F0001);
    PostMessageW(textBox, WM_KEYUP, VK_TAB, static_cast<LPARAM>(0xC00F0001));
    HWND next = nullptr;
    const auto hasMoved = [&] {
        next = FocusOf(dialog);
        return next != nullptr && next != textBox && IsChild(dialog, next) != FALSE;
    };
    return WaitUntil(hasMoved) ? next : nullptr;
}

std::wstring ReportTypist::FillTextBoxes(HWND dialog, const ReportDescription& description,
                                         ReportDescription& filled) const {
    const std::vector<HWND> children = ChildrenOf(dialog);
    if (std::ranges::none_of(children, [&](HWND child) { return IsTextBoxOf(dialog, child); })) {
        return L"Das Fenster hat kein Textfeld.";
    }
    HWND textBox = nullptr;
    if (!WaitUntil([&] { return IsTextBoxOf(dialog, textBox = FocusOf(dialog)); })) {
        return L"Im Fenster hat kein Textfeld den Fokus.";
    }
    const std::array<std::optional<std::wstring>, 4> texts{description.shortName, description.from,
                                                           description.to, description.description};
    std::array<std::wstring, 4> found;
    for (std::size_t at = 0; at < texts.size(); ++at) {
        if (at > 0) {
            textBox = TabFrom(textBox);
        }
        if (!IsTextBoxOf(dialog, textBox)) {
            return L"Die Tabulatortaste führt nicht zum nächsten Textfeld.";
        }
        const std::optional<std::wstring>& text = texts.at(at);
        if (text && !Type(textBox, *text)) {
            return L"Ein Textfeld nimmt die Eingabe nicht an.";
        }
        found.at(at) = TextOf(textBox).value_or(L"");
    }
    filled = {found[0], found[1], found[2], found[3]};
    return {};
}

void ReportTypist::LetPictureBeTaken(HWND dialog) const {
    RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    const std::filesystem::path done = pictureHook_.wstring() + L".done";
    RemoveFile(done.wstring());
    WriteFileAtomically(pictureHook_.wstring() + L".ready", "");
    WaitUntil([&] { return IsFile(done.wstring()); });
}

std::wstring ReportTypist::FillIn(HWND dialog, const ReportDescription& description,
                                  ReportDescription& filled) const {
    std::wstring complaint = FillTextBoxes(dialog, description, filled);
    if (complaint.empty() && !pictureHook_.empty()) {
        try {
            LetPictureBeTaken(dialog);
        } catch (const Failure& failure) {
            complaint = failure.Message();
        }
    }
    return complaint;
}

void ReportTypist::Confirm(HWND dialog) const {
    int looks = 0;
    WaitUntil([&] {
        // A disabled dialog waits for a message box in front of it, which is not answered here.
        if (!IsWindowVisible(dialog) || !IsWindowEnabled(dialog)) {
            return true;
        }
        if (looks++ % looksBeforeRepeat == 0) {
            PostMessageW(ConfirmingButton(dialog), BM_CLICK, 0, 0);
        }
        return false;
    });
}

}  // namespace kandora::simulators
