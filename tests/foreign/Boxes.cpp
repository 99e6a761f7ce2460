#include "Boxes.h"

#include <array>
#include <chrono>
#include <utility>

namespace kandora::foreign_tests {

namespace {

constexpr int okButton = 1;
constexpr int boxText = 0xFFFF;
// Of the report's dialog.
constexpr int reportTitle = 101;
constexpr int reportDescription = 104;

std::wstring TextOf(HWND window) {
    std::array<wchar_t, 2048> text{};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_NORMAL,
                        60'000, &length);
    return {text.data(), static_cast<std::size_t>(length)};
}

void Type(HWND window, int control, const wchar_t* text) {
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(GetDlgItem(window, control), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text),
                        SMTO_NORMAL, 60'000, &ignored);
}

}  // namespace

Boxes::Boxes()
    : thread_([this] {
          while (!hasEnded_) {
              for (auto& [window, isThere] : open_) {
                  isThere = false;
              }
              EnumWindows(LookAt, reinterpret_cast<LPARAM>(this));
              // The handle of a window that is gone may be given to another one.
              std::erase_if(open_, [](const auto& each) { return !each.second; });
              std::this_thread::sleep_for(std::chrono::milliseconds(5));
          }
      }) {}

Boxes::~Boxes() {
    hasEnded_ = true;
    thread_.join();
}

std::vector<std::wstring> Boxes::Take() {
    const std::lock_guard guard(lock_);
    return std::exchange(answered_, {});
}

BOOL CALLBACK Boxes::LookAt(HWND window, LPARAM self) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId()) {
        reinterpret_cast<Boxes*>(self)->Look(window);
    }
    return TRUE;
}

/// A click can be lost while a window is coming up, so it is repeated for as long as the window stays.
void Boxes::Look(HWND window) {
    std::array<wchar_t, 64> name{};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    const bool isBox = std::wstring(name.data()) == L"#32770";
    if (IsWindowVisible(window) == FALSE || !(isBox || std::wstring(name.data()) == L"KandoraForm")) {
        return;
    }
    const HWND button =
        isBox ? FindWindowExW(window, nullptr, L"Button", nullptr) : GetDlgItem(window, okButton);
    const HWND prompt = GetDlgItem(window, isBox ? boxText : reportTitle);
    if (button == nullptr || prompt == nullptr) {
        return;  // it is still coming up
    }
    if (!open_.contains(window)) {
        const std::wstring caption = TextOf(window);
        const std::wstring text = isBox ? TextOf(prompt) : L"(Formular)";
        if (caption.empty() || text.empty()) {
            return;
        }
        if (!isBox) {
            Type(window, reportTitle, L"Bilanz");
            Type(window, reportDescription, L"Größe per Ende Jahr");
        }
        const std::lock_guard guard(lock_);
        answered_.push_back(L"[" + caption + L"] " + text);
    }
    open_[window] = true;
    PostMessageW(button, BM_CLICK, 0, 0);
}

}  // namespace kandora::foreign_tests
