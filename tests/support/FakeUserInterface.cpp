#include "tests/support/FakeUserInterface.h"

#include <utility>

#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

class FakeReportDialog final : public ReportDialog {
public:
    FakeReportDialog(DialogScript script, Conversation& conversation)
        : script_(std::move(script)), conversation_(conversation) {}

    bool GetIndex() override {
        if (script_.failure) {
            conversation_.Add("dialog !! " + std::to_string(script_.failure->Number()));
            throw RuntimeError(*script_.failure);
        }
        conversation_.Add(script_.confirmed ? "dialog -> True" : "dialog -> False");
        return script_.confirmed;
    }
    [[nodiscard]] Text txtKurzbezeichnung() const override { return script_.txtKurzbezeichnung; }
    [[nodiscard]] Text txtBeschreibung() const override { return script_.txtBeschreibung; }
    [[nodiscard]] Text txtVon() const override { return script_.txtVon; }
    [[nodiscard]] Text txtBis() const override { return script_.txtBis; }

private:
    DialogScript script_;
    Conversation& conversation_;
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

void FakeUserInterface::ShowMessage(const Text& prompt, int style, const Text& caption) {
    conversation_.Add("box " + Quoted(prompt) + " " + std::to_string(style) +
                      (caption.empty() ? "" : " " + Quoted(caption)));
    if (duringBox) {
        duringBox();
    }
}

Text FakeUserInterface::InputBox(const Text& prompt, const Text& title, const Text& proposal,
                                 std::int32_t leftTwips, std::int32_t topTwips) {
    Text answer = NextOf(typed, Text());
    conversation_.Add("input " + Quoted(title) + " " + Quoted(prompt) + " " + Quoted(proposal) + " " +
                      std::to_string(leftTwips) + " " + std::to_string(topTwips) + " -> " + Quoted(answer));
    return answer;
}

std::unique_ptr<ReportDialog> FakeUserInterface::NewReportDialog() {
    DialogScript cancelled;
    cancelled.confirmed = false;
    return std::make_unique<FakeReportDialog>(NextOf(dialogs, std::move(cancelled)), conversation_);
}

}  // namespace kandora::test
