#include "tests/faults/Sweep.h"

#include <algorithm>
#include <set>

#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

constexpr std::size_t enoughComplaints = 20;
constexpr std::int32_t errorBoxStyle = 4112;

std::vector<std::string> FramesIn(const std::string& prompt) {
    static const std::string lead = " | ON LINE 0 | CALLSTACK: ";
    static const std::string arrow = " <- ";
    const std::size_t start = prompt.find(lead);
    std::vector<std::string> frames;
    if (start == std::string::npos) {
        return frames;
    }
    std::string rest = prompt.substr(start + lead.size());
    for (std::size_t end = rest.find(arrow); end != std::string::npos; end = rest.find(arrow)) {
        frames.push_back(rest.substr(0, end));
        rest.erase(0, end + arrow.size());
    }
    frames.push_back(rest);
    return frames;
}

bool SameValue(const Variant& one, const Variant& other) {
    return Shown(one) == Shown(other) && one.Type() == other.Type() &&
           (!one.IsArray() ||
            std::ranges::equal(one.Elements(), other.Elements(),
                               [](const auto& a, const auto& b) { return a.ToText() == b.ToText(); }));
}

bool IsEmptyResult(const Variant& result) {
    return result.IsEmpty() || (result.Type() == VT_BSTR && result.ToText().empty());
}

std::multiset<std::string> LinesOf(const Entries& entries) {
    std::multiset<std::string> lines;
    for (const auto& [id, entry] : entries) {
        lines.insert(Told({{0, entry}}) + Quoted(entry.file));
    }
    return lines;
}

/// Boxes that belong to the request itself when it succeeds.
struct ExpectedBoxes {
    std::size_t errors = 0;
    std::size_t notFound = 0;
    std::size_t exclamation = 0;
};

ExpectedBoxes WithoutFault(const Variation& variation) {
    ExpectedBoxes boxes;
    boxes.errors = variation.request == "StartProvider" && variation.client == ClientState::Off ? 1 : 0;
    boxes.notFound = variation.request == "ShowDocument" && !variation.filedBefore ? 1 : 0;
    boxes.exclamation = variation.begin == Begin::SwitchedOffLater ? 1 : 0;
    return boxes;
}

std::size_t CountStyle(const std::vector<Box>& boxes, std::int32_t style) {
    return static_cast<std::size_t>(std::ranges::count(boxes, style, &Box::style));
}

/// The notice that the open client has no archive is an error box without an error.
bool IsWithoutError(const Box& box) {
    return box.IsErrorBox() && box.prompt.starts_with(L"[0] ");
}

std::string ToldBoxes(const std::vector<Box>& boxes) {
    std::string told;
    for (const Box& box : boxes) {
        told += "\n    box " + Quoted(box.prompt) + " " + std::to_string(box.style) + " " +
                Quoted(box.caption) + (box.shown ? "" : " (not shown)");
    }
    return told;
}

/// One case: what was before and what is after.
class Case {
public:
    Case(Stage& stage, const Verdict& verdict, Complaints& complaints)
        : stage_(stage), verdict_(verdict), complaints_(complaints), before_(stage.archive.entries) {}

    void Check(const Variant& result) {
        CheckBoxes(stage_, {stage_.variation.request}, complaints_);
        CheckNumbers();
        CheckResult(result);
        CheckContent();
        CheckNothingIsLeft(stage_, complaints_);
    }
    [[nodiscard]] bool IsHalfDone() const noexcept { return halfDone_; }
    [[nodiscard]] bool Failed() const { return failed_; }

private:
    void Complain(const std::string& text) { complaints_.push_back(text); }

