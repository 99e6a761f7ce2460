#include <algorithm>
#include <iostream>

#include <gtest/gtest.h>

#include "tests/faults/Sweep.h"
#include "tests/support/Rendering.h"

namespace kandora::test {
namespace {

constexpr std::size_t enoughComplaints = 20;

class Summary final : public testing::Environment {
public:
    void TearDown() override { std::cout << "re-entry sweep: " << Counts().cases << " cases\n"; }
};

const testing::Environment* const summary = testing::AddGlobalTestEnvironment(new Summary);

/// What enters while a request waits: one request after the other.
using Entering = std::vector<std::string>;

const std::vector<Entering> everythingThatEnters{
    {"SaveDocument"},
    {"DocumentChanged"},
    {"DeleteDocument"},
    {"ShowDocument"},
    {"PrintDocument"},
    {"InitProvider"},
    {"StartProvider"},
    {"CreateDocID"},
    {"GetOpenDocInfo"},
    {"GetVirtualPrinterName"},
    {"FibuVersion"},
    {"SavePendingDocument"},
    {"SetDocumentStatus"},
    {"SaveDocument", "DeleteDocument"},
    {"DeleteDocument", "SaveDocument", "CreateDocID", "DocumentChanged"},
};

/// Requests that answer at once, whatever else is going on.
bool AnswersAtOnce(const std::string& request) {
    static const std::vector<std::string> atOnce{"CreateDocID",           "GetOpenDocInfo",
                                                 "GetVirtualPrinterName", "FibuVersion",
                                                 "SavePendingDocument",   "SetDocumentStatus"};
    return std::ranges::find(atOnce, request) != atOnce.end();
}

/// Those among them that ask the host for its client first.
bool AsksAtOnce(const std::string& request) {
    return request == "CreateDocID" || request == "GetOpenDocInfo" || request == "GetVirtualPrinterName";
}

Request Other(const std::string& name) {
    return RequestFor(name, otherVoucher.docId, otherVoucher.number, otherVoucher.index,
                      otherVoucher.barcode);
}

std::vector<Box> ErrorBoxes(const Stage& stage) {
    std::vector<Box> errors;
    for (const Box& box : stage.conductor.boxes) {
        if (box.IsErrorBox() && !box.prompt.starts_with(L"[0] ")) {
            errors.push_back(box);
        }
    }
    return errors;
}

/// Which of the requests has an error, if any.
enum class Faulty { None, InProgress, Entered, Asking };

/// One variation, with requests that enter at every call.
class ReentrySweep {
public:
    explicit ReentrySweep(const Variation& variation, Casting casting = TheComponent)
        : variation_(variation), casting_(std::move(casting)) {}

    /// The request alone; to be made first.
    void Rehearse() {
        Stage stage(variation_, casting_);
        stage.conductor.Begin(true);
        stage.Ask(RequestOf(variation_));
        stage.conductor.End();
        calls_ = stage.conductor.Seen();
        sites_ = SitesOf(calls_, variation_);
    }
    [[nodiscard]] std::size_t Calls() const noexcept { return calls_.size(); }

    /// The requests enter at the call. `distance` says where the fault of an entered request is made: so many
    /// calls after the request in progress, or, for one that asks at once, at which of its own calls.
    Complaints Run(std::size_t call, const Entering& entering, Faulty faulty, std::size_t distance = 0) {
        Complaints complaints;
        ++Counts().cases;
        const int aliveBefore = FakeObject::Alive();
        std::string story;
        {
            Stage stage(variation_, casting_);
            const Entries before = stage.archive.entries;
            stage.archive.filed = 0;
            if (faulty == Faulty::Asking) {
                stage.conductor.PlanAside(distance, Ways().front());
            } else if (faulty != Faulty::None) {
                stage.conductor.Plan(faulty == Faulty::InProgress ? call : calls_.size() + distance,
                                     Ways().front(), Duration::Once);
            }
            stage.conductor.Meanwhile(call, [&] { Enter(stage, entering, faulty, complaints); });
            const Variant result = Sent(stage, variation_, complaints);
            for (const Box& box : stage.conductor.boxes) {
                story += "\n    box " + Quoted(box.prompt);
            }
            CheckErrors(stage, call, entering, faulty, complaints);
            CheckContent(stage, before, entering, faulty, complaints);
            CheckOtherBoxes(stage, entering, complaints);
            if ((ErrorBoxes(stage).empty() || faulty == Faulty::Asking) &&
                Shown(result) != Shown(RightResult(variation_))) {
                complaints.push_back("the result is wrong: " + Shown(result));
            }
            CheckBystanders(before, stage.archive.entries, complaints);
            CheckNothingIsLeft(stage, complaints);
            if (stage.player->globals.Order().IsBusy()) {
                complaints.emplace_back("the request is still in progress");
            }
        }
        if (FakeObject::Alive() != aliveBefore) {
            complaints.emplace_back("objects are still referenced");
        }
        if (!complaints.empty()) {
            std::string names;
            for (const std::string& name : entering) {
                names += " " + name;
            }
            complaints.insert(
                complaints.begin(),
                variation_.name + ", call " + std::to_string(call) + " " + calls_[call - 1].side + "." +
                    Spelled(calls_[call - 1].operation) + ", entered:" + names +
                    (faulty == Faulty::None         ? ""
                     : faulty == Faulty::InProgress ? ", fault in progress"
                     : faulty == Faulty::Asking     ? ", fault at its call " + std::to_string(distance)
                                                    : ", fault after it") +
                    story);
        }
        return complaints;
    }

private:
    /// False when the settings could not be read or have switched the archive off: nothing is filed then.
    [[nodiscard]] static bool IsReadyAfterwards(const Stage& stage) {
        return stage.player->globals.state.gbIniOK;
    }

