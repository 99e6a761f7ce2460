#pragma once

#include <cstdint>
#include <memory>

#include "automation/Replaceable.h"
#include "automation/Text.h"
#include "support/MessageBoxes.h"

namespace kandora {

/// The dialog in which the user describes a report; a new one for each report.
class ReportDialog : public Replaceable {
public:
    /// Shows the dialog, waits until it is hidden or closed, and tells whether the user confirmed.
    virtual bool GetIndex() = 0;

    /// What the text boxes hold; also after the dialog was closed.
    [[nodiscard]] virtual Text txtKurzbezeichnung() const = 0;
    [[nodiscard]] virtual Text txtBeschreibung() const = 0;
    [[nodiscard]] virtual Text txtVon() const = 0;
    [[nodiscard]] virtual Text txtBis() const = 0;
};

/// Everything that the user sees of this system: message boxes, the input box and the report dialog. All of
/// them wait until the user has closed them, and process the calling thread's messages meanwhile.
class UserInterface : public MessageBoxes {
public:
    /// Asks for one line of text, with the left edge at half the screen's width plus `leftTwips` and the top
    /// edge at half its height plus `topTwips`. Returns the empty text when the user cancels.
    virtual Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                          std::int32_t topTwips) = 0;
    virtual std::unique_ptr<ReportDialog> NewReportDialog() = 0;
};

}  // namespace kandora
