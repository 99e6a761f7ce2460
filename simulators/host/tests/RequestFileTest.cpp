#include <gmock/gmock.h>

#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/RequestFile.h"
#include "simulators/host/tests/HostFixture.h"

namespace kandora::simulators {

namespace {

Request Parse(const std::wstring& line) {
    return ParseRequests(line, L"a.txt").at(0);
}

std::wstring Complaint(const std::wstring& text) {
    return FailureOf([&] { ParseRequests(text, L"a.txt"); });
}

TEST(RequestFile, BlankLinesAndCommentsCarryNoRequest) {
    const auto requests =
        ParseRequests(L"\uFEFF# Kopf\r\n\r\n  InitProvider # Ende\n\tStartProvider\n#SaveDocument", L"a.txt");
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].kind, RequestKind::InitProvider);
    EXPECT_EQ(requests[0].place.line, 3U);
    EXPECT_EQ(requests[0].place.column, 3U);
    EXPECT_EQ(requests[1].kind, RequestKind::StartProvider);
    EXPECT_EQ(requests[1].place.line, 4U);
}

TEST(RequestFile, ADocumentRequestNamesItsVoucher) {
    const Request request = Parse(L"SaveDocument 20261120093000 1001 2 \"B 17\"");
    EXPECT_EQ(request.kind, RequestKind::SaveDocument);
    EXPECT_EQ(request.docId, L"20261120093000");
    EXPECT_EQ(request.belegNr, L"1001");
    EXPECT_EQ(request.belegIndex, L"2");
    EXPECT_EQ(request.barcode, L"B 17");
    EXPECT_FALSE(request.fromBooking);
}

TEST(RequestFile, ADocumentRequestMayTakeTheBookingOfTheClient) {
    const Request request = Parse(L"DeleteDocument booking 1001 2");
    EXPECT_TRUE(request.fromBooking);
    EXPECT_EQ(request.docId, L"");
    EXPECT_EQ(request.belegNr, L"1001");
    EXPECT_FALSE(Parse(L"SaveDocument \"booking\" 1 1").fromBooking) << "in quotes it is a document id";
}

TEST(RequestFile, AnEmptyTextInQuotesIsAValue) {
    EXPECT_EQ(Parse(L"SaveDocument 1 2 3 \"\"").barcode, L"");
    EXPECT_EQ(Parse(L"option 100 \"\"").text, L"");
}

TEST(RequestFile, ShowingAndPrintingNeedOnlyTheDocument) {
    EXPECT_EQ(Parse(L"ShowDocument 123").docId, L"123");
    EXPECT_EQ(Parse(L"PrintDocument 123").kind, RequestKind::PrintDocument);
}

TEST(RequestFile, QuotesHoldBlanksBackslashesNumberSignsAndDoubledQuotes) {
    const Request request = Parse(L"openclient \"C:\\Daten #1\\\"\"Klein\"\".json\" kopie.json");
    EXPECT_EQ(request.kind, RequestKind::OpenClient);
    EXPECT_EQ(request.text, L"C:\\Daten #1\\\"Klein\".json");
    EXPECT_EQ(request.copy, L"kopie.json");
}

TEST(RequestFile, ChangesAreAssignments) {
    const Request request = Parse(L"change 1001 1 text=\"a = b\" betrag=-12.50 opNr=");
    ASSERT_EQ(request.changes.size(), 3U);
    EXPECT_EQ(request.changes[0].field, L"text");
    EXPECT_EQ(request.changes[0].value, L"a = b");
    EXPECT_EQ(request.changes[1].value, L"-12.50");
    EXPECT_EQ(request.changes[1].place.column, 28U);
    EXPECT_EQ(request.changes[2].value, L"");
}

TEST(RequestFile, OptionsHaveNumberedKeys) {
    const Request request = Parse(L"option 100 false");
    EXPECT_EQ(request.optionKey, 100);
    EXPECT_EQ(request.text, L"false");
}

