/// The sample client's whole year on screens of several widths.
#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

#include "interfaces/CodePages.h"
#include "simulators/host/ChangesTable.h"
#include "simulators/host/YearTable.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::HasSubstr;

/// Counts units: every character of the sample client is one unit and takes one column.
MATCHER_P(FitsInto, width, "") {
    return arg.size() <= width;
}

class SampleScreen : public ::testing::TestWithParam<std::size_t> {
protected:
    static void SetUpTestSuite() {
        client_ = ClientFile::Load(SampleClientPath());
        year_ = Store(0);
        shifted_ = Store(1);
    }

    /// An archive that holds every voucher with barcode; `shift` makes each entry hold that of a later one.
    static StoreReader Store(std::size_t shift) {
        const kandora::test::TemporaryFolder folder;
        const auto fields = [](const std::vector<std::string>& names) {
            nlohmann::ordered_json list = nlohmann::ordered_json::array();
            for (const std::string& name : names) {
                list.push_back({{"zeile", list.size() + 1}, {"name", name}});
            }
            return list;
        };
        const std::vector<std::string> names{
            "Barcode", "Belegnummer",    "Belegindex", "Belegstatus", "Sesam-Dokument-ID", "Valutadatum",
            "Betrag",  "Rechnungsdatum", "OP-Nummer",  "PK-Nummer",   "Adressnummer",      "Name",
            "Ort"};
        nlohmann::ordered_json masks = nlohmann::ordered_json::array();
        for (const int number : {0, 1, 2}) {
            masks.push_back({{"nummer", number}, {"name", "Maske der Belege"}, {"felder", fields(names)}});
        }
        folder.Write(L"archiv.json", nlohmann::ordered_json{{"masken", masks}}.dump());
        for (const int number : {0, 1, 2}) {
            const std::wstring name = std::to_wstring(number);
            folder.Write(L"Ordner\\" + name + L"\\ordner.json", R"({"id": 1, "name": "Muster AG"})");
        }
        std::vector<Booking> filed;
        std::ranges::copy_if(client_.Bookings(), std::back_inserter(filed),
                             [](const Booking& booking) { return !booking.barcode.empty(); });
        for (std::size_t at = 0; at < filed.size(); ++at) {
            const int mask = filed[at].ursprung == 1 || filed[at].ursprung == 2 ? filed[at].ursprung : 0;
            const nlohmann::ordered_json entry = Entry(at, mask, filed[(at + shift) % filed.size()]);
            folder.Write(L"Ordner\\" + std::to_wstring(mask) + L"\\" + std::to_wstring(at) + L".json",
                         entry.dump());
        }
        return StoreReader::Read(folder / L"");
    }

    static nlohmann::ordered_json Entry(std::size_t id, int mask, const Booking& booking) {
        nlohmann::ordered_json fields{
            {"1", Utf8FromText(booking.barcode)},    {"2", Utf8FromText(booking.belegNr)},
            {"3", Utf8FromText(booking.belegIndex)}, {"4", "Pendent"},
            {"5", Utf8FromText(booking.docId)},      {"6", "05.01.2026"},
            {"7", std::to_string(booking.betrag)}};
        const Ledger ledger = mask == 1 ? Ledger::Debtors : Ledger::Creditors;
        const OpenItem* item = client_.FindOpenItem(ledger, booking.opNr);
        const PersonalAccount* account = item ? client_.FindAccount(ledger, item->pkNr) : nullptr;
        if (const Address* address = account ? client_.FindAddress(account->adressId) : nullptr) {
            fields["9"] = Utf8FromText(booking.opNr);
            fields["10"] = std::to_string(item->pkNr);
            fields["11"] = std::to_string(account->adressId);
            fields["12"] = Utf8FromText(address->firma);
            fields["13"] = Utf8FromText(address->plz + L" " + address->ort);
        }
        return {
            {"id", id}, {"maske", mask}, {"kurzbezeichnung", Utf8FromText(booking.text)}, {"felder", fields}};
    }

