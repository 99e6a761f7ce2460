#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "automation/WindowsPlatform.h"
#include "provider/MGlobals.h"
#include "tools/check/ForwardingPlatform.h"
#include "tools/check/OwnRights.h"
#include "ui/UserInterface.h"

namespace kandora::check {

/// The machine as the checked component would see it: its own file is the one that is checked, so that INI
/// file and log are looked for beside it. No file is ever written.
class CheckedPlatform final : public ForwardingPlatform {
public:
    CheckedPlatform(Platform& machine, Text componentFile)
        : ForwardingPlatform(machine), componentFile_(std::move(componentFile)) {}

    LateBound CreateObject(const Text& progId) override;
    bool WritePrivateProfileString(const char*, const char*, const char*, const std::string&) override {
        return false;
    }
    void AppendToFile(const Text&, const std::string&) override {}
    Text ComponentFile() override { return componentFile_; }

    /// From now on the host's objects stand for this client, which each of them opens for itself; for the one
    /// that its user has open when the path is empty.
    void UseClient(const Text& path) { client_ = path; }
    /// Closes the host's client where a check has opened it. Errors are ignored.
    void LeaveHost() noexcept;

private:
    Text componentFile_;
    Text client_;
    std::vector<LateBound> openedHere_;
};

/// Shows nothing: what a user would be told is kept for the report.
class SilentUserInterface final : public UserInterface {
public:
    void ShowMessage(const Text& prompt, int style, const Text& caption) override;
    /// Cancels.
    Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                  std::int32_t topTwips) override;
    /// Confirms with the description that was set; cancels when there is none.
    std::unique_ptr<ReportDialog> NewReportDialog() override;

    /// What was to be shown since the last call, joined.
    Text TakeMessages();

    std::optional<ReportRecord> report;

private:
    std::vector<Text> messages_;
};

/// What the checks work with: the component's own parts on top of the two above.
struct Surroundings {
    Surroundings(const Text& componentFile, const OwnRights& rightsOfThisProgram)
        : rights(rightsOfThisProgram), platform(windows, componentFile), globals(platform, screen) {}

    const OwnRights& rights;
    WindowsPlatform windows;
    CheckedPlatform platform;
    SilentUserInterface screen;
    MGlobals globals;
};

/// Number and text of an error, as a value of a finding.
Text TextOfError(const RuntimeError& error);

}  // namespace kandora::check
