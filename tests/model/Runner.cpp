#include "tests/model/Runner.h"

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

#include "provider/ELOProvider.h"
#include "provider/MGlobals.h"
#include "tests/support/Rendering.h"
#include "tests/support/Unique.h"

namespace kandora::model_tests {

namespace {

using test::Spelled;

constexpr std::size_t mostBoxes = 6;

/// A value as the host passes it with a voucher.
Variant MetadataOf(const Booking& booking) {
    return Variant::ArrayOf(std::vector<Variant>{Variant(booking.number + L"/" + booking.index), Variant(),
                                                 Variant(booking.number), Variant(booking.index),
                                                 Variant(booking.barcode)});
}

/// A workstation: the component in its surroundings, and the model beside it.
class Workstation : test::Unique {
public:
    explicit Workstation(const Subject& subject) : model_(ledger_, subject.mistake) {
        archive_.defect = subject.defect;
        for (std::size_t client = 0; client < ledger_.clients.size(); ++client) {
            const Text top = client == 0 ? L"/Sesam/Muster AG" : L"/Sesam/Treuhand/Gärtnerei Süd";
            std::map<int, Text>& options = accounting_.options[client];
            options = {{100, L"True"},
                       {105, placeholderFile},
                       {109, top + L"/Buchungen"},
                       {110, top + L"/Auswertungen"},
                       {111, top + L"/Debi"},
                       {112, top + L"/Kredi"}};
            for (const int option : {109, 110, 111, 112}) {
                archive_.CreateFolders(options[option]);
            }
        }
        state_.options = accounting_.options;
        state_.folders = Folders();
    }
    ~Workstation() { EndComponent(); }

    std::optional<std::string> Play(const Steps& steps, Totals& totals) {
        std::optional<std::string> difference = Do({Event::Restart, 0, {}}, totals);
        for (std::size_t at = 0; at < steps.size() && !difference; ++at) {
            difference = Do(steps[at], totals);
            if (difference) {
                difference =
                    "step " + std::to_string(at + 1) + " (" + Shown(Steps{steps[at]}) + "): " + *difference;
            }
        }
        if (!difference) {
            difference = AtTheEnd();
        }
        totals.calls += faults_.AllCalls();
        for (std::size_t kind = 0; kind < faultKinds; ++kind) {
            totals.strikes.at(kind) += faults_.Strikes().at(kind);
        }
        ++totals.sequences;
        return difference;
    }

private:
    std::optional<std::string> Do(const Step& step, Totals& totals) {
        ++totals.steps;
        if (!IsRequest(step.event)) {
            Happen(step);
            return std::nullopt;
        }
        ++totals.requests;
        if (step.event == Event::Print) {
            ledger_.isReportConfirmed = step.which != 0;
            ledger_.describedReport[0] =
                L"Bericht " + Decimal(static_cast<std::int64_t>(totals.requests % 100));
        }
        const Outcome outcome = model_.Expected(step, state_);
        user_.boxes.clear();
        const std::uint64_t logins = archive_.logins;
        faults_.Begin(step.fault);
        Send(step);
        faults_.End();
        const bool isDisturbed = faults_.Struck();
        if (isDisturbed) {
            ++totals.struckRequests;
        }
        totals.entriesCompared += archive_.entries.size();
        if (globals_->goErrHandler().lOriginalNumber() != 0) {
            return "the error is still recorded: " + Spelled(globals_->goErrHandler().sToString());
        }
        return isDisturbed ? JudgeDisturbed(step, outcome, archive_.logins != logins, totals)
                           : JudgeClean(step, outcome);
    }

    std::optional<std::string> JudgeClean(const Step& step, const Outcome& outcome) {
        if (user_.boxes.size() != static_cast<std::size_t>(outcome.boxes)) {
            return std::to_string(outcome.boxes) + " boxes expected" + Boxes();
        }
        if (auto difference = Adopt(outcome.after)) {
            return difference;
        }
        if (globals_->state.gbIniOK != state_.isReady) {
            return "ready: " + std::to_string(static_cast<int>(globals_->state.gbIniOK));
        }
        if (step.event == Event::Ask && step.which == 0 && answer_.empty() == CanAnswer(outcome)) {
            return "document id \"" + Spelled(answer_) + "\"";
        }
        return std::nullopt;
    }
    [[nodiscard]] bool CanAnswer(const Outcome& outcome) {
        return outcome.boxes == 0 && state_.isReady &&
               LowerCase(state_.options[ledger_.open][100]) == L"true";
    }

