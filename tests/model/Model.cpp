#include "tests/model/Model.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace kandora::model_tests {

namespace {

struct KindRow {
    Kind kind;
    int mask;
    const wchar_t* folder;
    int folderOption;
};
constexpr std::array<KindRow, 3> kinds{
    {{voucher, 2, L"Buchungen", 109}, {debtor, 4, L"Debi", 111}, {creditor, 5, L"Kredi", 112}}};
constexpr int reportMask = 3;
constexpr int reportOption = 110;

const KindRow& RowOf(const Booking& booking) {
    return booking.origin == 1 ? kinds[1] : booking.origin == 2 ? kinds[2] : kinds[0];
}

Text NameOf(const Client& client) {
    return client.path.substr(client.path.rfind(L'\\') + 1);
}

}  // namespace

Booking BookingOf(const Ledger& ledger, int which) {
    const std::vector<Booking>& all = ledger.Current().bookings;
    if (static_cast<std::size_t>(which) < all.size()) {
        return all[static_cast<std::size_t>(which)];
    }
    return {L"9999", L"1", L"DOC-9999", L"BC9999", {}, {}, {}, {}, 0, true};
}

const std::vector<Text>& Model::FieldsOf(int mask) {
    static const std::vector<Text> partner{L"Barcode",    L"BelegNr",     L"BelegIndex", L"Belegstatus",
                                           L"SesamDocID", L"Valutadatum", L"Betrag",     L"Rechnungsdatum",
                                           L"OPNr",       L"PKNr",        L"AdressNr",   L"Kundenname",
                                           L"Kundenort"};
    static const std::vector<Text> plain(partner.begin(), partner.begin() + 7);
    static const std::vector<Text> report{L"Listenbeschreibung", L"DatumVon", L"DatumBis"};
    return mask == reportMask ? report : mask == 2 ? plain : partner;
}

/// One request on its way.
class Model::Run {
public:
    Run(const Model& model, Expectation& state, std::set<int> vainSearches)
        : ledger_(model.ledger_), mistake_(model.mistake_), state_(state),
          vainSearches_(std::move(vainSearches)) {}

    int boxes = 0;

    void Request(const Step& step) {
        const Booking booking = BookingOf(ledger_, step.which);
        switch (step.event) {
        case Event::Restart:
            state_.records.clear();
            state_.isReady = false;
            [[fallthrough]];
        case Event::Init:
            state_.isReady = true;
            static_cast<void>(ArchiveIsOn());
            break;
        case Event::Start:
            if (state_.isReady && !ArchiveIsOn() && boxes == 0) {
                boxes = 1;
            }
            break;
        case Event::Ask:
            if (step.which <= 2 && state_.isReady) {
                static_cast<void>(ArchiveIsOn());
            }
            break;
        default:
            if (state_.isReady && ArchiveIsOn()) {
                Document(step, booking);
            }
            break;
        }
    }

private:
    void Document(const Step& step, const Booking& booking) {
        switch (step.event) {
        case Event::Save:
            if (!booking.barcode.empty() || mistake_ == Mistake::SaveNeedsNoBarcode) {
                Add(booking);
            }
            break;
        case Event::Change:
            Change(booking);
            break;
        case Event::Delete: {
            const auto found = Find([&](const ExpectedEntry& entry) {
                return entry.fields.at(L"SesamDocID").contains(booking.docId);
            });
            if (IsKnown(booking) || mistake_ == Mistake::DeleteNeedsNoBooking) {
                if (found != state_.entries.end()) {
                    state_.entries.erase(found);
                }
            }
            break;
        }
        case Event::Show:
            if (Find([&](const ExpectedEntry& entry) {
                    return entry.fields.at(L"SesamDocID").contains(booking.docId);
                }) == state_.entries.end()) {
                boxes = 1;
            }
            break;
        case Event::Print:
            if (ledger_.isReportConfirmed) {
                state_.entries.push_back({reportMask,
                                          Folder(reportOption),
                                          {ledger_.describedReport[0]},
                                          {{L"Listenbeschreibung", {ledger_.describedReport[1]}},
                                           {L"DatumVon", {ledger_.describedReport[2]}},
                                           {L"DatumBis", {ledger_.describedReport[3]}}}});
            }
            break;
        default:
            break;
        }
    }

    std::map<int, Text>& Options() { return state_.options[ledger_.open]; }
    Text Folder(int option) { return Options()[option]; }

    /// Whether documents of the open client go to the archive. One box when something is missing for it.
    bool ArchiveIsOn() {
        std::map<int, Text>& options = Options();
        const Text decision = LowerCase(options[100]);
        if (decision == L"false") {
            return false;
        }
        if (decision != L"true") {
            SetUp();
        }
        const bool isComplete = ledger_.isPlaceholderThere &&
                                std::ranges::all_of(std::array{109, 110, 111, 112}, [&](int option) {
                                    return state_.folders.contains(options[option]);
                                });
        if (!isComplete) {
            boxes = 1;
        }
        return isComplete;
    }

    void SetUp() {
        std::map<int, Text>& options = Options();
        const Text top =
            ledger_.typedFolder.empty() ? L"/Sesam/" + NameOf(ledger_.Current()) : ledger_.typedFolder;
        options[105] = placeholderFile;
        for (const auto& [option, name] : std::map<int, Text>{
                 {109, L"Buchungen"}, {110, L"Auswertungen"}, {111, L"Debi"}, {112, L"Kredi"}}) {
            const Text folder = top + L"/" + name;
            options[option] = folder;
            for (std::size_t end = folder.find(L'/', 1); end != Text::npos;
                 end = folder.find(L'/', end + 1)) {
                state_.folders.insert(folder.substr(0, end));
            }
            state_.folders.insert(folder);
        }
        options[100] = L"true";
    }