    /// What must be answered at once: asked anew, for the client as it is at this moment.
    static bool IsOnNow(const Stage& stage) {
        const auto decision = stage.host.options.find(100);
        return stage.player->globals.state.gbIniOK && decision != stage.host.options.end() &&
               LowerCase(decision->second) == L"true";
    }

    static void Enter(Stage& stage, const Entering& entering, Faulty faulty, Complaints& complaints) {
        for (const std::string& name : entering) {
            const Entries before = stage.archive.entries;
            const std::size_t boxes = stage.conductor.boxes.size();
            const std::size_t calls = stage.conductor.Counted();
            const std::size_t failed = stage.conductor.Failed();
            Variation asking = stage.variation;
            asking.request = name;
            asking.client = IsOnNow(stage) ? ClientState::On : ClientState::Off;
            std::optional<Conductor::Aside> aside;
            if (AsksAtOnce(name)) {
                aside.emplace(stage.conductor);
            }
            const Variant result = stage.Ask(Other(name));
            aside.reset();
            const std::size_t made = stage.conductor.Counted() - calls;
            const bool hasFailed = stage.conductor.Failed() != failed;
            if (stage.archive.entries != before || (!hasFailed && stage.conductor.boxes.size() != boxes) ||
                made > (AnswersAtOnce(name) ? 1U : 0U)) {
                complaints.push_back(name + " was carried out under the one in progress");
            }
            const bool isEmpty = result.IsEmpty() || (result.Type() == VT_BSTR && result.ToText().empty());
            const bool mayBeEmpty = faulty == Faulty::Asking && hasFailed;
            if (Shown(result) != Shown(RightResult(asking)) && !(isEmpty && mayBeEmpty)) {
                complaints.push_back(name + " answers " + Shown(result));
            }
        }
    }

    void CheckErrors(const Stage& stage, std::size_t call, const Entering& entering, Faulty faulty,
                     Complaints& complaints) const {
        const std::vector<Box> errors = ErrorBoxes(stage);
        if (errors.size() > (faulty == Faulty::None ? 0U : 1U)) {
            complaints.push_back(std::to_string(errors.size()) + " errors are shown");
        }
        if (faulty == Faulty::InProgress) {
            const Verdict verdict = VerdictOn(sites_[call - 1], Ways().front(), Duration::Once);
            if (verdict.errors == Verdict::Errors::One && errors.empty()) {
                complaints.emplace_back("the error of the request in progress is not shown");
            }
            for (const Box& box : errors) {
                const std::string prompt = Spelled(box.prompt);
                if (verdict.number && !prompt.starts_with("[" + std::to_string(*verdict.number) + "] ")) {
                    complaints.push_back("the error should have the number " +
                                         std::to_string(*verdict.number));
                }
                if (!verdict.frame.empty() &&
                    prompt.find("CALLSTACK: " + verdict.frame) == std::string::npos) {
                    complaints.push_back("the call stack should begin with " + verdict.frame);
                }
            }
            CheckBoxes(stage, {variation_.request}, complaints);
        } else {
            CheckBoxes(stage, entering, complaints);
        }
    }