    /// Either nothing or everything of it was done. What was left undone was told to the user, unless the
    /// archive's session was lost on the way, which nobody notices.
    std::optional<std::string> JudgeDisturbed(const Step& step, const Outcome& outcome, bool lostSession,
                                              Totals& totals) {
        if (user_.boxes.size() > mostBoxes) {
            return "too many boxes" + Boxes();
        }
        if (auto difference = JudgeOptions(outcome)) {
            return difference;
        }
        const Expectation before = Disturbed(step, state_, outcome);
        const Expectation after = Disturbed(step, outcome.after, outcome);
        if (!globals_->state.gbIniOK && user_.boxes.empty() &&
            (step.event == Event::Init || step.event == Event::Restart)) {
            return "it is off, and nobody was told";
        }
        if (!Differs(after)) {
            ++totals.carriedOut;
            return Adopt(after);
        }
        if (!Differs(before)) {
            if (user_.boxes.empty() && !lostSession) {
                return "nothing was done, and nobody was told";
            }
            if (user_.boxes.empty()) {
                ++totals.unnoticed;
            }
            return Adopt(before);
        }
        if (lostSession) {
            for (const Expectation& each : model_.AfterVainSearches(step, state_)) {
                if (const Expectation vain = Disturbed(step, each, outcome); !Differs(vain)) {
                    ++totals.misdirected;
                    return Adopt(vain);
                }
            }
        }
        return "neither done nor left undone; done would be: " + *Differs(after) +
               "; left undone: " + *Differs(before) + Boxes();
    }

    /// A disturbed set-up may have written some of the options and made some of the folders.
    std::optional<std::string> JudgeOptions(const Outcome& outcome) {
        Expectation after = outcome.after;
        for (auto& [client, options] : accounting_.options) {
            for (auto& [option, value] : options) {
                if (value != state_.options[client][option] && value != after.options[client][option]) {
                    return "option " + std::to_string(option) + " is " + Spelled(value);
                }
            }
        }
        const std::set<Text> folders = Folders();
        if (!std::ranges::includes(folders, state_.folders) ||
            !std::ranges::includes(outcome.after.folders, folders)) {
            return "folders were made that nobody asked for, or are gone";
        }
        return std::nullopt;
    }

    /// The same with everything that a disturbance leaves open.
    [[nodiscard]] Expectation Disturbed(const Step& step, Expectation expectation,
                                        const Outcome& outcome) const {
        expectation.records = MayBe(step, state_.records, outcome.after.records);
        expectation.isReady = globals_->state.gbIniOK;
        expectation.options = accounting_.options;
        expectation.folders = Folders();
        return expectation;
    }

    /// Records after a disturbance: as they were, as they were to be, or emptied in between.
    static std::map<Kind, std::map<Text, Possible>>
    MayBe(const Step& step, const std::map<Kind, std::map<Text, Possible>>& before,
          const std::map<Kind, std::map<Text, Possible>>& after) {
        std::map<Kind, std::map<Text, Possible>> merged;
        const auto possible = [](const std::map<Kind, std::map<Text, Possible>>& records, Kind kind,
                                 const Text& field) {
            const auto record = records.find(kind);
            const auto found = record == records.end() ? std::map<Text, Possible>::const_iterator()
                                                       : record->second.find(field);
            return record == records.end() || found == record->second.end() ? Possible{Text()}
                                                                            : found->second;
        };
        const bool mayEmpty = step.event == Event::Save || step.event == Event::Change;
        for (const Kind kind : {voucher, debtor, creditor}) {
            for (const Text& field : Model::FieldsOf(4)) {
                Possible& values = merged[kind][field];
                values = possible(before, kind, field);
                values.merge(possible(after, kind, field));
                if (mayEmpty) {
                    values.insert(Text());
                }
            }
        }
        return merged;
    }

    // ---- what happens -------------------------------------------------------------------------------------

