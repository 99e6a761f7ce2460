#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "automation/Errors.h"
#include "tests/support/Conversation.h"
#include "tests/support/Seam.h"
#include "ui/UserInterface.h"

namespace kandora::test {

/// What the user does with a report dialog.
struct DialogScript {
    bool confirmed = true;
    Text txtKurzbezeichnung;
    Text txtBeschreibung;
    Text txtVon;
    Text txtBis;
    std::optional<RuntimeError> failure;  ///< raised instead of showing the dialog
};

/// A screen and a user in memory. What is shown goes to the conversation:
///
///     box "text" 4112 "Kandora"                               prompt, style, caption if there is one
///     input "title" "prompt" "proposal" -2500 -1500 -> "..."  what the user answers
///     dialog -> True                                          the report dialog; False: not confirmed
class FakeUserInterface final : public UserInterface {
public:
    explicit FakeUserInterface(Conversation& conversation) : conversation_(conversation) {}

    /// What the user types next; with nothing prepared the input box is cancelled.
    std::deque<Text> typed;
    /// What the user does with the next dialogs.
    std::deque<DialogScript> dialogs;
    /// What happens while a box is on the screen.
    std::function<void()> duringBox;
    /// Whatever is shown goes through it, if set.
    Seam* seam = nullptr;

    void ShowMessage(const Text& prompt, int style, const Text& caption) override;
    Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                  std::int32_t topTwips) override;
    std::unique_ptr<ReportDialog> NewReportDialog() override;

private:
    Variant Through(TextView operation, const std::vector<Variant>& arguments, bool answered,
                    const std::function<Variant()>& carryOut) const;

    Conversation& conversation_;
};

}  // namespace kandora::test