    static std::vector<std::wstring> Year(const TableSize& size) {
        std::vector<Outcome> outcomes = AllSaved(client_);
        // A few that are not in the archive, with short and long messages.
        for (const std::size_t words : {0U, 1U, 50U}) {
            Outcome outcome = outcomes.back();
            outcome.docId = L"29991231000000";
            outcome.barcode = L"MU26999999";
            for (std::size_t word = 0; word < words; ++word) {
                outcome.boxes.resize(1);
                outcome.boxes[0].text += L"Ablagefehler ";
            }
            outcomes.push_back(outcome);
        }
        return RenderYearTable(client_, outcomes, &year_, 123.4, size);
    }

    /// Compares two whole stores around one request that has changed every booking and met a long message.
    static std::vector<std::wstring> Change(const StoreReader& before, const StoreReader& after) {
        ChangeStep step;
        for (const Booking& booking : client_.Bookings()) {
            step.preparations.push_back(L"change " + booking.belegNr + L" text=\"" + booking.text + L"\"");
        }
        step.outcome.kind = RequestKind::DocumentChanged;
        step.outcome.boxes.push_back(
            {L"Kandora", step.preparations.front() + L"\n" + step.preparations.back()});
        return RenderChange(1234567, step, before, after, GetParam());
    }

    /// Read once for all widths.
    static inline ClientFile client_;
    static inline StoreReader year_;
    static inline StoreReader shifted_;
};

TEST_P(SampleScreen, NoLineOfTheYearIsTooLong) {
    const auto lines = Year({0, GetParam()});
    EXPECT_GT(lines.size(), year_.Entries().size());
    EXPECT_THAT(lines, Each(FitsInto(GetParam())));
    EXPECT_THAT(Year({12, GetParam()}), Each(FitsInto(GetParam())));
}

TEST_P(SampleScreen, NoLineOfAChangeIsTooLong) {
    const kandora::test::TemporaryFolder folder;
    folder.Write(L"archiv.json", R"({"masken": []})");
    const StoreReader none = StoreReader::Read(folder / L"");
    const auto changed = Change(year_, shifted_);
    EXPECT_THAT(changed, Each(FitsInto(GetParam())));
    EXPECT_EQ(std::ranges::count_if(changed,
                                    [](const std::wstring& line) { return line.ends_with(L": geändert"); }),
              static_cast<std::ptrdiff_t>(year_.Entries().size()));
    EXPECT_THAT(Change(none, year_), Each(FitsInto(GetParam())));
    EXPECT_THAT(Change(year_, none), Each(FitsInto(GetParam())));
}

/// Whatever the width: an entry can be recognised, and nothing is left out in silence.
TEST_P(SampleScreen, EveryFieldIsInTheTableOrNamedBelowIt) {
    const auto lines = Year({12, GetParam()});
    int heads = 0;
    for (auto head = lines.begin(); head != lines.end(); ++head) {
        if (!head->starts_with(L"    Eintrag ")) {
            continue;
        }
        ++heads;
        EXPECT_THAT(*head, AllOf(HasSubstr(L"  Kurzbezeichnung  "), HasSubstr(L"  Barcode  "),
                                 HasSubstr(L"  Belegnummer  "), HasSubstr(L"  Valutadatum  "),
                                 HasSubstr(L"  Betrag")));
        // The rule, twelve entries, what was left out, which fields were.
        std::wstring below;
        for (auto line = head + 14; line != lines.end() && line->starts_with(L"    "); ++line) {
            below += *line + L"\n";
        }
        for (const wchar_t* name : {L"Belegindex", L"Belegstatus", L"Sesam-Dokument-ID"}) {
            EXPECT_NE(head->find(name) == std::wstring::npos, below.find(name) == std::wstring::npos) << name;
        }
    }
    EXPECT_GT(heads, 0);
}

INSTANTIATE_TEST_SUITE_P(Widths, SampleScreen, ::testing::Values(80, 100, 132, 237));

}  // namespace

}  // namespace kandora::simulators