    void CheckNumbers() {
        const std::vector<Box>& boxes = stage_.conductor.boxes;
        const ExpectedBoxes clean = WithoutFault(stage_.variation);
        const auto isAboutFault = [](const Box& box) { return box.IsErrorBox() && !IsWithoutError(box); };
        const auto errors = std::ranges::count_if(boxes, isAboutFault);
        const auto without = static_cast<std::size_t>(std::ranges::count_if(boxes, IsWithoutError));
        failed_ = errors > 0;
        if (verdict_.errors == Verdict::Errors::One && errors != 1) {
            Complain("one error box was expected, " + std::to_string(errors) + " came");
        }
        const bool mayBeAbsent = failed_ || verdict_.outcome == Outcome::AsHostSaid;
        if ((verdict_.errors == Verdict::Errors::None && failed_) || without > clean.errors ||
            (without < clean.errors && !mayBeAbsent)) {
            Complain("no error was to be shown, but was");
        }
        if (errors > 1) {
            Complain("more than one error box");
        }
        if (const auto box = std::ranges::find_if(boxes, isAboutFault); box != boxes.end()) {
            CheckErrorBox(Spelled(box->prompt));
        }
        std::vector<Text> hostBoxes;
        for (const Box& box : boxes) {
            if (box.style == 0) {
                hostBoxes.push_back(box.prompt);
            }
        }
        if (verdict_.hostBoxesKnown && hostBoxes != verdict_.hostBoxes &&
            (!failed_ || !hostBoxes.empty() || verdict_.errors != Verdict::Errors::Either)) {
            Complain("the boxes about the host's client are others than expected");
        }
        CheckOwnBoxes(clean);
    }

    void CheckErrorBox(const std::string& prompt) {
        if (verdict_.number && !prompt.starts_with("[" + std::to_string(*verdict_.number) + "] ")) {
            Complain("the error box should tell number " + std::to_string(*verdict_.number));
        }
        if (verdict_.number && verdict_.description &&
            !prompt.starts_with("[" + std::to_string(*verdict_.number) + "] " +
                                Spelled(*verdict_.description) + " | ")) {
            Complain("the error box should tell: " + Spelled(*verdict_.description));
        }
        const std::vector<std::string> frames = FramesIn(prompt);
        if (!verdict_.frame.empty() && (frames.empty() || frames.front() != verdict_.frame)) {
            Complain("the call stack should begin with " + verdict_.frame);
        }
    }

    void CheckOwnBoxes(const ExpectedBoxes& clean) {
        const std::size_t notFound = CountStyle(stage_.conductor.boxes, 64);
        const std::size_t exclamation = CountStyle(stage_.conductor.boxes, 48);
        const bool isShowing = stage_.variation.request == "ShowDocument";
        const bool mayDiffer =
            failed_ || verdict_.outcome == Outcome::MaybeUnfound || verdict_.outcome == Outcome::AsHostSaid;
        if (notFound > (isShowing ? 1U : 0U) || (!mayDiffer && notFound != clean.notFound)) {
            Complain("the box about a missing document came " + std::to_string(notFound) + " times");
        }
        if (exclamation > clean.exclamation || (!mayDiffer && exclamation != clean.exclamation)) {
            Complain("the box about the settings came " + std::to_string(exclamation) + " times");
        }
    }

    void CheckResult(const Variant& result) {
        const Variant right = RightResult(stage_.variation);
        const bool isRight = SameValue(result, right);
        if (!isRight && !IsEmptyResult(result) && verdict_.outcome != Outcome::AsHostSaid) {
            Complain("the result is neither right nor empty: " + Shown(result));
        }
        if (!failed_ && !isRight && verdict_.outcome != Outcome::AsHostSaid) {
            Complain("the result is wrong: " + Shown(result));
        }
        if (failed_ && !IsEmptyResult(result)) {
            Complain("a failed request has a result: " + Shown(result));
        }
    }

    void CheckContent() {
        const Entries& after = stage_.archive.entries;
        CheckBystanders(before_, after, complaints_);
        if (stage_.archive.filed > 1) {
            Complain("filed twice");
        }
        const Entries requested = stage_.After(before_);
        const bool isUnchanged = SameContent(after, before_);
        const bool isDone = SameContent(after, requested);
        const bool isUnfound = SameContent(after, stage_.AfterWhenNotFound(before_));
        bool isRight = isDone;
        if (failed_) {
            halfDone_ = isDone && !isUnchanged;
            isRight = isUnchanged || (halfDone_ && verdict_.mayBeHalfDone);
        } else if (verdict_.outcome == Outcome::MaybeUnfound) {
            halfDone_ = !isDone;
            isRight = isDone || isUnfound;
        } else if (verdict_.outcome == Outcome::ChangeLost) {
            halfDone_ = isUnchanged;
            isRight = isUnchanged || isDone;
        }
        if (!isRight && verdict_.outcome != Outcome::AsHostSaid) {
            Complain("the archive holds\n" + Told(after) + "  instead of\n" +
                     Told(failed_ ? before_ : requested));
        }
    }