    /// The first entry that matches: vouchers are looked through first, then creditors' documents, then
    /// debtors', whatever their client.
    std::vector<ExpectedEntry>::iterator Find(const std::function<bool(const ExpectedEntry&)>& matches) {
        std::array<int, 3> order{2, 5, 4};
        if (mistake_ == Mistake::SearchBeginsWithDebtors) {
            std::ranges::reverse(order);
        }
        for (const int mask : order) {
            const auto found = std::ranges::find_if(state_.entries, [&](const ExpectedEntry& entry) {
                return entry.mask == mask && matches(entry) && !vainSearches_.contains(mask) &&
                       (mistake_ != Mistake::ClientsDoNotMeet ||
                        entry.folder.find(NameOf(ledger_.Current())) != Text::npos);
            });
            if (found != state_.entries.end()) {
                return found;
            }
        }
        return state_.entries.end();
    }

    [[nodiscard]] bool IsKnown(const Booking& booking) {
        if (ledger_.Find(booking.number, booking.index) == nullptr) {
            boxes = 1;
            return false;
        }
        return true;
    }

    void Add(const Booking& booking) {
        state_.records.clear();
        if (!IsKnown(booking)) {
            return;
        }
        const KindRow& row = RowOf(booking);
        const std::map<Text, Possible>& record = Fill(row, booking);
        ExpectedEntry entry{row.mask, Folder(row.folderOption), {booking.text}, {}};
        for (const Text& field : FieldsOf(row.mask)) {
            entry.fields[field] = Of(record, field);
        }
        state_.entries.push_back(entry);
    }

    void Change(const Booking& booking) {
        const auto found = Find([&](const ExpectedEntry& entry) {
            return entry.fields.at(L"BelegNr").contains(booking.number) &&
                   (entry.fields.at(L"BelegIndex").contains(booking.index) ||
                    mistake_ == Mistake::SearchIgnoresIndex);
        });
        if (found == state_.entries.end()) {
            if (!booking.barcode.empty()) {
                Add(booking);
            }
            return;
        }
        if (!IsKnown(booking)) {
            return;
        }
        const KindRow& row = RowOf(booking);
        const std::map<Text, Possible>& record = Fill(row, booking);
        found->title = {booking.text};
        if (found->mask != row.mask) {
            return;  // a booking that has changed its kind: the old entry's form lacks the new lines
        }
        for (const Text& field : FieldsOf(row.mask)) {
            const bool isKept = field == L"Barcode" && booking.barcode.empty();
            if (!isKept || mistake_ == Mistake::EditClearsBarcode) {
                found->fields[field] = Of(record, field);
            }
        }
    }

    static Possible Of(const std::map<Text, Possible>& record, const Text& field) {
        const auto found = record.find(field);
        return found == record.end() ? Possible{Text()} : found->second;
    }

    /// A record that is not new keeps what a booking without an open item says nothing about.
    std::map<Text, Possible>& Fill(const KindRow& row, const Booking& booking) {
        std::map<Text, Possible>& record = state_.records[row.kind];
        if (mistake_ == Mistake::RecordsAreFresh) {
            record.clear();
        }
        record[L"Barcode"] = {booking.barcode};
        record[L"BelegNr"] = {booking.number};
        record[L"BelegIndex"] = {booking.index};
        record[L"Belegstatus"] = {L"Pendent"};
        record[L"SesamDocID"] = {booking.docId};
        record[L"Valutadatum"] = {booking.date};
        if (row.kind == voucher) {
            record[L"Betrag"] = {booking.amount};
            return record;
        }
        record[L"OPNr"] = {booking.openItem};
        if (!booking.openItem.empty()) {
            const OpenItem& item = ledger_.openItems.at(booking.openItem);
            const int number = ledger_.addressOfAccount.at(item.account);
            const Address& address = ledger_.addresses.at(number);
            record[L"Rechnungsdatum"] = {item.date};
            record[L"Betrag"] = {item.amount};
            record[L"PKNr"] = {Decimal(item.account)};
            record[L"AdressNr"] = {Decimal(number)};
            record[L"Kundenname"] = {address.company};
            record[L"Kundenort"] = {address.postcode + L" " + address.place};
        }
        return record;
    }

    const Ledger& ledger_;
    Mistake mistake_;
    Expectation& state_;
    std::set<int> vainSearches_;  ///< their masks
};

Outcome Model::Expected(const Step& step, const Expectation& before) const {
    Outcome outcome{before, 0};
    Run run(*this, outcome.after, {});
    run.Request(step);
    outcome.boxes = run.boxes;
    return outcome;
}

std::vector<Expectation> Model::AfterVainSearches(const Step& step, const Expectation& before) const {
    std::vector<Expectation> all;
    for (const std::set<int>& masks :
         std::initializer_list<std::set<int>>{{2}, {4}, {5}, {2, 4}, {2, 5}, {4, 5}, {2, 4, 5}}) {
        Run(*this, all.emplace_back(before), masks).Request(step);
    }
    return all;
}

}  // namespace kandora::model_tests