    void Happen(const Step& step) {
        switch (step.event) {
        case Event::ArchiveDies:
            archive_.Die();
            break;
        case Event::HostCloses:
            accounting_.Die();
            break;
        case Event::OpenClient:
            ledger_.open = static_cast<std::size_t>(step.which) % ledger_.clients.size();
            break;
        case Event::EditBooking:
            Edit(step.which);
            break;
        case Event::Decide:
            ledger_.typedFolder = step.which == 3 ? L"/Ablage/Eigener Ordner" : L"";
            accounting_.options[ledger_.open][100] = step.which == 0   ? L"TRUE"
                                                     : step.which == 1 ? L"False"
                                                                       : L"";
            state_.options[ledger_.open][100] = accounting_.options[ledger_.open][100];
            break;
        case Event::Placeholder:
            ledger_.isPlaceholderThere = !ledger_.isPlaceholderThere;
            break;
        case Event::MoveFolder: {
            const Text folder = state_.options[ledger_.open][109 + step.which % 4];
            if (archive_.folders.erase(folder) == 0) {
                archive_.CreateFolders(folder);
            }
            state_.folders = Folders();
            break;
        }
        case Event::Purge:
            if (!archive_.entries.empty()) {
                const auto place = static_cast<std::ptrdiff_t>(static_cast<std::size_t>(step.which) %
                                                               archive_.entries.size());
                archive_.entries.erase(std::next(archive_.entries.begin(), place));
                state_.entries.erase(state_.entries.begin() + place);
            }
            break;
        default:
            break;
        }
    }

    void Edit(int which) {
        std::vector<Booking>& bookings = ledger_.clients.at(ledger_.open).bookings;
        const auto place = static_cast<std::size_t>(which);
        Booking& booking = bookings[place % bookings.size()];
        switch (place / bookings.size()) {
        case 0:
            booking.text += L"!";
            break;
        case 1:
            booking.amount = L"0.0" + Decimal(which);
            break;
        case 2:
            booking.openItem = booking.openItem.empty() ? (booking.origin == 2 ? L"K-2" : L"D-2") : L"";
            break;
        case 3:
            booking.origin = (booking.origin + 1) % 3;
            break;
        case 4:
            booking.isStruck = !booking.isStruck;
            break;
        default:
            booking.barcode = booking.barcode.empty() ? L"NEU" + Decimal(which) : Text();
            break;
        }
    }

    void Send(const Step& step) {
        const Booking booking = BookingOf(ledger_, step.which);
        const Variant metadata = MetadataOf(booking);
        answer_.clear();
        static const std::map<Event, void (ELOProvider::*)(const Text&, const Variant&)> ofDocuments{
            {Event::Save, &ELOProvider::SaveDocument},
            {Event::Change, &ELOProvider::DocumentChanged},
            {Event::Delete, &ELOProvider::DeleteDocument},
            {Event::Show, &ELOProvider::ShowDocument},
        };
        if (const auto found = ofDocuments.find(step.event); found != ofDocuments.end()) {
            (provider_.get()->*found->second)(booking.docId, metadata);
            return;
        }
        switch (step.event) {
        case Event::Restart:
            EndComponent();
            globals_ = std::make_unique<MGlobals>(machine_, user_);
            provider_ = std::make_unique<ELOProvider>(*globals_);
            [[fallthrough]];
        case Event::Init:
            machine_.TurnTracing(step.which % 2 == 1);
            provider_->InitProvider(Variant());
            break;
        case Event::Print:
            provider_->PrintDocument(Text(), Variant());
            break;
        case Event::Start:
            provider_->StartProvider(Variant());
            break;
        default:
            Ask(step.which, booking, metadata);
            break;
        }
    }

    void Ask(int which, const Booking& booking, const Variant& metadata) {
        switch (which) {
        case 0:
            answer_ = provider_->CreateDocID(metadata);
            break;
        case 1:
            static_cast<void>(provider_->GetOpenDocInfo());
            break;
        case 2:
            answer_ = provider_->GetVirtualPrinterName();
            break;
        case 3:
            provider_->SetDocumentStatus(booking.docId, metadata);
            break;
        case 4:
            provider_->SavePendingDocument(Variant(), booking.docId, metadata);
            break;
        default:
            provider_->FibuVersion(Variant(L"7.2"));
            break;
        }
    }

    void EndComponent() {
        provider_.reset();
        globals_.reset();
    }

    std::optional<std::string> AtTheEnd() {
        EndComponent();
        if (const long left = simulators::DispatchObject::LiveObjects(); left != 0) {
            return std::to_string(left) + " automation objects are left";
        }
        if (archive_.sessions != 0) {
            return std::to_string(archive_.sessions) + " archive sessions are left";
        }
        return std::nullopt;
    }

