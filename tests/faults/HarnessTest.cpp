#include <algorithm>
#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/faults/Sweep.h"
#include "tests/support/Rendering.h"

namespace kandora::test {
namespace {

/// Changes what the user gets to see.
class Screen final : public UserInterface {
public:
    /// Shows the box, or what it makes of it, on the real screen.
    using Treatment = std::function<void(UserInterface& screen, const Box& box)>;

    Screen(UserInterface& screen, Treatment treatment) : screen_(screen), treatment_(std::move(treatment)) {}

    void ShowMessage(const Text& prompt, int style, const Text& caption) override {
        const Box box{prompt, style, caption};
        if (box.IsErrorBox()) {
            treatment_(screen_, box);
        } else {
            screen_.ShowMessage(prompt, style, caption);
        }
    }
    Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                  std::int32_t topTwips) override {
        return screen_.InputBox(prompt, title, proposal, leftTwips, topTwips);
    }
    std::unique_ptr<ReportDialog> NewReportDialog() override { return screen_.NewReportDialog(); }

private:
    UserInterface& screen_;
    Treatment treatment_;
};

struct ScreenHolder {
    Screen screen;
};

/// A component whose error boxes are tampered with.
class Tampered final : private ScreenHolder, public Player {
public:
    Tampered(Stage& stage, Screen::Treatment treatment)
        : ScreenHolder{{stage.screen, std::move(treatment)}}, Player(stage.machine, screen) {}
};

Casting WithBoxes(const Screen::Treatment& treatment) {
    return [treatment](Stage& stage) { return std::make_unique<Tampered>(stage, treatment); };
}

/// With another prompt.
Casting Telling(const std::function<Text(const Text&)>& change) {
    return WithBoxes([change](UserInterface& screen, const Box& box) {
        screen.ShowMessage(change(box.prompt), box.style, box.caption);
    });
}

/// A component that does something of its own after each request, or instead of it.
class Doing final : public Player {
public:
    using Action = std::function<Variant(Player& component, Stage& stage, const Request& request)>;

    Doing(Stage& stage, Action action)
        : Player(stage.machine, stage.screen), stage_(stage), action_(std::move(action)) {}

