#include "tests/faults/Rules.h"

#include <algorithm>
#include <cmath>
#include <compare>

#include "automation/Errors.h"
#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

constexpr std::int32_t optionArchiveOn = 100;
constexpr std::int32_t optionBookings = 109;

/// Finds out the purpose of one call after the other.
class Reader {
public:
    explicit Reader(const Variation& variation) : variation_(variation) {}

    Site Read(const SeenCall& call) {
        Site site;
        site.call = &call;
        if (call.side == "machine") {
            Machine(call, site);
        } else if (call.side == "user") {
            User(call, site);
        } else if (call.side == "archive") {
            Archive(call, site);
        } else {
            Host(call, site);
        }
        last_ = &call;
        return site;
    }

private:
    [[nodiscard]] bool IsInGate() const { return folderChecks_ < 4; }
    [[nodiscard]] std::string HostFrame() const {
        if (IsInGate()) {
            return isSettingUp_ ? "SOKInterface.EinstellungenSchreiben" : "SOKInterface.EinstellungenLesen";
        }
        if (variation_.request == "DeleteDocument") {
            return "ELODMS.MarkAsDeleted";
        }
        return variation_.request == "DocumentChanged" && variation_.filedBefore ? "ELODMS.ChangeDocument"
                                                                                 : "ELODMS.AddDokument";
    }
    [[nodiscard]] std::string EntryFrame() const {
        const std::string kind(Spelled(variation_.kind.name));
        if (variation_.request == "PrintDocument") {
            return "ELODMS.SaveAuswertung";
        }
        if (phase_ == Phase::Deleting) {
            return "ELODMS.MarkAsDeleted";
        }
        return (phase_ == Phase::Editing ? "ELODMS.Edit" : "ELODMS.Add") + kind;
    }
    [[nodiscard]] std::string LookupFrame() const {
        return variation_.request == "DocumentChanged" ? "ELODMS.FindSageDocumentByBelegNr"
                                                       : "ELODMS.FindSageDocumentByID";
    }
    [[nodiscard]] std::string FilingFolderFrame() const {
        if (variation_.request == "PrintDocument") {
            return "ELODMS.lAuswertungsDokumente";
        }
        return std::string("ELODMS.l") + Spelled(variation_.kind.name) + "Dokumente";
    }
    [[nodiscard]] std::string OutermostFrame() const { return "Kandora." + variation_.request; }

    void Machine(const SeenCall& call, Site& site) {
        if (call.operation == L"create") {
            if (PartnerOf(call.side, call.operation, call.arguments) == Partner::Archive) {
                site.step = Step::CreateArchive;
                site.frame = "ELODMS.AnmeldenAnElo";
            } else {
                site.step = Step::CreateHost;
                Opening(site);
            }
        } else if (call.operation == L"file") {
            site.step = Step::FileCheck;
            site.frame = HostFrame();
            site.detail = IsInGate() ? 5004 : 5;
        } else if (call.operation == L"profile") {
            site.step = Step::IniValue;
            site.frame = "MGlobals.IniLesen";
        } else {
            site.step = Step::LogLine;
            site.frame = OutermostFrame();
        }
    }

    void User(const SeenCall& call, Site& site) {
        if (call.operation == L"box") {
            site.step = call.LongAt(1) == 4112 ? Step::ErrorBox : Step::OtherBox;
            site.frame = variation_.request == "ShowDocument" ? "ELODMS.ShowDokument" : OutermostFrame();
        } else if (call.operation == L"input") {
            site.step = Step::Input;
            site.frame = "SOKInterface.EinstellungenSchreiben";
        } else {
            site.step = Step::Dialog;
            site.frame = "ELODMS.SaveAuswertung";
        }
    }

    /// Which of the host's modules is being opened: financial accounting first, and the partner's own when
    /// its open items are asked for.
    void Opening(Site& site) {
        const std::string procedures[] = {
            "AnmeldenAnSage", variation_.kind.origin == 1 ? "AnmeldenAnSesamDebi" : "AnmeldenAnSesamKredi"};
        if (site.step == Step::CreateHost) {
            isPartner_ = !IsInGate() && hostParts_ == 2;  // booking and address come from the first
        }
        site.loginProcedure = procedures[isPartner_ ? 1 : 0];
        site.frame = HostFrame();
    }