    static void CheckContent(Stage& stage, const Entries& before, const Entering& entering, Faulty faulty,
                             Complaints& complaints) {
        const Entries& after = stage.archive.entries;
        const bool hasFailed = !ErrorBoxes(stage).empty();
        // The fault meets neither the request in progress nor those that wait.
        const bool isUnharmed = faulty == Faulty::Asking;
        const bool mayFail = !isUnharmed && (hasFailed || stage.conductor.Failed() > 0);
        // What the request in progress can have left, and what each of those that entered makes of it.
        std::vector<Entries> possible{stage.After(before)};
        if (mayFail) {
            possible.push_back(before);
            possible.push_back(stage.AfterWhenNotFound(before));
        }
        for (const std::string& name : entering) {
            const std::size_t known = possible.size();
            for (std::size_t i = 0; i < known; ++i) {
                const Entries done =
                    IsReadyAfterwards(stage) ? stage.After(Other(name), possible[i]) : possible[i];
                if (mayFail && hasFailed && stage.conductor.Failed() > 0) {
                    possible.push_back(done);
                } else {
                    possible[i] = done;
                }
            }
        }
        if (std::ranges::none_of(possible, [&](const Entries& one) { return SameContent(one, after); })) {
            complaints.push_back("the archive holds\n" + Told(after) + "  instead of\n" +
                                 Told(possible.front()));
        }
        CheckSequence(after, before, complaints);
    }

    /// Of two documents that were filed the one of the request in progress is the older.
    static void CheckSequence(const Entries& after, const Entries& before, Complaints& complaints) {
        std::int32_t ownId = 0;
        std::int32_t otherId = 0;
        for (const auto& [id, entry] : after) {
            if (before.contains(id)) {
                continue;
            }
            for (const auto& [position, value] : entry.fields) {
                ownId = value == ownVoucher.docId ? id : ownId;
                otherId = value == otherVoucher.docId ? id : otherId;
            }
        }
        if (ownId != 0 && otherId != 0 && otherId < ownId) {
            complaints.emplace_back("what entered was filed before the one in progress");
        }
    }

    void CheckOtherBoxes(const Stage& stage, const Entering& entering, Complaints& complaints) const {
        if (stage.conductor.Failed() > 0) {
            return;
        }
        const bool isOn = variation_.client != ClientState::Off && IsReadyAfterwards(stage);
        const bool isOff = variation_.client == ClientState::Off && IsReadyAfterwards(stage);
        std::size_t notFound = variation_.request == "ShowDocument" && !variation_.filedBefore ? 1 : 0;
        std::size_t withoutArchive = variation_.request == "StartProvider" && isOff ? 1 : 0;
        for (const std::string& name : entering) {
            notFound += name == "ShowDocument" && isOn ? 1U : 0U;
            withoutArchive += name == "StartProvider" && isOff ? 1U : 0U;
        }
        const auto shown = [&](std::int32_t style) {
            return static_cast<std::size_t>(std::ranges::count(stage.conductor.boxes, style, &Box::style));
        };
        if (shown(64) != notFound) {
            complaints.push_back("the box about a missing document came " + std::to_string(shown(64)) +
                                 " times");
        }
        if (shown(4112) != withoutArchive) {
            complaints.push_back("error boxes came " + std::to_string(shown(4112)) + " times");
        }
        if (shown(0) != 0) {
            complaints.emplace_back("the host's client could not be opened");
        }
    }

    const Variation& variation_;
    Casting casting_;
    std::vector<SeenCall> calls_;
    std::vector<Site> sites_;
};

class Reentry : public testing::TestWithParam<Variation> {};

INSTANTIATE_TEST_SUITE_P(Requests, Reentry, testing::ValuesIn(Variations()),
                         [](const auto& variation) { return variation.param.name; });

TEST_P(Reentry, WhatEntersTakesItsTurn) {
    ReentrySweep sweep(GetParam());
    sweep.Rehearse();
    Complaints all;
    const auto run = [&](std::size_t call, const Entering& entering, Faulty faulty, std::size_t distance) {
        if (all.size() < enoughComplaints) {
            const Complaints found = sweep.Run(call, entering, faulty, distance);
            all.insert(all.end(), found.begin(), found.end());
        }
    };
    for (std::size_t call = 1; call <= sweep.Calls(); ++call) {
        for (const Entering& entering : everythingThatEnters) {
            run(call, entering, Faulty::None, 0);
        }
        // The fault meets another request at each call.
        const std::size_t kinds = everythingThatEnters.size();
        for (std::size_t next = 0; next < 3; ++next) {
            run(call, everythingThatEnters[(3 * call + next) % kinds], Faulty::InProgress, 0);
        }
        run(call, everythingThatEnters[call % 7], Faulty::Entered, 1 + (5 * call) % 67);
        run(call, everythingThatEnters[7 + call % 3], Faulty::Asking, 1 + (7 * call) % 41);
    }
    EXPECT_TRUE(all.empty()) << Joined(all);
}

/// A component that deals in its own way with what enters.
class Mistaken final : public Player {
public:
    using Treatment = std::function<Variant(Mistaken& component, const Request& request)>;

