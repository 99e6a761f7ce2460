#include <gmock/gmock.h>

#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/StoreReader.h"
#include "simulators/host/YearTable.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

class StoreReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_.Write(
            L"archiv.json",
            R"({"archive": ["A"], "trennzeichen": "¶", "benutzer": [], "masken": [{"nummer": 3, "name": "Debi",
                          "felder": [{"zeile": 1, "name": "Barcode"}, {"zeile": 5, "name": "Dokument"}]}]})");
        folder_.Write(L"Ordner\\Sesam\\ordner.json", R"({"id": 2, "name": "Sesam"})");
        folder_.Write(L"Ordner\\Sesam\\A%2FB\\ordner.json", R"({"id": 3, "name": "A/B"})");
        folder_.Write(L"Ordner\\Sesam\\A%2FB\\10.json", Entry(10, "20260304080000"));
        folder_.Write(L"Ordner\\Sesam\\A%2FB\\10.pdf", "%PDF");
        folder_.Write(L"Ordner\\Sesam\\A%2FB\\11.json.tmp", "halb");
    }

    static std::string Entry(int id, const std::string& docId) {
        return R"({"id": )" + std::to_string(id) +
               R"(, "maske": 3, "kurzbezeichnung": "RG Müller", "felder": {"1": "B1", "5": ")" + docId +
               R"("}, "dokument": ")" + std::to_string(id) + R"(.pdf", "abgelegt": "2026-11-20T10:11:12"})";
    }

    StoreReader Read() { return StoreReader::Read(folder_ / L""); }

    kandora::test::TemporaryFolder folder_;
};

TEST_F(StoreReaderTest, FindsEntriesWithTheirFolderAndFields) {
    const StoreReader store = Read();
    ASSERT_EQ(store.Entries().size(), 1U);
    const StoredEntry& entry = store.Entries()[0];
    EXPECT_EQ(entry.id, 10);
    EXPECT_EQ(entry.folder, L"/Sesam/A/B");
    EXPECT_EQ(entry.shortName, L"RG Müller");
    EXPECT_EQ(entry.fields.at(1), L"B1");
    EXPECT_TRUE(entry.hasDocument);
    EXPECT_EQ(store.FieldName(3, 5), L"Dokument");
    EXPECT_EQ(store.FieldName(3, 6), L"Feld 6");
    EXPECT_EQ(store.MaskName(3), L"Debi");
    EXPECT_EQ(store.MaskName(4), L"Maske 4");
}

TEST_F(StoreReaderTest, TheYoungestEntryOfADocumentCounts) {
    folder_.Write(L"Ordner\\Sesam\\9.json", Entry(9, "20260304080000"));
    folder_.Write(L"Ordner\\Sesam\\12.json", Entry(12, "20260304080000"));
    const StoreReader store = Read();
    ASSERT_TRUE(store.FindByFieldValue(L"20260304080000"));
    EXPECT_EQ(store.FindByFieldValue(L"20260304080000")->id, 12);
    EXPECT_FALSE(store.FindByFieldValue(L"20260304080000")->hasDocument);
    EXPECT_FALSE(store.FindByFieldValue(L"1"));
}

TEST_F(StoreReaderTest, ABrokenEntryIsNamed) {
    folder_.Write(L"Ordner\\Sesam\\13.json", "{\"id\": 13}");
    EXPECT_THAT(FailureOf([&] { Read(); }), ::testing::HasSubstr(L"13.json, Zeile 1, Spalte 1"));
    const kandora::test::TemporaryFolder empty;
    EXPECT_THAT(FailureOf([&] { StoreReader::Read(empty / L""); }), ::testing::HasSubstr(L"archiv.json"));
}

TEST_F(StoreReaderTest, TheTableSaysWhatWasFiledAndWhatNot) {
    const ClientFile client = ClientFile::Load(folder_.Write(L"klein.json", smallClient));
    std::vector<Outcome> outcomes = AllSaved(client);
    outcomes[1].boxes.push_back({L"Kandora", L"Ordner fehlt"});
    const StoreReader store = Read();
    const auto lines = RenderYearTable(client, outcomes, &store, 1.5, {0, 80});
    EXPECT_THAT(lines, ::testing::IsSupersetOf({
                           L"Debitoren: 1 Beleg gespeichert",
                           L"  1 Eintrag im Ordner /Sesam/A/B, Maske «Debi»",
                           L"    Eintrag  Kurzbezeichnung  Barcode  Dokument",
                           L"         10  RG Müller        B1       20260304080000",
                           L"  1 mit Barcode, aber nicht im Archiv:",
                           L"    10/2: Meldung «Ordner fehlt»",
                           L"  1 nicht abgelegt, weil kein Barcode: 11/1",
                           L"Total                        3         1             1                1",
                           L"Dauer: 1.5 s, 500.0 ms je Beleg",
                       }));
}