    void Host(const SeenCall& call, Site& site) {
        const auto is = [&](const wchar_t* member) { return call.operation == member; };
        site.frame = HostFrame();
        site.step = Step::HostText;
        if (call.side == "host") {
            if (is(L"letztermandant")) {
                site.step = Step::LastClient;
                Opening(site);
            } else if (is(L"istoffen") && last_->Is("host", L"letztermandant")) {
                site.step = Step::LoginOpen;
                Opening(site);
            } else if (is(L"Login")) {
                site.step = Step::HostLogin;
                Opening(site);
            } else if (isLeaving_) {
                site.step = Step::Logout;
                site.ignored = true;
            } else if (is(L"istoffen")) {
                site.step = Step::StillOpen;
            } else if (is(L"IniLesen")) {
                site.step = Step::ReadOption;
                site.detail = call.LongAt(1);
                isLeaving_ = site.detail == optionArchiveOn && variation_.client == ClientState::Off;
                isSettingUp_ = site.detail == optionArchiveOn && variation_.client == ClientState::Undecided;
                site.frame = "SOKInterface.EinstellungenLesen";
                option_ = site.detail;
            } else if (is(L"Inischreiben")) {
                site.step = Step::WriteOption;
                site.detail = call.LongAt(1);
                isSettingUp_ = site.detail != optionArchiveOn;
                site.frame = "SOKInterface.EinstellungenSchreiben";
            } else {
                site.step = Step::NewPart;
                ++hostParts_;
            }
        } else if (is(L"lesen")) {
            site.step = call.side == "booking" ? Step::ReadBooking : Step::Statement;
        } else if (is(L"ursprung")) {
            site.step = Step::Origin;
        } else if (is(L"PKNr") || is(L"AdressID")) {
            const bool again = last_->side == call.side && last_->operation == call.operation;
            site.step = again || (is(L"PKNr") && last_->side == "host") ? Step::PassedOn : Step::HostText;
        } else if (is(L"PLZ") || is(L"Ort")) {
            site.step = Step::JoinedText;
        }
    }

    /// A step whose answer is checked: the number of the error that a bad one becomes, and the frame.
    static void Check(Site& site, Step step, std::int32_t number, const char* frame) {
        site.step = step;
        site.detail = number;
        site.frame = frame;
    }

    void Archive(const SeenCall& call, Site& site) {
        const auto is = [&](const wchar_t* member) { return call.operation == member; };
        site.phase = phase_;
        if (is(L"GetEntryId") && call.LongAt(0) == -1) {
            site.step = Step::Probe;
            return;
        }
        if (is(L"Login")) {
            site.step = Step::Login;
            site.frame = "ELODMS.AnmeldenAnElo";
        } else if (is(L"EloWindow") && call.TextAt(0) == L"MINIMIZE") {
            site.frame = "ELODMS.AnmeldenAnElo";
        } else if (is(L"SelectView")) {
            Check(site, Step::SelectView, 5001, "ELODMS.CheckLogin");
        } else if (is(L"ReadObjMask")) {
            Check(site, Step::ReadMask, 5002, "ELODMS.CheckMaskeVorhanden");
        } else if (is(L"LookupDelimiter") || is(L"LookupIndex") || is(L"CreateStructure")) {
            Folder(call, site);
        } else if (is(L"PrepareObjectEx") && call.LongAt(1) != documentEntry) {
            phase_ = call.LongAt(0) == 0 ? Phase::Searching : phase_;
            site.frame = LookupFrame();
        } else if (is(L"DoInvisibleSearch")) {
            site.frame = LookupFrame();
        } else if (is(L"GetEntryId") && call.LongAt(0) >= firstHit) {
            site.step = Step::Hit;
            site.frame = LookupFrame();
        } else if (is(L"getobjAttrib")) {
            // A search by document id reads each field twice, and only the second reading counts.
            const bool byId = variation_.request != "DocumentChanged";
            site.step = byId && !fieldSeen_ ? Step::IgnoredField : Step::Field;
            fieldSeen_ = !fieldSeen_;
            site.frame = LookupFrame();
        } else if (is(L"PrepareObjectEx")) {
            site.step = Step::Prepare;
            phase_ = call.LongAt(0) == 0                      ? Phase::Filling
                     : variation_.request == "DeleteDocument" ? Phase::Deleting
                                                              : Phase::Editing;
            site.frame = EntryFrame();
        } else {
            Entry(call, site);
        }
    }

