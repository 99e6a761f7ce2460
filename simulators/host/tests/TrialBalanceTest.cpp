#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

#include "simulators/host/TrialBalance.h"
#include "simulators/host/tests/HostFixture.h"
#include "simulators/host/tests/PdfReading.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

std::wstring Describe(const BalanceLine& line) {
    return line.account + L"|" + line.name + L"|" + line.place + L"|" + std::to_wstring(line.bookings) +
           L"|" + SwissAmount(line.debit) + L"|" + SwissAmount(line.credit) + L"|" +
           SwissAmount(line.Balance());
}

std::vector<std::wstring> Describe(const BalanceSection& section) {
    std::vector<std::wstring> lines;
    for (const BalanceLine& line : section.lines) {
        lines.push_back(Describe(line));
    }
    lines.push_back(Describe(section.total));
    return lines;
}

std::string BookingJson(int number, int origin, const std::string& amount, const std::string& item,
                        const std::string& date = "2026-03-04") {
    return R"({"belegNr": ")" + std::to_string(number) + R"(", "belegIndex": "1", "ursprung": )" +
           std::to_string(origin) + R"(, "text": "T", "datum": ")" + date + R"(", "betrag": )" + amount +
           R"(, "opNr": ")" + item + R"("})";
}

class TrialBalanceTest : public ::testing::Test {
protected:
    /// A client with the bookings given and one partner on each side: item D1 and account 7 for debtors, K1
    /// and account 8 for creditors; item X1 leads to an account that is missing, Y1 to a missing address.
    TrialBalance Of(const std::vector<std::string>& bookings) {
        std::string list;
        for (const std::string& booking : bookings) {
            list += (list.empty() ? "" : ",") + booking;
        }
        const auto file =
            folder_.Write(L"m.json", R"({"mandant": "C:\\Daten\\Prüf AG", "buchungen": [)" + list + R"(],
            "offenePosten": {"debitoren": [
                {"opNr": "D1", "datum": "2026-03-01", "betragFaktura": 100, "pkNr": 7},
                {"opNr": "X1", "datum": "2026-03-01", "betragFaktura": 100, "pkNr": 99},
                {"opNr": "Y1", "datum": "2026-03-01", "betragFaktura": 100, "pkNr": 6}],
              "kreditoren": [{"opNr": "K1", "datum": "2026-03-01", "betragFaktura": 50, "pkNr": 8}]},
            "konten": {"debitoren": [{"pkNr": 7, "adressId": 1}, {"pkNr": 6, "adressId": 3}],
                       "kreditoren": [{"pkNr": 8, "adressId": 2}]},
            "adressen": [{"adressId": 1, "firma": "Müller", "plz": "8000", "ort": "Zürich"},
                         {"adressId": 2, "firma": "Lieferant", "plz": "3000", "ort": "Bern"}]})");
        return ComputeTrialBalance(ClientFile::Load(file));
    }

    kandora::test::TemporaryFolder folder_;
};

TEST_F(TrialBalanceTest, InvoicesAndPaymentsStandOnOppositeSides) {
    const TrialBalance balance =
        Of({BookingJson(1, 1, "100.5", "D1"), BookingJson(2, 1, "40", "D1"), BookingJson(3, 1, "60.5", "D1"),
            BookingJson(4, 2, "1234567.05", "K1"), BookingJson(5, 2, "0.05", "K1")});
    EXPECT_EQ(balance.client, L"Prüf AG");
    ASSERT_EQ(balance.sections.size(), 3U);
    EXPECT_THAT(Describe(balance.sections[0]), ElementsAre(L"7|Müller|Zürich|3|100.50|100.50|0.00",
                                                           L"|Total Debitoren||3|100.50|100.50|0.00"));
    EXPECT_THAT(Describe(balance.sections[1]),
                ElementsAre(L"8|Lieferant|Bern|2|0.05|1'234'567.05|-1'234'567.00",
                            L"|Total Kreditoren||2|0.05|1'234'567.05|-1'234'567.00"));
    EXPECT_THAT(Describe(balance.sections[2]), ElementsAre(L"|Total Finanzbuchhaltung||0|0.00|0.00|0.00"));
    EXPECT_EQ(Describe(balance.total), L"|Total aller Buchungen||5|100.55|1'234'667.55|-1'234'567.00");
}

TEST_F(TrialBalanceTest, ACreditNoteChangesTheSide) {
    const TrialBalance balance = Of({BookingJson(1, 1, "-20", "D1"), BookingJson(2, 2, "-30", "K1")});
    EXPECT_EQ(Describe(balance.sections[0].lines[0]), L"7|Müller|Zürich|1|0.00|20.00|-20.00");
    EXPECT_EQ(Describe(balance.sections[1].lines[0]), L"8|Lieferant|Bern|1|30.00|0.00|30.00");
}

TEST_F(TrialBalanceTest, GapsInTheDataAreNamedAndComeLast) {
    const TrialBalance balance =
        Of({BookingJson(1, 1, "1", ""), BookingJson(2, 1, "2", "weg"), BookingJson(3, 1, "3", "X1"),
            BookingJson(4, 1, "4", "Y1"), BookingJson(5, 1, "5", "D1")});
    EXPECT_THAT(Describe(balance.sections[0]),
                ElementsAre(L"6|(Adresse nicht erfasst)||1|4.00|0.00|4.00",
                            L"7|Müller|Zürich|1|5.00|0.00|5.00",
                            L"99|(Konto nicht erfasst)||1|3.00|0.00|3.00",
                            L"|Offener Posten nicht mehr vorhanden||1|0.00|2.00|-2.00",
                            L"|Buchungen ohne offenen Posten||1|0.00|1.00|-1.00",
                            L"|Total Debitoren||5|12.00|3.00|9.00"));
}

