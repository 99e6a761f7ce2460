#include "ui/WindowsUserInterface.h"

#include <optional>
#include <utility>

#include "ui/InputForm.h"
#include "ui/frmArchivIndex.h"

namespace kandora {

namespace {

Text CaptionOr(const Text& caption) {
    return caption.empty() ? Text(applicationTitle) : Displayable(caption);
}

}  // namespace

WindowsUserInterface::WindowsUserInterface(Platform& platform, std::function<CErrHandler&()> errHandler)
    : platform_(platform), goErrHandler_(std::move(errHandler)) {}

void WindowsUserInterface::ShowMessage(const Text& prompt, int style, const Text& caption) {
    const FocusKeeper keyboard;
    // For a box without an owner the platform disables the thread's windows only when it is task-modal, and a
    // system-modal one cannot be that as well.
    const bool systemModal = (style & boxstyle::systemModal) != 0;
    std::optional<OtherWindowsDisabled> others;
    if (systemModal) {
        others.emplace(nullptr);
    }
    // A box that cannot be shown is no error: it would only end up in another box.
    MessageBoxW(nullptr, Displayable(prompt).c_str(), CaptionOr(caption).c_str(),
                static_cast<UINT>(style) | MB_SETFOREGROUND | (systemModal ? 0U : MB_TASKMODAL));
    others.reset();
    keyboard.GiveBack(true);
}

Text WindowsUserInterface::InputBox(const Text& prompt, const Text& title, const Text& proposal,
                                    std::int32_t leftTwips, std::int32_t topTwips) {
    return InputForm(platform_).Ask(prompt, CaptionOr(title), proposal, leftTwips, topTwips);
}

std::unique_ptr<ReportDialog> WindowsUserInterface::NewReportDialog() {
    return std::make_unique<frmArchivIndex>(platform_, *this, goErrHandler_);
}

}  // namespace kandora