    void Folder(const SeenCall& call, Site& site) {
        const bool isFiling = phase_ == Phase::Filling;
        const bool isCreating = isSettingUp_ && !isFiling;
        site.step = Step::Delimiter;
        site.frame = isFiling     ? FilingFolderFrame()
                     : isCreating ? "ELODMS.PFadErstellen"
                                  : "ELODMS.CheckPFadVorhanden";
        site.detail = isFiling ? 5 : option_ == optionBookings && !isCreating ? 5003 : 5004;
        if (call.operation == L"CreateStructure") {
            site.step = Step::CreateFolder;
            site.detail = 1580;
        } else if (call.operation == L"LookupIndex") {
            site.step = Step::FindFolder;
            folderChecks_ += isFiling ? 0 : 1;
        } else if (isCreating && option_ == optionArchiveOn) {
            // The folder is created under an odd name; that the right one is missing shows when it is read.
            static constexpr std::int32_t numbers[] = {5003, 5004, 5004, 5004};
            site.detail = numbers[createdFolders_++ % 4];
            site.isSettingUp = true;
        }
    }

    void Entry(const SeenCall& call, Site& site) {
        const auto is = [&](const wchar_t* member) { return call.operation == member; };
        site.frame = EntryFrame();
        if (is(L"AddPostboxFile") || is(L"MoveToArchive")) {
            site.step = Step::Exactly1;
            site.detail = 5;
            if (is(L"MoveToArchive")) {
                phase_ = Phase::Idle;
                isFiled_ = true;
                site.afterFiling = true;
            }
        } else if (is(L"GetEntryId")) {
            site.step = call.answered ? Step::FiledId : Step::Statement;
        } else if (is(L"GotoId")) {
            Check(site, Step::Exactly1, 5, "ELODMS.ShowDokument");
        } else if (is(L"DeleteObj")) {
            Check(site, Step::Exactly1, 5, "ELODMS.LoescheDokument");
            site.afterFiling = true;
            phase_ = Phase::Idle;
        } else if (is(L"UpdateObject")) {
            site.afterFiling = true;
            phase_ = Phase::Idle;
        } else if (is(L"BringToFront") || is(L"EloWindow")) {
            site.frame = "ELODMS.ShowDokument";
            phase_ = Phase::Idle;
        }
        site.afterFiling = site.afterFiling || isFiled_;
    }

    const Variation& variation_;
    SeenCall none_;
    const SeenCall* last_ = &none_;
    Phase phase_ = Phase::Idle;
    int folderChecks_ = 0;
    int createdFolders_ = 0;
    int hostParts_ = 0;
    std::int32_t option_ = 0;
    bool isPartner_ = false;
    bool isLeaving_ = false;
    bool isSettingUp_ = false;
    bool isFiled_ = false;
    bool fieldSeen_ = false;
};

/// How a value converts, by the rules of automation: the value, or the number of the error.
template <class Value>
struct Converted {
    Value value{};
    std::int32_t error = 0;
};

std::int32_t ConversionError(const Way& way) {
    if (way.isObject || way.answer.IsArray()) {
        return errors::typeMismatch;
    }
    if (way.answer.IsNull()) {
        return errors::invalidUseOfNull;
    }
    return way.answer.Type() == VT_DISPATCH ? errors::objectMissing : 0;
}

Converted<Text> AsText(const Way& way) {
    if (const std::int32_t error = ConversionError(way); error != 0) {
        return {{}, error};
    }
    switch (way.answer.Type()) {
    case VT_BSTR:
        return {TextOf(way.answer.Raw().bstrVal), 0};
    case VT_I4:
        return {Decimal(way.answer.Raw().lVal), 0};
    default:
        return {};
    }
}

Converted<std::int32_t> AsLong(const Way& way) {
    if (const std::int32_t error = ConversionError(way); error != 0) {
        return {0, error};
    }
    switch (way.answer.Type()) {
    case VT_BSTR:
        return {0, errors::typeMismatch};
    case VT_I4:
        return {way.answer.Raw().lVal, 0};
    default:
        return {};
    }
}

/// For comparisons, in which null is neither more nor less.
Converted<double> AsNumber(const Way& way) {
    if (way.answer.IsNull() && !way.isObject) {
        return {std::nan(""), 0};
    }
    const auto number = AsLong(way);
    return {static_cast<double>(number.value), number.error};
}