TEST_F(StoreReaderTest, AVoucherWithBarcodeThatIsNotFiledIsNoticed) {
    Outcome outcome;
    outcome.kind = RequestKind::SaveDocument;
    outcome.docId = L"20260304080000";
    outcome.barcode = L"B1";
    const StoreReader store = Read();
    EXPECT_TRUE(IsEverythingFiled({outcome}, store));
    outcome.docId = L"20260305080000";
    EXPECT_FALSE(IsEverythingFiled({outcome}, store));
    outcome.barcode.clear();
    EXPECT_TRUE(IsEverythingFiled({outcome}, store));
}

TEST_F(StoreReaderTest, LongTablesAreCutWhereAsked) {
    folder_.Write(L"Ordner\\Sesam\\A%2FB\\14.json", Entry(14, "20260305080000"));
    const ClientFile client = ClientFile::Load(folder_.Write(L"klein.json", smallClient));
    std::vector<Outcome> outcomes(2);
    for (Outcome& outcome : outcomes) {
        outcome.kind = RequestKind::SaveDocument;
        outcome.belegNr = L"10";
        outcome.belegIndex = L"1";
        outcome.barcode = L"B";
    }
    outcomes[0].docId = L"20260304080000";
    outcomes[1].docId = L"20260305080000";
    const StoreReader store = Read();
    EXPECT_THAT(RenderYearTable(client, outcomes, &store, 1, {1, 80}),
                ::testing::Contains(L"    … und 1 weitere"));
    EXPECT_THAT(RenderYearTable(client, outcomes, &store, 1, {2, 80}),
                ::testing::Not(::testing::Contains(L"    … und 1 weitere")));
}

TEST_F(StoreReaderTest, FieldsWithoutRoomAreNamedBelowTheTable) {
    folder_.Write(L"archiv.json", R"({"masken": [{"nummer": 3, "name": "Debi", "felder": [
        {"zeile": 1, "name": "Notiz"}, {"zeile": 2, "name": "Bemerkung"}, {"zeile": 5, "name": "Betrag"},
        {"zeile": 6, "name": "Ort"}, {"zeile": 7, "name": "Kürzel"}]}]})");
    folder_.Write(
        L"Ordner\\Sesam\\A%2FB\\10.json",
        R"({"id": 10, "maske": 3, "kurzbezeichnung": "RG Müller, elf Dutzend Espressotassen", "felder": {
        "1": "ein Satz, der mehr sagt, als jemand liest", "2": "noch einer, der auch nicht in die Zeile passt",
        "5": "20260304080000", "6": "9450 Altstätten SG", "7": "üäö"}})");
    const ClientFile client = ClientFile::Load(folder_.Write(L"klein.json", smallClient));
    std::vector<Outcome> outcomes(1);
    outcomes[0].kind = RequestKind::SaveDocument;
    outcomes[0].docId = L"20260304080000";
    const StoreReader store = Read();
    const auto tableAt = [&](std::size_t width) {
        std::vector<std::wstring> lines = RenderYearTable(client, outcomes, &store, 1, {0, width});
        std::erase_if(lines, [](const std::wstring& line) { return !line.starts_with(L"    "); });
        return lines;
    };
    // The amount precedes the mask's first fields; a short place fits in although a long note does not.
    EXPECT_THAT(tableAt(80),
                ::testing::ElementsAre(
                    L"    Eintrag  Kurzbezeichnung                  Betrag          Ort",
                    L"    -------  -------------------------------  --------------  ------------------",
                    L"         10  RG Müller, elf Dutzend Espress…  20260304080000  9450 Altstätten SG",
                    L"    ohne Platz in der Tabelle: Notiz, Bemerkung, Kürzel", L"    ohne Dokument: 1"));
    EXPECT_THAT(tableAt(200),
                ::testing::ElementsAre(::testing::AllOf(::testing::HasSubstr(L"  Notiz  "),
                                                        ::testing::HasSubstr(L"  Bemerkung  "),
                                                        ::testing::EndsWith(L"  Kürzel")),
                                       ::testing::_, ::testing::EndsWith(L"  üäö"), L"    ohne Dokument: 1"));
}

TEST_F(StoreReaderTest, AMessageIsToldInFullWhateverItsLength) {
    const ClientFile client = ClientFile::Load(folder_.Write(L"klein.json", smallClient));
    std::vector<Outcome> outcomes(1);
    outcomes[0].kind = RequestKind::SaveDocument;
    outcomes[0].belegNr = L"10";
    outcomes[0].belegIndex = L"2";
    outcomes[0].barcode = L"B2";
    outcomes[0].boxes.push_back({L"Kandora",
                                 L"Der Ordner «Mandanten» lässt sich im Archiv nicht anlegen, weil es "
                                 L"dem Benutzer verwehrt ist: Fehler 5"});
    const StoreReader store = Read();
    EXPECT_THAT(RenderYearTable(client, outcomes, &store, 1, {0, 80}),
                ::testing::IsSupersetOf(
                    {L"    10/2: Meldung «Der Ordner «Mandanten» lässt sich im Archiv nicht anlegen,",
                     L"      weil es dem Benutzer verwehrt ist: Fehler 5»"}));
}

}  // namespace

}  // namespace kandora::simulators
