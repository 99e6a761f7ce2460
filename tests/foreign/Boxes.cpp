#include "tests/foreign/Boxes.h"

#include <array>
#include <chrono>
#include <utility>

#include "tests/support/ComponentWindows.h"

namespace kandora::foreign_tests {

using test::reportDescription;
using test::reportTitle;
using test::TextOf;
using test::Type;

Boxes::Boxes()
    : thread_([this] {
          while (!hasEnded_) {
              for (auto& [window, isThere] : open_) {
                  isThere = false;
              }
              test::ForEachBox([this](HWND window) { LookAt(window); });
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

void Boxes::LookAt(HWND window) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId()) {
        Look(window);
    }
}

/// A click can be lost while a window is coming up, so it is repeated for as long as the window stays.
void Boxes::Look(HWND window) {
    const auto question = test::QuestionIn(window, reportTitle);
    if (!question) {
        return;
    }
    if (!open_.contains(window)) {
        const std::wstring caption = TextOf(window);
        const std::wstring text = question->isBox ? TextOf(question->prompt) : L"(Formular)";
        if (caption.empty() || text.empty()) {
            return;
        }
        if (!question->isBox) {
            Type(window, reportTitle, L"Bilanz");
            Type(window, reportDescription, L"Größe per Ende Jahr");
        }
        const std::lock_guard guard(lock_);
        answered_.push_back(L"[" + caption + L"] " + text);
    }
    open_[window] = true;
    PostMessageW(question->button, BM_CLICK, 0, 0);
}

}  // namespace kandora::foreign_tests