    // ---- comparing ----------------------------------------------------------------------------------------

    [[nodiscard]] std::set<Text> Folders() const {
        std::set<Text> paths;
        for (const auto& [path, id] : archive_.folders) {
            paths.insert(path);
        }
        return paths;
    }

    [[nodiscard]] std::optional<std::string> Differs(const Expectation& expected) const {
        if (archive_.entries.size() != expected.entries.size()) {
            return std::to_string(archive_.entries.size()) + " entries instead of " +
                   std::to_string(expected.entries.size());
        }
        std::size_t place = 0;
        for (const auto& [id, entry] : archive_.entries) {
            if (auto difference = Differs(entry, expected.entries[place++])) {
                return "entry " + std::to_string(id) + ": " + *difference;
            }
        }
        if (expected.options != accounting_.options) {
            return "the client's options differ";
        }
        if (expected.folders != Folders()) {
            return "the folders differ";
        }
        return std::nullopt;
    }

    static std::optional<std::string> Differs(const Entry& entry, const ExpectedEntry& expected) {
        if (entry.mask != expected.mask || entry.folder != expected.folder) {
            return "mask " + std::to_string(entry.mask) + " in " + Spelled(entry.folder) + " instead of " +
                   std::to_string(expected.mask) + " in " + Spelled(expected.folder);
        }
        if (entry.document != (entry.mask == reports ? printedFile : placeholderFile)) {
            return "document " + Spelled(entry.document);
        }
        if (!expected.title.contains(entry.title)) {
            return "title " + Spelled(entry.title);
        }
        std::int16_t line = FirstLine(entry.mask);
        for (const Text& field : Model::FieldsOf(entry.mask)) {
            const auto found = entry.fields.find(line++);
            const Text value = found == entry.fields.end() ? Text() : found->second;
            if (!expected.fields.at(field).contains(value)) {
                return Spelled(field) + " is \"" + Spelled(value) + "\" instead of \"" +
                       Spelled(*expected.fields.at(field).begin()) + "\"";
            }
        }
        return std::nullopt;
    }

    /// Makes this the present state; where several texts were possible, the archive decides.
    std::optional<std::string> Adopt(const Expectation& expected) {
        if (auto difference = Differs(expected)) {
            return *difference + Boxes();
        }
        state_ = expected;
        std::size_t place = 0;
        for (const auto& [id, entry] : archive_.entries) {
            ExpectedEntry& mine = state_.entries[place++];
            mine.title = {entry.title};
            std::int16_t line = FirstLine(entry.mask);
            for (const Text& field : Model::FieldsOf(entry.mask)) {
                const auto found = entry.fields.find(line++);
                mine.fields[field] = {found == entry.fields.end() ? Text() : found->second};
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] std::string Boxes() const {
        std::string text;
        for (const Text& box : user_.boxes) {
            text += " [box: " + Spelled(box) + "]";
        }
        return text;
    }

    Faults faults_;
    Ledger ledger_;
    Archive archive_{faults_};
    Accounting accounting_{faults_, ledger_};
    Machine machine_{faults_, archive_, accounting_, ledger_};
    User user_{faults_, ledger_};
    Model model_;
    Expectation state_;
    Text answer_;
    std::unique_ptr<MGlobals> globals_;
    std::unique_ptr<ELOProvider> provider_;
};

}  // namespace

std::optional<std::string> Play(const Steps& steps, const Subject& subject, Totals& totals) {
    return Workstation(subject).Play(steps, totals);
}

Steps Shortened(Steps steps, const std::function<bool(const Steps&)>& fails) {
    for (std::size_t size = std::max<std::size_t>(steps.size() / 2, 1);;) {
        bool isShorter = false;
        for (std::size_t from = 0; from < steps.size();) {
            Steps rest = steps;
            const auto begin = rest.begin() + static_cast<std::ptrdiff_t>(from);
            rest.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(size, rest.size() - from)));
            if (fails(rest)) {
                steps = std::move(rest);
                isShorter = true;
            } else {
                from += size;
            }
        }
        if (size == 1 && !isShorter) {
            break;
        }
        size = std::max<std::size_t>(size / 2, 1);
    }
    for (Step& step : steps) {
        const std::optional<Fault> fault = std::exchange(step.fault, std::nullopt);
        if (fault && !fails(steps)) {
            step.fault = fault;
        }
    }
    return steps;
}

}  // namespace kandora::model_tests