Verdict Reported(const Site& site, std::int32_t number) {
    Verdict verdict;
    verdict.errors = Verdict::Errors::One;
    verdict.number = number;
    verdict.frame = site.frame;
    verdict.mayBeHalfDone = site.afterFiling;
    return verdict;
}

Verdict ReportedIf(bool fails, const Site& site, std::int32_t number) {
    return fails ? Reported(site, number) : Verdict();
}

Verdict With(Outcome outcome) {
    Verdict verdict;
    verdict.outcome = outcome;
    return verdict;
}

/// An object of the host's that could not be opened answers nothing: the next thing it is asked fails.
Verdict NotOpened(const Site& site) {
    return Reported(site, HostModel::clientClosed);
}

Verdict WithHostBox(Verdict verdict, Text text) {
    verdict.hostBoxes.push_back(std::move(text));
    return verdict;
}

Text LoginFailed(const Site& site, std::int32_t number) {
    return Decimal(number) + L" SOKInterface " + Text(site.loginProcedure.begin(), site.loginProcedure.end());
}

/// The archive's session is opened anew, and with it goes the current object.
Verdict SessionLost(const Site& site) {
    if (site.ignored) {
        return {};
    }
    Verdict verdict;
    switch (site.phase) {
    case Phase::Idle:
        return {};
    case Phase::Searching:
        return With(Outcome::MaybeUnfound);
    case Phase::Filling:
        // Fields are written into nothing, but without an object no file is taken.
        verdict = Reported(site, errors::invalidArgument);
        verdict.frame.clear();
        return verdict;
    case Phase::Editing:
    case Phase::Deleting:
        // Without an object the short name cannot be set; the answers to the calls after it are not checked.
        verdict.errors = Verdict::Errors::Either;
        verdict.number = errors::invalidArgument;
        verdict.outcome = site.phase == Phase::Editing ? Outcome::ChangeLost : Outcome::AsRequested;
        return verdict;
    }
    return verdict;
}