TEST_F(TrialBalanceTest, TheGeneralLedgerIsSummedByMonth) {
    const TrialBalance balance =
        Of({BookingJson(1, 3, "10", "", "2026-12-31"), BookingJson(2, 0, "1", "", "2026-03-01"),
            BookingJson(3, 0, "-4", "", "2026-03-31"), BookingJson(4, 9, "2", "", "2027-01-01")});
    EXPECT_THAT(Describe(balance.sections[2]),
                ElementsAre(L"|März 2026||2|1.00|4.00|-3.00", L"|Dezember 2026||1|10.00|0.00|10.00",
                            L"|Januar 2027||1|2.00|0.00|2.00",
                            L"|Total Finanzbuchhaltung||4|13.00|4.00|9.00"));
    EXPECT_EQ(SwissDate(balance.from), L"01.03.2026");
    EXPECT_EQ(SwissDate(balance.to), L"01.01.2027");
}

TEST_F(TrialBalanceTest, TheSampleClientsBookingsAllCount) {
    const ClientFile client = ClientFile::Load(SampleClientPath());
    const TrialBalance balance = ComputeTrialBalance(client);
    EXPECT_EQ(balance.total.bookings, client.Bookings().size());
    const std::int64_t amounts = std::accumulate(
        client.Bookings().begin(), client.Bookings().end(), std::int64_t{0},
        [](std::int64_t sum, const Booking& booking) { return sum + std::abs(booking.betrag); });
    EXPECT_EQ(balance.total.debit + balance.total.credit, amounts);
}

TEST_F(TrialBalanceTest, TheReportFillsAsManyPagesAsItNeeds) {
    const ClientFile client = ClientFile::Load(SampleClientPath());
    const PdfFile file(RenderTrialBalance(ComputeTrialBalance(client)));
    EXPECT_EQ(file.CheckObjects(), 5U + 2U * file.PageCount());
    EXPECT_EQ(file.CheckStreams(), file.PageCount());
    EXPECT_EQ(file.PageCount(), 2U);
    const auto texts = file.Texts();
    EXPECT_THAT(texts, Contains(L"Seite 1 von 2"));
    EXPECT_THAT(texts, Contains(L"Seite 2 von 2"));
    EXPECT_THAT(texts, Contains(L"Mandant Muster AG"));
    EXPECT_THAT(texts, Contains(L"01.01.2026 – 31.12.2026"));
    EXPECT_THAT(texts, Contains(L"Boulangerie Grünenwald & Fils SA"));
    EXPECT_THAT(texts, Contains(L"Kreditoren (Fortsetzung)"));
    EXPECT_EQ(std::ranges::count(texts, L"Bezeichnung"), 2) << "each page has its head";
}

TEST_F(TrialBalanceTest, ManyLinesTakeManyPages) {
    TrialBalance balance = Of({});
    for (int line = 1; line <= 200; ++line) {
        balance.sections[0].lines.push_back(
            {std::to_wstring(line), L"Zeile " + std::to_wstring(line), L"", 1, 0, 0});
    }
    const PdfFile file(RenderTrialBalance(balance));
    file.CheckObjects();
    EXPECT_EQ(file.PageCount(), 5U);
    const auto texts = file.Texts();
    for (int line = 1; line <= 200; ++line) {
        EXPECT_EQ(std::ranges::count(texts, L"Zeile " + std::to_wstring(line)), 1) << line;
    }
    EXPECT_THAT(texts, Contains(L"Seite 5 von 5"));
}

TEST_F(TrialBalanceTest, AClientWithoutBookingsHasAReportToo) {
    const PdfFile file(RenderTrialBalance(Of({})));
    EXPECT_EQ(file.PageCount(), 1U);
    EXPECT_THAT(file.Texts(), Contains(L"keine Buchungen"));
}

TEST_F(TrialBalanceTest, LongNamesAreCutToTheirColumn) {
    TrialBalance balance = Of({});
    balance.sections[0].lines.push_back({L"1", std::wstring(200, L'W'), L"Ort", 1, 0, 0});
    const auto texts = PdfFile(RenderTrialBalance(balance)).Texts();
    const auto cut = std::ranges::find_if(texts, [](const auto& text) { return text.starts_with(L"WW"); });
    ASSERT_NE(cut, texts.end());
    EXPECT_TRUE(cut->ends_with(L"…"));
    EXPECT_LT(cut->size(), 25U);
}

TEST(SwissAmount, RoundsToRappenAndGroupsThousands) {
    EXPECT_EQ(SwissAmount(0), L"0.00");
    EXPECT_EQ(SwissAmount(49), L"0.00");
    EXPECT_EQ(SwissAmount(-49), L"0.00");
    EXPECT_EQ(SwissAmount(50), L"0.01");
    EXPECT_EQ(SwissAmount(-12345600), L"-1'234.56");
    EXPECT_EQ(SwissAmount(9999999), L"1'000.00");
    EXPECT_EQ(SwissAmount(10000000000), L"1'000'000.00");
}

}  // namespace

}  // namespace kandora::simulators
