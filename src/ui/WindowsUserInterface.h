#pragma once

#include <functional>

#include "automation/Platform.h"
#include "support/CErrHandler.h"
#include "ui/UserInterface.h"

namespace kandora {

/// Real windows. They have no owner, come to the foreground, and while one is open the calling thread's other
/// windows take no input.
class WindowsUserInterface final : public UserInterface {
public:
    /// The error record is fetched only when it is needed: it is made after this object, which it uses.
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