/// A list of steps.
Verdict OnOddAnswer(const Site& site,  // NOLINT(readability-function-cognitive-complexity)
                    const Way& way) {
    switch (site.step) {
    case Step::Probe: {
        const auto number = AsLong(way);
        return number.error != 0 || number.value == -1 ? SessionLost(site) : Verdict();
    }
    case Step::Login: {
        const auto number = AsLong(way);
        return ReportedIf(number.error != 0, site, number.error);  // -1 is asked again, and then all is well
    }
    case Step::SelectView: {
        const auto number = AsNumber(way);
        if (number.error != 0) {
            return Reported(site, number.error);
        }
        Verdict verdict = ReportedIf(number.value <= 0, site, site.detail);
        verdict.frame = verdict.frame.empty() ? "" : "MGlobals.IniLesen";
        return verdict;
    }
    case Step::ReadMask: {
        const auto number = AsNumber(way);
        if (number.error != 0) {
            return Reported(site, number.error);
        }
        Verdict verdict = ReportedIf(number.value < 0, site, site.detail);
        verdict.frame = verdict.frame.empty() ? "" : "MGlobals.IniLesen";
        return verdict;
    }
    case Step::Delimiter: {
        const auto text = AsText(way);
        Verdict verdict = Reported(site, text.error != 0 ? text.error : site.detail);
        if (text.error == 0) {
            verdict.frame.clear();
            if (site.isSettingUp) {
                verdict.outcome = Outcome::SetUpAstray;
                verdict.errors = Verdict::Errors::Either;  // none when the right folders are there already
            }
        }
        return verdict;
    }
    case Step::FindFolder: {
        if (site.detail == 5) {  // a number that no folder has is refused when the entry is moved there
            const auto number = AsLong(way);
            Verdict verdict = Reported(site, number.error != 0 ? number.error : site.detail);
            if (number.error == 0 && number.value > 0) {
                verdict.frame.clear();
            }
            return verdict;
        }
        const auto number = AsNumber(way);
        if (number.error != 0) {
            return Reported(site, number.error);
        }
        Verdict verdict = ReportedIf(!(number.value > 0), site, site.detail);
        verdict.frame = verdict.frame.empty() ? "" : "SOKInterface.EinstellungenLesen";
        return verdict;
    }
    case Step::CreateFolder: {
        Verdict verdict =
            ReportedIf(way.answer.Type() == VT_I4 && way.answer.Raw().lVal < 0, site, site.detail);
        verdict.frame = verdict.frame.empty() ? "" : "SOKInterface.EinstellungenSchreiben";
        return verdict;
    }
    case Step::Hit: {
        const auto number = AsLong(way);
        return number.error != 0 ? Reported(site, number.error) : With(Outcome::MaybeUnfound);
    }
    case Step::Field:
        return way.isObject || way.answer.IsArray() || way.answer.Type() == VT_DISPATCH
                   ? Reported(site, errors::typeMismatch)
                   : With(Outcome::MaybeUnfound);
    case Step::Prepare: {
        const auto number = AsLong(way);
        return ReportedIf(number.error != 0 || number.value <= 0, site,
                          number.error != 0 ? number.error : errors::invalidArgument);
    }
    case Step::Exactly1: {
        const auto number = AsLong(way);
        return Reported(site, number.error != 0 ? number.error : site.detail);
    }
    case Step::FiledId: {
        const auto text = AsText(way);
        if (text.error != 0) {
            return Reported(site, text.error);
        }
        Verdict verdict = ReportedIf(way.answer.Type() != VT_I4, site, errors::typeMismatch);
        verdict.frame = verdict.frame.empty() ? "" : "ELODMS.AddDokument";
        return verdict;
    }
    case Step::LastClient: {
        const auto text = AsText(way);
        return text.error != 0 ? WithHostBox(NotOpened(site), LoginFailed(site, text.error))
                               : With(Outcome::AsHostSaid);
    }
    case Step::LoginOpen: {
        const auto number = AsLong(way);
        if (number.error != 0) {
            return WithHostBox(NotOpened(site), LoginFailed(site, number.error));
        }
        return number.value != 0 ? NotOpened(site) : Verdict();
    }
    case Step::HostLogin: {
        const auto number = AsLong(way);
        return number.error != 0 ? WithHostBox({}, LoginFailed(site, number.error)) : Verdict();
    }
    case Step::StillOpen: {
        const auto number = AsLong(way);
        return number.error != 0
                   ? WithHostBox(Reported(site, errors::objectMissing), DescriptionOf(number.error))
                   : Verdict();
    }
    case Step::ReadOption: {
        const auto text = AsText(way);
        if (site.detail == optionArchiveOn && (text.error == 0 || text.error == errors::invalidUseOfNull)) {
            return With(Outcome::AsHostSaid);  // a client without a decision
        }
        if (text.error != 0) {
            return Reported(site, text.error);
        }
        return Reported(site, site.detail == optionBookings ? 5003 : 5004);
    }
    case Step::WriteOption: {
        const auto number = AsLong(way);
        return ReportedIf(number.error != 0 || (number.value == 0 && site.detail != optionArchiveOn), site,
                          number.error != 0 ? number.error : 1580);
    }
    case Step::NewPart:
        if (way.isObject) {
            return Reported(site, errors::unknownMember);
        }
        return Reported(site,
                        way.answer.Type() == VT_DISPATCH ? errors::objectMissing : errors::typeMismatch);
    case Step::ReadBooking: {
        const auto number = AsLong(way);
        if (number.error != 0) {
            return Reported(site, number.error);
        }
        return ReportedIf(number.value != 0, site, number.value > 32767 ? errors::overflow : 5010);
    }
    case Step::Origin: {
        const auto number = AsNumber(way);
        return number.error != 0 ? Reported(site, number.error) : With(Outcome::AsHostSaid);
    }
    case Step::HostText:
    case Step::JoinedText: {
        const auto text = AsText(way);
        const bool isAllowed = text.error == 0 || (site.step == Step::JoinedText && way.answer.IsNull());
        return isAllowed ? With(Outcome::AsHostSaid) : Reported(site, text.error);
    }
    case Step::PassedOn:
        return With(Outcome::AsHostSaid);
    case Step::FileCheck:
        return ReportedIf(way.answer.Type() == VT_I4 && way.answer.Raw().lVal == 0, site, site.detail);
    case Step::IniValue: {
        Verdict verdict;
        verdict.errors = Verdict::Errors::Either;  // numbers and the names that must not be empty
        return verdict;
    }
    case Step::Input:
        return With(Outcome::AsHostSaid);
    default:
        return {};
    }
}

}  // namespace

bool IsMeaningful(const Site& site, const Way& way) {
    if (way.failing != Failing::OddAnswer) {
        return true;
    }
    switch (site.step) {
    case Step::FileCheck:
        return way.name == "0";
    case Step::IniValue:
    case Step::Input:
        return way.name == "text" || way.name == "empty";
    case Step::Dialog:
        return false;
    default:
        return site.call->answered;
    }
}

