#include <windows.h>

#include <oleauto.h>

#include <gmock/gmock.h>

#include "simulators/common/Files.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/ClientFile.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

class ClientFileTest : public ::testing::Test {
protected:
    ClientFile Load(const std::string& content = smallClient) {
        return ClientFile::Load(folder_.Write(L"klein.json", content));
    }

    /// What Load says about the small client with `from` replaced by `to`, without the file's path.
    std::wstring Complaint(const std::string& from, const std::string& to) {
        std::string content = smallClient;
        const std::size_t at = content.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        content.replace(at, from.size(), to);
        const std::wstring message = FailureOf([&] { Load(content); });
        const std::wstring path = folder_ / L"klein.json";
        return message.starts_with(path) ? message.substr(path.size()) : message;
    }

    kandora::test::TemporaryFolder folder_;
};

TEST_F(ClientFileTest, HoldsWhatTheFileSays) {
    ClientFile client = Load();
    EXPECT_EQ(client.Mandant(), L"C:\\Daten\\Mandanten\\Klein");
    ASSERT_EQ(client.Bookings().size(), 3U);
    const Booking* booking = client.FindBooking(L"10", L"1");
    ASSERT_TRUE(booking);
    EXPECT_EQ(booking->ursprung, 1);
    EXPECT_EQ(booking->text, L"RG Müller");
    EXPECT_EQ(booking->betrag, 1234500);
    EXPECT_EQ(booking->datum, 46085.0);
    EXPECT_EQ(client.FindBooking(L"10", L"2")->betrag, -500);
    EXPECT_EQ(client.FindBooking(L"11", L"1")->barcode, L"");
    EXPECT_FALSE(client.FindBooking(L"10", L"3"));
    EXPECT_EQ(client.FindAddress(501)->ort, L"Zürich");
    EXPECT_FALSE(client.FindAddress(503));
}

TEST_F(ClientFileTest, DebtorsAndCreditorsNumberIndependently) {
    const ClientFile client = Load();
    EXPECT_EQ(client.FindOpenItem(Ledger::Debtors, L"77")->betragFaktura, 2005000);
    EXPECT_EQ(client.FindOpenItem(Ledger::Creditors, L"77")->betragFaktura, 999500);
    EXPECT_EQ(client.FindAccount(Ledger::Debtors, 1)->adressId, 501);
    EXPECT_EQ(client.FindAccount(Ledger::Creditors, 1)->adressId, 502);
}

TEST_F(ClientFileTest, OptionsAreReadByGroupAndKey) {
    const ClientFile client = Load();
    EXPECT_EQ(client.Option(600, 100), L"TRUE");
    EXPECT_EQ(client.Option(600, 105), L"C:\\Ablage\\Ä.pdf");
    EXPECT_EQ(client.Option(600, 109), L"");
    EXPECT_EQ(client.Option(601, 100), L"");
}

TEST_F(ClientFileTest, AnOptionSurvivesAReload) {
    ClientFile client = Load();
    client.SetOption(600, 109, L"/Sesam/Ä \"x\"");
    client.SetOption(700, 1, L"neu");
    client.SetOption(600, 100, L"false");
    const ClientFile again = ClientFile::Load(folder_ / L"klein.json");
    EXPECT_EQ(again.Option(600, 109), L"/Sesam/Ä \"x\"");
    EXPECT_EQ(again.Option(700, 1), L"neu");
    EXPECT_EQ(again.Option(600, 100), L"false");
    EXPECT_EQ(again.Option(600, 105), L"C:\\Ablage\\Ä.pdf");
    EXPECT_EQ(again.Bookings().size(), 3U);
    EXPECT_FALSE(std::filesystem::exists(folder_ / L"klein.json.tmp"));
}

TEST_F(ClientFileTest, AnOptionThatCannotBeWrittenKeepsItsValue) {
    ClientFile client = Load();
    // The temporary file of the write cannot be made where a folder stands.
    std::filesystem::create_directory(folder_ / L"klein.json.tmp");
    EXPECT_NE(FailureOf([&] { client.SetOption(600, 100, L"false"); }), L"");
    EXPECT_EQ(client.Option(600, 100), L"TRUE");
    EXPECT_EQ(ReadWholeFile(folder_ / L"klein.json"), smallClient);
}

TEST_F(ClientFileTest, AByteOrderMarkIsNoMistake) {
    const ClientFile client = Load("\xEF\xBB\xBF" + std::string(smallClient));
    EXPECT_EQ(client.Bookings().size(), 3U);
}