    Variant Carry(const Request& request) override { return action_(*this, stage_, request); }
    Variant CarryReally(const Request& request) { return Player::Carry(request); }

private:
    Stage& stage_;
    Action action_;
};

Casting That(const Doing::Action& action) {
    return [action](Stage& stage) { return std::make_unique<Doing>(stage, action); };
}

Variant Really(Player& component, const Request& request) {
    return dynamic_cast<Doing&>(component).CarryReally(request);
}

/// The real component, which does something else after each request.
Casting Afterwards(const std::function<void(Player&, Stage&)>& action) {
    return That([action](Player& component, Stage& stage, const Request& request) {
        Variant result = Really(component, request);
        action(component, stage);
        return result;
    });
}

bool HasFailed(const Stage& stage) {
    return stage.conductor.Failed() > 0;
}

std::string All(const Complaints& complaints) {
    std::string text;
    for (const std::string& complaint : complaints) {
        text += complaint + "\n";
    }
    return text;
}

/// What the harness finds about the component: in the rehearsal, and when each call of the named member
/// fails.
std::string FoundAbout(const Casting& casting, const char* variation = "SaveOfBeleg",
                       const wchar_t* member = L"AddPostboxFile", bool isInjecting = true) {
    const Tally before = Counts();
    Sweep sweep(VariationCalled(variation), casting);
    std::string found = All(sweep.Rehearse());
    sweep.isInjecting = isInjecting;
    for (std::size_t call = 1; call <= sweep.Sites().size(); ++call) {
        if (sweep.Sites()[call - 1].call->operation == member) {
            found += All(sweep.Run(call, Ways().front(), Duration::Once));
        }
    }
    Counts() = before;  // only cases about the component are told
    return found;
}

void ExpectFound(const std::string& found, const std::string& complaint) {
    EXPECT_NE(found.find(complaint), std::string::npos) << "found instead:\n" << found;
}

TEST(Harness, FindsNothingAboutTheComponent) {
    EXPECT_EQ(FoundAbout(TheComponent), "");
}

TEST(Harness, NoticesThatNoFaultIsMade) {
    ExpectFound(FoundAbout(TheComponent, "SaveOfBeleg", L"AddPostboxFile", false), "the fault was not made");
}

TEST(Harness, NoticesAnErrorThatIsNotShown) {
    ExpectFound(FoundAbout(WithBoxes([](UserInterface&, const Box&) {})),
                "one error box was expected, 0 came");
}

TEST(Harness, NoticesAnErrorThatIsShownTwice) {
    ExpectFound(FoundAbout(WithBoxes([](UserInterface& screen, const Box& box) {
                    screen.ShowMessage(box.prompt, box.style, box.caption);
                    screen.ShowMessage(box.prompt, box.style, box.caption);
                })),
                "more than one error box");
}

TEST(Harness, NoticesAnErrorThatIsNone) {
    ExpectFound(FoundAbout(Afterwards(
                    [](Player& component, Stage&) { component.globals.goErrHandler().ShowError(); })),
                "no error was to be shown, but was");
}

TEST(Harness, NoticesAnotherCaption) {
    ExpectFound(FoundAbout(WithBoxes([](UserInterface& screen, const Box& box) {
                    screen.ShowMessage(box.prompt, box.style, L"Archiv");
                })),
                "the error box has the caption \"Archiv\"");
}

TEST(Harness, NoticesAnotherStyle) {
    ExpectFound(FoundAbout(WithBoxes([](UserInterface& screen, const Box& box) {
                    screen.ShowMessage(box.prompt, 16, box.caption);
                })),
                "one error box was expected, 0 came");
}

TEST(Harness, NoticesAnotherNumber) {
    ExpectFound(
        FoundAbout(Telling([](const Text& prompt) { return Replaced(prompt, L"[1234]", L"[12345]"); })),
        "the error box should tell number 1234");
}

TEST(Harness, NoticesAnotherDescription) {
    ExpectFound(FoundAbout(Telling([](const Text& prompt) { return Replaced(prompt, L"Müller", L"Meier"); })),
                "the error box should tell: ");
}

TEST(Harness, NoticesACallStackWithoutItsBeginning) {
    ExpectFound(
        FoundAbout(Telling([](const Text& prompt) { return Replaced(prompt, L"ELODMS.AddBeleg <- ", L""); })),
        "the call stack should begin with ELODMS.AddBeleg");
}

TEST(Harness, NoticesACallStackWithoutItsEnd) {
    ExpectFound(FoundAbout(Telling(
                    [](const Text& prompt) { return Replaced(prompt, L" <- Kandora.SaveDocument", L""); })),
                "the call stack does not end in the request");
}

TEST(Harness, NoticesAFrameThatStandsTwice) {
    ExpectFound(FoundAbout(Telling([](const Text& prompt) {
                    return Replaced(prompt, L" <- Kandora.SaveDocument",
                                    L" <- Kandora.SaveDocument <- Kandora.SaveDocument");
                })),
                "a frame stands twice in the call stack");
}

TEST(Harness, NoticesAnExceptionThatReachesTheHost) {
    ExpectFound(FoundAbout(That([](Player& component, Stage& stage, const Request& request) {
                    Variant result = Really(component, request);
                    if (HasFailed(stage)) {
                        throw std::runtime_error("out of the component");
                    }
                    return result;
                })),
                "an exception reached the host");
}

TEST(Harness, NoticesAnErrorThatStaysRecorded) {
    ExpectFound(FoundAbout(Afterwards([](Player& component, Stage& stage) {
                    if (HasFailed(stage)) {
                        component.globals.goErrHandler().Log(RuntimeError(5), L"ELODMS", L"AddBeleg");
                    }
                })),
                "the error is still recorded");
}

TEST(Harness, NoticesADocumentThatIsFiledTwice) {
    ExpectFound(FoundAbout(That([](Player& component, Stage&, const Request& request) {
                    static_cast<void>(Really(component, request));
                    return Really(component, request);
                })),
                "filed twice");
}

TEST(Harness, NoticesADocumentThatIsNotFiled) {
    ExpectFound(FoundAbout(That([](Player&, Stage&, const Request&) { return Variant(); })),
                "the archive holds");
}

TEST(Harness, NoticesADocumentThatIsFiledThoughTheRequestFailedBefore) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) {
                    if (HasFailed(stage)) {
                        stage.archive.AddEntry(stage.EntryOf(RequestOf(stage.variation)));
                    }
                })),
                "the archive holds");
}

