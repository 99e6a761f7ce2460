#include "tools/check/Surroundings.h"

#include "accounting/ClientOptions.h"
#include "tools/check/StandIns.h"

namespace kandora::check {

namespace {

class GivenReport final : public ReportDialog {
public:
    explicit GivenReport(const std::optional<ReportRecord>& report) : report_(report) {}

    bool GetIndex() override { return report_.has_value(); }
    [[nodiscard]] Text txtKurzbezeichnung() const override { return Given(&ReportRecord::Kurzbezeichnung); }
    [[nodiscard]] Text txtBeschreibung() const override { return Given(&ReportRecord::Listenbeschreibung); }
    [[nodiscard]] Text txtVon() const override { return Given(&ReportRecord::DatumVon); }
    [[nodiscard]] Text txtBis() const override { return Given(&ReportRecord::DatumBis); }

private:
    [[nodiscard]] Text Given(Text ReportRecord::* field) const {
        return report_ ? (*report_).*field : Text();
    }

    std::optional<ReportRecord> report_;
};

bool IsOpen(const LateBound& client) {
    try {
        return client.Get(L"istoffen").ToBoolean();
    } catch (...) {
        return true;  // whatever it is, it was not opened here
    }
}

}  // namespace

LateBound CheckedPlatform::CreateObject(const Text& progId) {
    LateBound object = ForwardingPlatform::CreateObject(progId);
    if (progId == hostClass && !client_.empty()) {
        openedHere_.push_back(object);
        return NewClientObject(object, client_);
    }
    if (progId == hostClass && !IsOpen(object)) {
        openedHere_.push_back(object);
    }
    return object;
}

void CheckedPlatform::LeaveHost() noexcept {
    for (const LateBound& client : std::exchange(openedHere_, {})) {
        try {
            if (client.Get(L"istoffen").ToBoolean()) {
                client.Call(L"Logout");
            }
        } catch (...) {
            continue;
        }
    }
}

void SilentUserInterface::ShowMessage(const Text& prompt, int /*style*/, const Text& /*caption*/) {
    messages_.push_back(prompt);
}

Text SilentUserInterface::InputBox(const Text& prompt, const Text& /*title*/, const Text& /*proposal*/,
                                   std::int32_t /*leftTwips*/, std::int32_t /*topTwips*/) {
    messages_.push_back(prompt);
    return {};
}

std::unique_ptr<ReportDialog> SilentUserInterface::NewReportDialog() {
    return std::make_unique<GivenReport>(report);
}

Text SilentUserInterface::TakeMessages() {
    return Joined(std::exchange(messages_, {}), L"; ");
}

Text TextOfError(const RuntimeError& error) {
    return L"[" + Decimal(error.Number()) + L"] " + error.Description();
}

}  // namespace kandora::check