    Stage& stage_;
    const Verdict& verdict_;
    Complaints& complaints_;
    Entries before_;
    bool failed_ = false;
    bool halfDone_ = false;
};

}  // namespace

std::string Joined(const Complaints& complaints) {
    std::string text;
    for (const std::string& complaint : complaints) {
        text += complaint + "\n";
    }
    return text;
}

Variant Sent(Stage& stage, const Variation& variation, Complaints& complaints, const char* when) {
    Variant result;
    stage.conductor.Begin();
    try {
        result = stage.Ask(RequestOf(variation));
    } catch (...) {
        complaints.push_back(std::string("an exception reached the host") + when);
    }
    stage.conductor.End();
    return result;
}

Tally& Counts() {
    static Tally tally;
    return tally;
}

Variant RightResult(const Variation& variation) {
    const bool isOn = variation.client != ClientState::Off;
    if (variation.request == "CreateDocID") {
        return Variant(isOn ? L"20261115011258" : L"");
    }
    if (variation.request == "GetVirtualPrinterName") {
        return Variant(isOn ? L"ELO Drucker" : L"");
    }
    if (variation.request == "GetOpenDocInfo" && isOn) {
        return Variant::ArrayOf(
            std::vector<Text>{L"OpenDocInfo0", L"OpenDocInfo1", L"OpenDocInfo2", L"1258"});
    }
    return {};
}

bool SameContent(const Entries& one, const Entries& other) {
    return one == other || LinesOf(one) == LinesOf(other);
}

void CheckBystanders(const Entries& before, const Entries& after, Complaints& complaints) {
    for (const auto& [id, entry] : before) {
        const auto found = after.find(id);
        if (!Stage::IsOwn(entry) && (found == after.end() || found->second != entry)) {
            complaints.emplace_back("another entry was changed:\n" + Told({{id, entry}}));
        }
    }
}

void CheckBoxes(const Stage& stage, const std::vector<std::string>& requests, Complaints& complaints) {
    const auto isOutermost = [&](const std::string& frame) {
        return std::ranges::any_of(requests,
                                   [&](const std::string& request) { return frame == "Kandora." + request; });
    };
    for (const Box& box : stage.conductor.boxes) {
        if (!box.IsErrorBox()) {
            continue;
        }
        if (box.caption != L"Kandora") {
            complaints.emplace_back("the error box has the caption " + Quoted(box.caption));
        }
        const std::vector<std::string> frames = FramesIn(Spelled(box.prompt));
        if (frames.empty() ||
            !(IsWithoutError(box) ? frames.back() == "Kandora.StartProvider" : isOutermost(frames.back()))) {
            complaints.emplace_back("the call stack does not end in the request");
        }
        // A recorded number 0 counts as nothing recorded, but its frame stays.
        const bool mayRepeat = std::ranges::any_of(stage.conductor.boxes, [](const Box& earlier) {
            return IsWithoutError(earlier) && !earlier.shown;
        });
        if (!mayRepeat && std::set<std::string>(frames.begin(), frames.end()).size() != frames.size()) {
            complaints.emplace_back("a frame stands twice in the call stack");
        }
    }
}

void CheckNothingIsLeft(Stage& stage, Complaints& complaints) {
    const CErrHandler& handler = stage.player->globals.goErrHandler();
    const Variant frames = handler.vasCallStack();
    if (handler.lOriginalNumber() != 0 || handler.lNumber() != 0 || !handler.sDescription().empty() ||
        !handler.sOriginalDescription().empty() || (frames.IsArray() && !frames.Elements().empty())) {
        complaints.emplace_back("the error is still recorded");
    }
}

Sweep::Sweep(const Variation& variation, Casting casting)
    : variation_(variation), casting_(std::move(casting)) {}

Complaints Sweep::Rehearse() {
    Complaints complaints;
    const int aliveBefore = FakeObject::Alive();
    {
        Stage stage(variation_, casting_);
        const Verdict clean;
        stage.conductor.Begin(true);
        for (int time = 0; time < 2; ++time) {
            Case check(stage, clean, complaints);
            stage.archive.filed = 0;
            stage.conductor.boxes.clear();
            const Variant result = stage.Ask(RequestOf(variation_));
            stage.conductor.End();
            if (time == 0) {
                calls_ = stage.conductor.Seen();
                sites_ = SitesOf(calls_, variation_);
                check.Check(result);
            }
            stage.conductor.Begin();
        }
        aliveAfterwards_ = FakeObject::Alive() - aliveBefore;
    }
    if (FakeObject::Alive() != aliveBefore) {
        complaints.emplace_back("objects are still referenced");
    }
    return complaints;
}