    Mistaken(Stage& stage, Treatment treatment)
        : Player(stage.machine, stage.screen), second(stage.machine, stage.screen),
          treatment_(std::move(treatment)) {}

    Variant Carry(const Request& request) override {
        if (isBusy_) {
            return treatment_(*this, request);
        }
        isBusy_ = true;
        Variant result = Player::Carry(request);
        isBusy_ = false;
        while (!later.empty()) {
            static_cast<void>(Player::Carry(later.back()));
            later.pop_back();
        }
        return result;
    }
    Variant CarryReally(const Request& request) { return Player::Carry(request); }

    Player second;  ///< not held up by the first
    std::vector<Request> later;

private:
    bool isBusy_ = false;
    Treatment treatment_;
};

/// What the sweep finds about such a component when the requests enter while a voucher is filed.
std::string FoundAbout(const Mistaken::Treatment& treatment, const Entering& entering,
                       Faulty faulty = Faulty::None) {
    const Tally before = Counts();
    ReentrySweep sweep(VariationCalled("SaveOfBeleg"),
                       [&](Stage& stage) { return std::make_unique<Mistaken>(stage, treatment); });
    sweep.Rehearse();
    const Complaints found = sweep.Run(sweep.Calls() - 8, entering, faulty);
    Counts() = before;  // only cases about the component are told
    return Joined(found);
}

void ExpectFound(const std::string& found, const std::string& complaint) {
    EXPECT_NE(found.find(complaint), std::string::npos) << "found instead:\n" << found;
}

TEST(ReentryHarness, FindsNothingAboutTheComponent) {
    const auto really = [](Mistaken& component, const Request& request) {
        return component.CarryReally(request);
    };
    EXPECT_EQ(FoundAbout(really, {"SaveDocument"}), "");
    EXPECT_EQ(FoundAbout(really, {"CreateDocID"}), "");
    EXPECT_EQ(FoundAbout(really, {"ShowDocument"}, Faulty::InProgress), "");
}

TEST(ReentryHarness, NoticesARequestThatIsLost) {
    const auto lose = [](Mistaken&, const Request&) { return Variant(); };
    ExpectFound(FoundAbout(lose, {"SaveDocument"}), "the archive holds");
    ExpectFound(FoundAbout(lose, {"ShowDocument"}), "the box about a missing document came 0 times");
}

TEST(ReentryHarness, NoticesARequestThatDoesNotWait) {
    const auto atOnce = [](Mistaken& component, const Request& request) {
        component.second.Carry({"InitProvider", {}, {}});
        return component.second.Carry(request);
    };
    const std::string found = FoundAbout(atOnce, {"SaveDocument"});
    ExpectFound(found, "was carried out under the one in progress");
    ExpectFound(found, "what entered was filed before the one in progress");
}

TEST(ReentryHarness, NoticesTheWrongSequence) {
    const auto keep = [](Mistaken& component, const Request& request) {
        component.later.push_back(request);  // the last one first
        return Variant();
    };
    ExpectFound(FoundAbout(keep, {"SaveDocument", "DeleteDocument"}), "the archive holds");
}

TEST(ReentryHarness, NoticesAnUnusableAnswer) {
    const auto odd = [](Mistaken&, const Request&) { return Variant(L"Unsinn"); };
    ExpectFound(FoundAbout(odd, {"CreateDocID"}), "CreateDocID answers");
}

TEST(ReentryHarness, NoticesAnErrorThatIsColoured) {
    const auto colour = [](Mistaken& component, const Request&) {
        component.globals.goErrHandler().Log(RuntimeError(5), L"Kandora", L"CreateDocID");
        return Variant();
    };
    const std::string found = FoundAbout(colour, {"CreateDocID"}, Faulty::InProgress);
    ExpectFound(found, "the call stack should begin with");
    ExpectFound(FoundAbout(colour, {"CreateDocID"}), "the error is still recorded");
}

TEST(ReentryHarness, NoticesAnErrorThatIsNotShown) {
    const auto failing = [](Mistaken& component, const Request& request) {
        Variant result = component.CarryReally(request);
        component.globals.goErrHandler().ShowError();
        return result;
    };
    ExpectFound(FoundAbout(failing, {"CreateDocID"}), "was carried out under the one in progress");
}

}  // namespace
}  // namespace kandora::test
