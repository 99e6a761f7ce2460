#include "ui/WindowsUserInterface.h"

#include <utility>

#include "ui/InputForm.h"
#include "ui/frmArchivIndex.h"

namespace kandora {

namespace {

/// A system-modal box is one that stays on top. The platform can combine that with disabling the thread's
/// windows, which a box without an owner does not do by itself, only under these names.
UINT PlatformStyle(int style) {
    const bool onTop = (style & boxstyle::systemModal) != 0;
    const auto rest = static_cast<UINT>(style & ~boxstyle::systemModal);
    return rest | MB_TASKMODAL | MB_SETFOREGROUND | (onTop ? MB_TOPMOST : 0U);
}

Text CaptionOr(const Text& caption) {
    return caption.empty() ? Text(applicationTitle) : Displayable(caption);
}

}  // namespace

WindowsUserInterface::WindowsUserInterface(Platform& platform, std::function<CErrHandler&()> errHandler)
    : platform_(platform), goErrHandler_(std::move(errHandler)) {}

void WindowsUserInterface::ShowMessage(const Text& prompt, int style, const Text& caption) {
    const FocusKeeper keyboard;
    // A box that cannot be shown is no error: it would only end up in another box.
    MessageBoxW(nullptr, Displayable(prompt).c_str(), CaptionOr(caption).c_str(), PlatformStyle(style));
    keyboard.GiveBack();
}

Text WindowsUserInterface::InputBox(const Text& prompt, const Text& title, const Text& proposal,
                                    std::int32_t leftTwips, std::int32_t topTwips) {
    return InputForm(platform_).Ask(prompt, CaptionOr(title), proposal, leftTwips, topTwips);
}

std::unique_ptr<ReportDialog> WindowsUserInterface::NewReportDialog() {
    return std::make_unique<frmArchivIndex>(platform_, *this, goErrHandler_);
}

}  // namespace kandora
