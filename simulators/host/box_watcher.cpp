#include "box_watcher.h"

#include <array>
#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

namespace simulators {
namespace {

constexpr std::wstring_view reportDialogCaption = L"Auswertung Indizieren";
constexpr std::wstring_view inputBoxCaption = L"Archivpfad erstellen";
constexpr UINT answerLimitMilliseconds = 5000;
constexpr auto pollInterval = std::chrono::milliseconds(10);
// A click can be lost while a box is still coming up, so it is repeated for as long as the box stays.
constexpr unsigned looksBeforeRepeat = 30;

std::wstring ClassOf(HWND window) {
    std::array<wchar_t, 64> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return {name.data(), static_cast<std::size_t>(length)};
}

// The window's text; nothing when its thread does not answer, which it does once it gets back to its
// messages.
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

BOOL CALLBACK Collect(HWND window, LPARAM list) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

std::vector<HWND> ChildrenOf(HWND parent) {
    std::vector<HWND> children;
    EnumChildWindows(parent, Collect, reinterpret_cast<LPARAM>(&children));
    return children;
}

bool IsBox(HWND window) {
    if (!IsWindowVisible(window)) {
        return false;
    }
    if (ClassOf(window) == L"#32770") {
        return true;
    }
    const auto caption = TextOf(window);
    return caption && (*caption == inputBoxCaption || *caption == reportDialogCaption);
}

std::wstring WithoutMnemonic(std::wstring text) {
    std::erase(text, L'&');
    return text;
}

// "OK" or "Archivieren" by name, else the default button, else the first one; none when there is no button.
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

// The report dialog's description is its multi-line text box.
void DescribeReport(HWND dialog) {
    for (HWND child : ChildrenOf(dialog)) {
        const bool multiLine = (GetWindowLongPtrW(child, GWL_STYLE) & ES_MULTILINE) != 0;
        if (ClassOf(child) == L"Edit" && multiLine && TextOf(child) == L"") {
            SendMessageTimeoutW(child, WM_SETTEXT, 0,
                                reinterpret_cast<LPARAM>(L"Auswertung der Finanzbuchhaltung"),
                                SMTO_ABORTIFHUNG, answerLimitMilliseconds, nullptr);
        }
    }
}

}  // namespace

BoxWatcher::BoxWatcher(DWORD threadId) : threadId_(threadId), thread_([this] { Run(); }) {}

BoxWatcher::~BoxWatcher() {
    stop_ = true;
    thread_.join();
}

std::vector<AnsweredBox> BoxWatcher::TakeAnswered() {
    const std::lock_guard guard(lock_);
    return std::exchange(answered_, {});
}

void BoxWatcher::Run() {
    while (!stop_) {
        Look();
        std::this_thread::sleep_for(pollInterval);
    }
}

void BoxWatcher::Look() {
    std::vector<HWND> windows;
    EnumThreadWindows(threadId_, Collect, reinterpret_cast<LPARAM>(&windows));
    std::erase_if(pending_, [](const auto& entry) { return !IsWindowVisible(entry.first); });
    for (HWND window : windows) {
        // A disabled box waits for another one in front of it.
        if (IsBox(window) && IsWindowEnabled(window)) {
            Answer(window);
        }
    }
}

void BoxWatcher::Answer(HWND box) {
    const auto [entry, isNew] = pending_.try_emplace(box, 0U);
    if (!isNew && ++entry->second % looksBeforeRepeat != 0) {
        return;
    }
    const auto caption = TextOf(box);
    HWND button = ConfirmingButton(box);
    if (!caption || !button) {
        pending_.erase(entry);
        return;
    }
    if (*caption == reportDialogCaption) {
        DescribeReport(box);
    }
    if (isNew) {
        AnsweredBox answered{*caption, L""};
        for (HWND child : ChildrenOf(box)) {
            const auto text = ClassOf(child) == L"Static" ? TextOf(child) : std::nullopt;
            if (text && !text->empty()) {
                answered.text += (answered.text.empty() ? L"" : L"\n") + *text;
            }
        }
        const std::lock_guard guard(lock_);
        answered_.push_back(std::move(answered));
        PostMessageW(button, BM_CLICK, 0, 0);
        return;
    }
    PostMessageW(box, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(button), BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
}

}  // namespace simulators