TEST(Harness, NoticesAWrongField) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) {
                    stage.archive.entries.rbegin()->second.fields[14] = L"Bezahlt";
                })),
                "the archive holds");
}

TEST(Harness, NoticesAnotherEntryThatChanged) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) {
                    if (HasFailed(stage)) {
                        stage.archive.entries.begin()->second.shortName = L"verschrieben";
                    }
                })),
                "another entry was changed");
}

TEST(Harness, NoticesAnotherEntryThatIsGone) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) {
                    stage.archive.entries.erase(stage.archive.entries.begin());
                })),
                "another entry was changed");
}

TEST(Harness, NoticesARequestThatCannotBeRepeated) {
    const auto hasFailed = std::make_shared<bool>(false);
    ExpectFound(FoundAbout(That([hasFailed](Player& component, Stage& stage, const Request& request) {
                    if (std::exchange(*hasFailed, HasFailed(stage))) {
                        return Variant();
                    }
                    Variant result = Really(component, request);
                    *hasFailed = HasFailed(stage);
                    return result;
                })),
                "after the repetition the archive holds");
}

TEST(Harness, NoticesARequestThatFailsAgain) {
    const auto hasFailed = std::make_shared<bool>(false);
    ExpectFound(FoundAbout(That([hasFailed](Player& component, Stage& stage, const Request& request) {
                    Variant result = Really(component, request);
                    if (std::exchange(*hasFailed, HasFailed(stage))) {
                        component.globals.goErrHandler().ShowError();
                    }
                    return result;
                })),
                "the repeated request fails");
}

TEST(Harness, NoticesAWrongResult) {
    const Casting casting = That([](Player& component, Stage& stage, const Request& request) {
        static_cast<void>(Really(component, request));
        return HasFailed(stage) ? Variant(L"1") : Variant(L"20261115011258");
    });
    const std::string found = FoundAbout(casting, "DocId", L"IniLesen");
    ExpectFound(found, "the result is neither right nor empty");
    ExpectFound(found, "a failed request has a result");
}

TEST(Harness, NoticesAResultThatIsMissing) {
    ExpectFound(FoundAbout(That([](Player& component, Stage&, const Request& request) {
                               static_cast<void>(Really(component, request));
                               return Variant();
                           }),
                           "PrinterName", L"IniLesen"),
                "the result is wrong");
}

TEST(Harness, NoticesAReferenceThatIsKept) {
    // Given back at the end of the test.
    std::vector<Fake> kept;
    const std::string found = FoundAbout(Afterwards([&kept](Player&, Stage& stage) {
        if (HasFailed(stage)) {
            kept.emplace_back("kept");
        }
    }));
    ExpectFound(found, "objects instead of");
    ExpectFound(found, "objects are still referenced after the component's end");
}

TEST(Harness, NoticesABoxAboutTheHostsClientThatIsMissing) {
    // Swallows boxes of the style that belongs to no error.
    class Silent final : public Player {
    public:
        explicit Silent(Stage& stage) : Player(stage.machine, stage.screen), stage_(stage) {}
        Variant Carry(const Request& request) override {
            Variant result = Player::Carry(request);
            std::erase_if(stage_.conductor.boxes, [](const Box& box) { return box.style == 0; });
            return result;
        }

    private:
        Stage& stage_;
    };
    ExpectFound(FoundAbout([](Stage& stage) { return std::make_unique<Silent>(stage); }, "SaveOfBeleg",
                           L"letztermandant"),
                "the boxes about the host's client are others than expected");
}

TEST(Harness, NoticesABoxAboutAMissingDocumentThatIsMissing) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) { stage.conductor.boxes.clear(); }),
                           "ShowUnfiled", L"DoInvisibleSearch"),
                "the box about a missing document came 0 times");
}

TEST(Harness, NoticesABoxAboutTheSettingsThatIsMissing) {
    ExpectFound(FoundAbout(Afterwards([](Player&, Stage& stage) { stage.conductor.boxes.clear(); }),
                           "InitSwitchedOffLater", L"profile"),
                "the box about the settings came 0 times");
}

}  // namespace
}  // namespace kandora::test
