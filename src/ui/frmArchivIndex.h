#pragma once

#include <functional>

#include "support/CErrHandler.h"
#include "ui/Form.h"
#include "ui/UserInterface.h"

namespace kandora {

/// The dialog "Auswertung Indizieren". The last button that was clicked before it closed decides whether it
/// is confirmed.
class frmArchivIndex final : public ReportDialog, private Form {
public:
    frmArchivIndex(Platform& platform, MessageBoxes& boxes, std::function<CErrHandler&()> errHandler);

    bool GetIndex() override;

    [[nodiscard]] Text txtKurzbezeichnung() const override;
    [[nodiscard]] Text txtBeschreibung() const override;
    [[nodiscard]] Text txtVon() const override;
    [[nodiscard]] Text txtBis() const override;

private:
    void OnClick(int id) override;
    void cmdArchivierenClick();
    void cmdAbbrechenClick();

    Platform& platform_;
    MessageBoxes& boxes_;
    std::function<CErrHandler&()> goErrHandler_;
    bool confirmed_ = false;
};

}  // namespace kandora
