#include "tests/support/FakeUserInterface.h"

#include <utility>

#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

class FakeReportDialog final : public ReportDialog {
public:
    FakeReportDialog(DialogScript script, Conversation& conversation, Seam* seam)
        : script_(std::move(script)), conversation_(conversation), seam_(seam) {}

    bool GetIndex() override {
        const OutsideStretch stretch(seam_);
        const auto carryOut = [&] { return Variant(Shown()); };
        const std::vector<Variant> none;
        const Variant confirmed =
            seam_ == nullptr ? carryOut() : seam_->Around({"user", L"dialog", none, true}, carryOut);
        return confirmed.ToBoolean();
    }
    [[nodiscard]] Text txtKurzbezeichnung() const override { return script_.txtKurzbezeichnung; }
    [[nodiscard]] Text txtBeschreibung() const override { return script_.txtBeschreibung; }
    [[nodiscard]] Text txtVon() const override { return script_.txtVon; }
    [[nodiscard]] Text txtBis() const override { return script_.txtBis; }

private:
    bool Shown() {
        if (script_.failure) {
            conversation_.Add("dialog !! " + std::to_string(script_.failure->Number()));
            throw RuntimeError(*script_.failure);
        }
        conversation_.Add(script_.confirmed ? "dialog -> True" : "dialog -> False");
        return script_.confirmed;
    }

    DialogScript script_;
    Conversation& conversation_;
    Seam* seam_;
};

/// The oldest of what is prepared; a default when there is nothing.
template <class Value>
Value NextOf(std::deque<Value>& prepared, Value otherwise) {
    if (prepared.empty()) {
        return otherwise;
    }
    Value next = std::move(prepared.front());
    prepared.pop_front();
    return next;
}

}  // namespace

Variant FakeUserInterface::Through(TextView operation, const std::vector<Variant>& arguments, bool answered,
                                   const std::function<Variant()>& carryOut) const {
    return seam == nullptr ? carryOut() : seam->Around({"user", operation, arguments, answered}, carryOut);
}

void FakeUserInterface::ShowMessage(const Text& prompt, int style, const Text& caption) {
    const OutsideStretch stretch(seam);
    Through(L"box", {Variant(prompt), Variant(std::int32_t{style}), Variant(caption)}, false, [&] {
        conversation_.Add("box " + Quoted(prompt) + " " + std::to_string(style) +
                          (caption.empty() ? "" : " " + Quoted(caption)));
        if (duringBox) {
            duringBox();
        }
        return Variant();
    });
}

Text FakeUserInterface::InputBox(const Text& prompt, const Text& title, const Text& proposal,
                                 std::int32_t leftTwips, std::int32_t topTwips) {
    const OutsideStretch stretch(seam);
    return Through(L"input", {Variant(prompt), Variant(title), Variant(proposal)}, true,
                   [&] {
                       const Text answer = NextOf(typed, Text());
                       conversation_.Add("input " + Quoted(title) + " " + Quoted(prompt) + " " +
                                         Quoted(proposal) + " " + std::to_string(leftTwips) + " " +
                                         std::to_string(topTwips) + " -> " + Quoted(answer));
                       return Variant(answer);
                   })
        .ToText();
}

std::unique_ptr<ReportDialog> FakeUserInterface::NewReportDialog() {
    const OutsideStretch stretch(seam);
    DialogScript cancelled;
    cancelled.confirmed = false;
    return std::make_unique<FakeReportDialog>(NextOf(dialogs, std::move(cancelled)), conversation_, seam);
}

}  // namespace kandora::test