Complaints Sweep::Run(std::size_t call, const Way& way, Duration duration) {
    Complaints complaints;
    const Site& site = sites_.at(call - 1);
    const Verdict verdict = VerdictOn(site, way, duration);
    const int aliveBefore = FakeObject::Alive();
    std::string story;
    ++Counts().cases;
    {
        Stage stage(variation_, casting_);
        Case check(stage, verdict, complaints);
        const Entries before = stage.archive.entries;
        if (isInjecting) {
            stage.conductor.Plan(call, way, duration);
        }
        stage.archive.filed = 0;
        Variant result = Sent(stage, variation_, complaints);
        if (stage.conductor.Failed() == 0) {
            complaints.emplace_back("the fault was not made");
        }
        check.Check(result);
        story = ToldBoxes(stage.conductor.boxes);
        if (check.IsHalfDone()) {
            ++Counts()
                  .halfDone[variation_.request + ", fault in " + Spelled(site.call->operation) + ": " +
                            (check.Failed()                               ? "done, and reported as failed"
                             : SameContent(before, stage.archive.entries) ? "not done, and not noticed"
                                                                          : "done anew, and not noticed")];
        }

        // The same again, and nothing fails.
        const bool isKnown = verdict.outcome != Outcome::AsHostSaid;
        const bool isAstray = verdict.outcome == Outcome::SetUpAstray;
        const Entries left = stage.archive.entries;
        stage.conductor.Plan(0, way, Duration::Once);
        result = Sent(stage, variation_, complaints, " when the request was repeated");
        const std::size_t errors = CountStyle(stage.conductor.boxes, errorBoxStyle);
        if (isKnown && !isAstray && errors != WithoutFault(variation_).errors) {
            complaints.emplace_back("the repeated request fails");
        }
        if (isKnown && !isAstray && !SameContent(stage.archive.entries, stage.After(left))) {
            complaints.emplace_back("after the repetition the archive holds\n" + Told(stage.archive.entries) +
                                    "  instead of\n" + Told(stage.After(left)));
        }
        if (isKnown && !isAstray && !SameValue(result, RightResult(variation_))) {
            complaints.emplace_back("the repeated request answers " + Shown(result));
        }
        CheckBystanders(left, stage.archive.entries, complaints);
        CheckNothingIsLeft(stage, complaints);
        if (isKnown && !isAstray && FakeObject::Alive() - aliveBefore != aliveAfterwards_) {
            complaints.push_back(std::to_string(FakeObject::Alive() - aliveBefore) + " objects instead of " +
                                 std::to_string(aliveAfterwards_));
        }
        if (!complaints.empty()) {
            story += ToldBoxes(stage.conductor.boxes);
        }
    }
    if (FakeObject::Alive() != aliveBefore) {
        complaints.emplace_back("objects are still referenced after the component's end");
    }
    if (!complaints.empty()) {
        const std::string duringWhat[] = {"once", "from then on", "and no box can be shown"};
        complaints.insert(complaints.begin(), variation_.name + ", call " + std::to_string(call) + " " +
                                                  site.call->side + "." + Spelled(site.call->operation) +
                                                  ", " + way.name + ", " +
                                                  duringWhat[static_cast<std::size_t>(duration)] + story);
    }
    return complaints;
}

Complaints Sweep::RunAll() {
    Complaints all;
    for (std::size_t call = 1; call <= sites_.size(); ++call) {
        for (const Way& way : Ways()) {
            if (!IsMeaningful(sites_[call - 1], way)) {
                continue;
            }
            for (const Duration duration : {Duration::Once, Duration::FromThenOn, Duration::AndEveryBox}) {
                const bool isBoxCase = way.failing == Failing::Exception || way.failing == Failing::NoMemory;
                if (duration == Duration::AndEveryBox && !isBoxCase) {
                    continue;
                }
                const Complaints found = Run(call, way, duration);
                all.insert(all.end(), found.begin(), found.end());
                if (all.size() >= enoughComplaints) {
                    return all;
                }
            }
        }
    }
    return all;
}

}  // namespace kandora::test