struct Mistake {
    const wchar_t* text;
    const wchar_t* complaint;
};

class RequestFileMistakes : public ::testing::TestWithParam<Mistake> {};

TEST_P(RequestFileMistakes, AreReportedWithTheirPlace) {
    EXPECT_EQ(Complaint(GetParam().text), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    All, RequestFileMistakes,
    ::testing::Values(
        Mistake{L"InitProvider\n  Foo", L"a.txt, Zeile 2, Spalte 3: Unbekannte Anfrage «Foo»."},
        Mistake{L"initprovider", L"a.txt, Zeile 1, Spalte 1: Unbekannte Anfrage «initprovider»."},
        Mistake{L"SaveDocument 1 2",
                L"a.txt, Zeile 1, Spalte 17: Nach «SaveDocument» fehlt: der Belegindex."},
        Mistake{L"SaveDocument booking 1 1 B", L"a.txt, Zeile 1, Spalte 26: Angabe zu viel: «B»."},
        Mistake{L"FibuVersion", L"a.txt, Zeile 1, Spalte 12: Nach «FibuVersion» fehlt: die Version."},
        Mistake{L"CreateDocID \"ab",
                L"a.txt, Zeile 1, Spalte 13: Das Anführungszeichen wird nicht geschlossen."},
        Mistake{L"closeclient x", L"a.txt, Zeile 1, Spalte 13: Angabe zu viel: «x»."},
        Mistake{L"openclient", L"a.txt, Zeile 1, Spalte 11: Nach «openclient» fehlt: die Mandantendatei."},
        Mistake{L"change 1 1",
                L"a.txt, Zeile 1, Spalte 11: Nach «change» fehlt: eine Änderung wie text=\"neuer Text\"."},
        Mistake{L"change 1 1 farbe=rot", L"a.txt, Zeile 1, Spalte 12: Eine Buchung hat kein Feld «farbe»."},
        Mistake{L"change 1 1 text", L"a.txt, Zeile 1, Spalte 12: Erwartet wird Feld=Wert, nicht «text»."},
        Mistake{L"option 40000 x",
                L"a.txt, Zeile 1, Spalte 8: Der Schlüssel ist eine Zahl von 0 bis 32767, nicht «40000»."},
        Mistake{L"option 1x x",
                L"a.txt, Zeile 1, Spalte 8: Der Schlüssel ist eine Zahl von 0 bis 32767, nicht «1x»."}));

TEST(RequestFile, ABookingCanGetAnotherNumber) {
    const Request request = Parse(L"change 26105 1 belegNr=26905 belegIndex=2");
    EXPECT_EQ(request.belegNr, L"26105");
    ASSERT_EQ(request.changes.size(), 2U);
    EXPECT_EQ(request.changes[0].field, L"belegNr");
    EXPECT_EQ(request.changes[1].value, L"2");
}

TEST(RequestFile, AReportIsDescribedInWords) {
    const Request request = Parse(L"describe kurzbezeichnung=Saldo von=\"\" beschreibung=\"Zwei Wörter\"");
    EXPECT_EQ(request.kind, RequestKind::DescribeReport);
    EXPECT_FALSE(IsSentToComponent(request.kind));
    ASSERT_EQ(request.changes.size(), 3U);
    EXPECT_EQ(request.changes[1].field, L"von");
    EXPECT_EQ(request.changes[1].value, L"");
    EXPECT_EQ(request.changes[2].value, L"Zwei Wörter");
    EXPECT_EQ(Complaint(L"describe titel=Saldo"),
              L"a.txt, Zeile 1, Spalte 10: Eine Auswertung hat keine Angabe «titel».");
    EXPECT_THAT(Complaint(L"describe"), ::testing::HasSubstr(L"fehlt: eine Angabe wie beschreibung="));
}

}  // namespace

}  // namespace kandora::simulators
