#pragma once

#include <functional>

#include "automation/Platform.h"
#include "support/CErrHandler.h"
#include "ui/UserInterface.h"

namespace kandora {

/// The user interface as the user sees it: real windows. They belong to no window, come to the foreground,
/// and while one is open the calling thread's other windows take no input.
class WindowsUserInterface final : public UserInterface {
public:
    /// The error record is asked for only when it is needed: it needs this object in its turn.
    WindowsUserInterface(Platform& platform, std::function<CErrHandler&()> errHandler);

    void ShowMessage(const Text& prompt, int style, const Text& caption) override;
    Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                  std::int32_t topTwips) override;
    std::unique_ptr<ReportDialog> NewReportDialog() override;

private:
    Platform& platform_;
    std::function<CErrHandler&()> goErrHandler_;
};

}  // namespace kandora