std::vector<Site> SitesOf(const std::vector<SeenCall>& calls, const Variation& variation) {
    Reader reader(variation);
    std::vector<Site> sites;
    for (const SeenCall& call : calls) {
        sites.push_back(reader.Read(call));
    }
    // A probe stands for the call that follows it.
    Site* probe = nullptr;
    std::size_t lastCheck = 0;
    for (std::size_t i = 0; i < sites.size(); ++i) {
        Site& site = sites[i];
        if (site.step == Step::FindFolder) {
            lastCheck = i;
        }
        if (site.step == Step::Probe) {
            probe = &site;
        } else if (site.call->side == "archive" && probe != nullptr) {
            const bool startsOver =
                site.call->operation == L"PrepareObjectEx" && site.phase != Phase::Searching;
            const bool newPass = site.call->operation == L"PrepareObjectEx" && site.call->LongAt(0) == 0;
            probe->phase = startsOver || newPass || site.step == Step::Prepare ? Phase::Idle : site.phase;
            probe->afterFiling = site.afterFiling && site.step != Step::Exactly1;
            probe->frame = site.frame;
            probe = nullptr;
        }
    }
    // Bringing the archive to the user is the last thing that the start does, and its errors are ignored.
    if (variation.request == "StartProvider" && variation.client == ClientState::On) {
        for (std::size_t i = lastCheck + 1; i < sites.size(); ++i) {
            sites[i].ignored = true;
        }
    }
    return sites;
}

Verdict VerdictOn(const Site& site, const Way& way, Duration duration) {
    const bool lasting = duration == Duration::FromThenOn;
    if (way.failing == Failing::OddAnswer) {
        Verdict verdict = site.ignored ? Verdict() : OnOddAnswer(site, way);
        if (lasting) {
            // The answers that follow are odd as well, so that more than one rule can apply.
            verdict.errors = Verdict::Errors::Either;
            verdict.number.reset();
            verdict.frame.clear();
            verdict.hostBoxesKnown = false;
            verdict.outcome = Outcome::AsHostSaid;
            verdict.mayBeHalfDone = true;
        }
        return verdict;
    }
    if (duration == Duration::AndEveryBox) {
        Verdict verdict = VerdictOn(site, way, Duration::Once);
        // A box that cannot be shown is an error of its own.
        if (!verdict.hostBoxes.empty()) {
            verdict.errors = Verdict::Errors::One;
            verdict.number.reset();
            verdict.description.reset();
            verdict.frame.clear();
            verdict.hostBoxesKnown = false;
        } else if (verdict.errors == Verdict::Errors::None) {
            verdict.errors = Verdict::Errors::Either;
        }
        return verdict;
    }
    if (site.ignored) {
        return {};
    }
    const bool isObject = site.call->side != "machine" && site.call->side != "user";
    if (way.failing == Failing::TurnedAway && isObject && !lasting) {
        return {};  // repeated until it is taken
    }
    Verdict verdict = Reported(site, way.Number());
    verdict.description = way.Description();
    // A call may have been carried out though its answer was lost, and only then.
    const bool isCarriedOut = way.failing == Failing::AnswerLost;
    const bool isFilingItself = site.step == Step::Exactly1 || site.call->operation == L"UpdateObject";
    verdict.mayBeHalfDone = site.afterFiling && (isCarriedOut || !isFilingItself);
    switch (site.step) {
    case Step::Probe:
        if (lasting) {
            // A new session cannot be opened either.
            verdict.frame = "ELODMS.AnmeldenAnElo";
            return verdict;
        }
        return SessionLost(site);
    case Step::CreateHost:
        verdict = Reported(site, errors::objectMissing);
        return WithHostBox(verdict, LoginFailed(site, way.Number()));
    case Step::LastClient:
    case Step::LoginOpen:
    case Step::HostLogin: {
        const bool isOpen = site.step == Step::HostLogin && isCarriedOut;
        verdict = lasting ? verdict : isOpen ? Verdict() : NotOpened(site);
        return WithHostBox(verdict, LoginFailed(site, way.Number()));
    }
    case Step::StillOpen:
        return WithHostBox(Reported(site, errors::objectMissing), way.Description());
    default:
        return verdict;
    }
}

}  // namespace kandora::test