TEST_F(ClientFileTest, UndeclaredGapsAreReported) {
    std::string content = smallClient;
    content.replace(content.find("\"adressId\": 502}"), 16, "\"adressId\": 599}");
    EXPECT_THAT(Load(content).UnresolvedReferences(),
                ::testing::ElementsAre(
                    ::testing::EndsWith(L"Konto 1 verweist auf die Adresse 599, was nicht erfasst ist.")));
    content.replace(content.find("\"buchungen\""), 11,
                    R"("bewusstFehlend": {"adressen": [599]}, "buchungen")");
    EXPECT_THAT(Load(content).UnresolvedReferences(), ::testing::IsEmpty());
}

TEST_F(ClientFileTest, AMissingFileIsNamed) {
    const std::wstring message = FailureOf([&] { ClientFile::Load(folder_ / L"fehlt.json"); });
    EXPECT_THAT(message, ::testing::HasSubstr(L"fehlt.json"));
}

TEST_F(ClientFileTest, MistakesAreReportedWithTheirPlace) {
    struct Mistake {
        const char* right;
        const char* wrong;
        int line;
        int column;
        const wchar_t* complaint;
    };
    const Mistake mistakes[] = {
        {R"("buchungen": [)", R"("buchungen": {[)", 4, 17, L"Das ist kein gültiges JSON."},
        {R"("mandant": "C:\\Daten\\Mandanten\\Klein",)", "", 1, 1, L"Die Angabe «mandant» fehlt."},
        {R"("ursprung": 1)", R"("ursprung": "1")", 5, 54, L"Hier muss eine ganze Zahl stehen."},
        {"2026-03-04", "4.3.2026", 5, 87, L"Hier muss ein Datum wie \"2026-03-31\" stehen."},
        {"2026-12-31", "2026-02-29", 9, 84, L"Hier muss ein Datum wie \"2026-03-31\" stehen."},
        {R"("betrag": 1000)", R"("betrag": "1000")", 9, 108, L"Hier muss eine Zahl stehen."},
        {R"("barcode": "B1")", R"("barkode": "B1")", 6, 20, L"Unbekannte Angabe «barkode»."},
        {R"("belegNr": "11")", R"("belegNr": "")", 9, 17, L"Der Text darf nicht leer sein."},
        {R"("belegNr": "11")", R"("belegNr": "10")", 9, 5,
         L"Belegnummer und Belegindex kommen schon weiter oben vor."},
        {R"("adressId": 502,)", R"("adressId": 501,)", 22, 5, L"Diese Nummer kommt schon weiter oben vor."},
        {R"("TRUE")", "true", 3, 31, L"Hier muss ein Text in Anführungszeichen stehen."},
    };
    for (const auto& [right, wrong, line, column, complaint] : mistakes) {
        const std::wstring place =
            L", Zeile " + std::to_wstring(line) + L", Spalte " + std::to_wstring(column);
        EXPECT_EQ(Complaint(right, wrong), place + L": " + complaint) << wrong;
    }
}

TEST(BookingFields, TakeOnlyWhatSuitsThem) {
    Booking booking;
    EXPECT_EQ(SetBookingField(booking, L"text", L"neu"), L"");
    EXPECT_EQ(SetBookingField(booking, L"betrag", L"-1234.5"), L"");
    EXPECT_EQ(SetBookingField(booking, L"datum", L"2026-02-28"), L"");
    EXPECT_EQ(SetBookingField(booking, L"ursprung", L"2"), L"");
    EXPECT_EQ(SetBookingField(booking, L"opNr", L"O1"), L"");
    EXPECT_EQ(SetBookingField(booking, L"barcode", L"B"), L"");
    EXPECT_EQ(SetBookingField(booking, L"docId", L"1"), L"");
    EXPECT_EQ(booking.text, L"neu");
    EXPECT_EQ(booking.betrag, -12345000);
    EXPECT_EQ(booking.ursprung, 2);
    EXPECT_NE(SetBookingField(booking, L"betrag", L"1'000"), L"");
    EXPECT_NE(SetBookingField(booking, L"betrag", L"1.23456"), L"");
    EXPECT_NE(SetBookingField(booking, L"betrag", L""), L"");
    EXPECT_NE(SetBookingField(booking, L"datum", L"2026-02-30"), L"");
    EXPECT_NE(SetBookingField(booking, L"ursprung", L"12"), L"");
    EXPECT_EQ(SetBookingField(booking, L"belegNr", L"12"), L"");
    EXPECT_EQ(booking.belegNr, L"12");
    EXPECT_NE(SetBookingField(booking, L"belegIndex", L""), L"");
    EXPECT_NE(SetBookingField(booking, L"nummer", L"12"), L"");
    EXPECT_EQ(booking.betrag, -12345000) << "a refused value changes nothing";
}

}  // namespace

}  // namespace kandora::simulators
