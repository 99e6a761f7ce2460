#include <gmock/gmock.h>

#include "simulators/host/ChangesTable.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ChangesTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_.Write(L"archiv.json", R"({"masken": [{"nummer": 3, "name": "Debitoren", "felder": [
            {"zeile": 1, "name": "Barcode"}, {"zeile": 2, "name": "Betrag"}, {"zeile": 5, "name": "Dokument"}]}]})");
        folder_.Write(L"Ordner\\Debi\\ordner.json", R"({"id": 2, "name": "Debi"})");
    }

    void File(int id, const std::string& name, const std::string& fields) {
        folder_.Write(L"Ordner\\Debi\\" + std::to_wstring(id) + L".json",
                      R"({"id": )" + std::to_string(id) + R"(, "maske": 3, "kurzbezeichnung": ")" + name +
                          R"(", "felder": {)" + fields + R"(}})");
    }
    void Delete(int id) {
        std::filesystem::remove(folder_ / (L"Ordner\\Debi\\" + std::to_wstring(id) + L".json"));
    }
    StoreReader Read() { return StoreReader::Read(folder_ / L""); }

    static ChangeStep Step(RequestKind kind, const std::wstring& barcode) {
        ChangeStep step;
        step.outcome.kind = kind;
        step.outcome.docId = L"20260304080000";
        step.outcome.belegNr = L"10";
        step.outcome.belegIndex = L"1";
        step.outcome.barcode = barcode;
        return step;
    }

    kandora::test::TemporaryFolder folder_;
};

TEST_F(ChangesTableTest, AChangedEntryShowsAllFieldsBeforeAndAfter) {
    File(7, "RG alt", R"("1": "B1", "2": "10", "5": "20260304080000")");
    File(8, "unberührt", R"("1": "B2")");
    const StoreReader before = Read();
    File(7, "RG neu", R"("1": "B1", "2": "11", "5": "20260304080000")");
    const StoreReader after = Read();
    ChangeStep step = Step(RequestKind::DocumentChanged, L"");
    step.preparations = {L"change 10 1 text=\"RG neu\" barcode=", L"change 10 1 betrag=11"};
    EXPECT_THAT(RenderChange(3, step, before, after, 80),
                ElementsAre(L"3.  change 10 1 text=\"RG neu\" barcode=", L"    change 10 1 betrag=11",
                            L"    DocumentChanged 20260304080000 10 1 -> S_OK (ohne Barcode)",
                            L"    Eintrag 7 im Ordner /Debi, Maske «Debitoren»: geändert",
                            L"         Feld             vorher          nachher",
                            L"      -  ---------------  --------------  --------------",
                            L"      *  Kurzbezeichnung  RG alt          RG neu",
                            L"         Barcode          B1              B1",
                            L"      *  Betrag           10              11",
                            L"         Dokument         20260304080000  20260304080000"));
}

TEST_F(ChangesTableTest, AFiledEntryShowsItsFields) {
    const StoreReader before = Read();
    File(9, "Neu", R"("1": "B9")");
    EXPECT_THAT(RenderChange(12, Step(RequestKind::DocumentChanged, L"B9"), before, Read(), 80),
                ElementsAre(L"12. DocumentChanged 20260304080000 10 1 B9 -> S_OK",
                            L"    Eintrag 9 im Ordner /Debi, Maske «Debitoren»: abgelegt",
                            L"      Feld             Wert", L"      ---------------  ----",
                            L"      Kurzbezeichnung  Neu", L"      Barcode          B9"));
}

TEST_F(ChangesTableTest, ADeletedEntryIsNamed) {
    File(7, "Weg damit", R"("5": "20260304080000")");
    const StoreReader before = Read();
    Delete(7);
    EXPECT_THAT(RenderChange(1, Step(RequestKind::DeleteDocument, L"B1"), before, Read(), 80),
                ElementsAre(L"1.  DeleteDocument 20260304080000 10 1 B1 -> S_OK",
                            L"    Eintrag 7 im Ordner /Debi, Maske «Debitoren»: gelöscht",
                            L"      «Weg damit»"));
}

TEST_F(ChangesTableTest, WithoutChangeTheEntryIsNamedWhereThereIsOne) {
    const StoreReader none = Read();
    ChangeStep step = Step(RequestKind::ShowDocument, L"");
    step.outcome.boxes.push_back({L"Kandora", L"Nicht\r\n\r\ngefunden"});
    EXPECT_THAT(RenderChange(1, step, none, none, 80),
                ElementsAre(L"1.  ShowDocument 20260304080000 10 1 -> S_OK", L"    Fenster «Kandora»:",
                            L"      Nicht", L"      gefunden", L"    Nicht im Archiv: unverändert"));
    File(7, "Da", R"("5": "20260304080000")");
    const StoreReader there = Read();
    EXPECT_EQ(RenderChange(1, Step(RequestKind::ShowDocument, L""), there, there, 80).back(),
              L"    Eintrag 7 im Ordner /Debi, Maske «Debitoren»: unverändert");
}

TEST_F(ChangesTableTest, LongTextsThatDifferAtTheirEndAreMarkedAndShowIt) {
    File(10, "RG 26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Dutzend", R"("1": "MU26000005")");
    const StoreReader before = Read();
    File(10, "RG 26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Dutzend (Rückfrage erledigt)",
         R"("1": "MU26000005")");
    const StoreReader after = Read();
    const auto tableAt = [&](std::size_t width) {
        const auto lines = RenderChange(1, Step(RequestKind::DocumentChanged, L""), before, after, width);
        return std::vector<std::wstring>(lines.begin() + 2, lines.end());
    };
    EXPECT_THAT(tableAt(80),
                ElementsAre(L"         Feld             vorher      nachher",
                            L"      -  ---------------  ----------  ----------", L"      *  Kurzbezeichnung",
                            L"           vorher         …he, 11 x Espressotassen, Dutzend",
                            L"           nachher        …he, 11 x Espressotassen, Dutzend "
                            L"(Rückfrage erledigt)",
                            L"         Barcode          MU26000005  MU26000005"));
    EXPECT_THAT(
        tableAt(237)[2],
        L"      *  Kurzbezeichnung  RG 26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Dutzend  RG "
        L"26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Dutzend (Rückfrage erledigt)");
}

TEST_F(ChangesTableTest, ALongTextThatStaysIsShownAlikeOnBothSides) {
    const std::string text = "RG 26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Dutzend";
    File(10, text, R"("1": "B1")");
    const StoreReader before = Read();
    File(10, text, R"("1": "B2")");
    EXPECT_EQ(RenderChange(1, Step(RequestKind::DocumentChanged, L"B2"), before, Read(), 80)[4],
              L"         Kurzbezeichnung  RG 26102 Alterszentrum Li…  RG 26102 Alterszentrum Li…");
}

/// Whatever differs between the entries has a marked row.
TEST_F(ChangesTableTest, NoDifferenceGoesWithoutAMark) {
    folder_.Write(L"Ordner\\Debi\\Alt\\ordner.json", R"({"id": 3, "name": "Alt"})");
    const auto write = [&](const wchar_t* path, const char* rest) {
        folder_.Write(path, R"({"id": 7, "kurzbezeichnung": "a", )" + std::string(rest) + "}");
    };
    write(L"Ordner\\Debi\\7.json", R"("maske": 3, "felder": {"1": "", "5": "zwei  Blanks"})");
    const StoreReader before = Read();
    Delete(7);
    write(L"Ordner\\Debi\\Alt\\7.json",
          R"("maske": 4, "felder": {"2": "", "5": "zwei\n Blanks"}, "dokument": "7.pdf")");
    folder_.Write(L"Ordner\\Debi\\Alt\\7.pdf", "%PDF");
    const auto lines = RenderChange(1, Step(RequestKind::DocumentChanged, L"B1"), before, Read(), 80);
    EXPECT_THAT(std::vector<std::wstring>(lines.begin() + 1, lines.end()),
                ElementsAre(L"    Eintrag 7 im Ordner /Debi/Alt, Maske «Maske 4»: geändert",
                            L"         Feld             vorher        nachher",
                            L"      -  ---------------  ------------  ------------",
                            L"         Kurzbezeichnung  a             a",
                            L"      *  Ordner           /Debi         /Debi/Alt",
                            L"      *  Maske            3 Debitoren   4 Maske 4",
                            L"      *  Dokument         fehlt         vorhanden",
                            L"      *  Feld 1                         —", L"      *  Feld 2           —",
                            L"      *  Feld 5           zwei␣ Blanks  zwei␊ Blanks"));
}

TEST_F(ChangesTableTest, LinesWithoutATableAreBrokenAtBlanks) {
    const StoreReader none = Read();
    ChangeStep step = Step(RequestKind::PrintDocument, L"");
    step.preparations = {
        L"describe kurzbezeichnung=\"Saldobilanz 2026\" beschreibung=\"geprüft für die Bücher «2026»\""};
    step.outcome.boxes.push_back(
        {L"Auswertung Indizieren",
         L"Kurzbezeichnung: Saldobilanz 2026\nBeschreibung: Saldobilanz der Debitoren, "
         L"Kreditoren und der Finanzbuchhaltung, geprüft für die Bücher"});
    EXPECT_THAT(
        RenderChange(16, step, none, none, 80),
        ElementsAre(L"16. describe kurzbezeichnung=\"Saldobilanz 2026\" beschreibung=\"geprüft für die",
                    L"      Bücher «2026»\"", L"    PrintDocument 20260304080000 10 1 -> S_OK",
                    L"    Fenster «Auswertung Indizieren»:", L"      Kurzbezeichnung: Saldobilanz 2026",
                    L"      Beschreibung: Saldobilanz der Debitoren, Kreditoren und der",
                    L"        Finanzbuchhaltung, geprüft für die Bücher",
                    L"    Nicht im Archiv: unverändert"));
}

TEST_F(ChangesTableTest, TotalsCountEntriesByWhatBecameOfThem) {
    File(1, "a", "");
    File(2, "b", "");
    const StoreReader before = Read();
    Delete(1);
    File(2, "bb", "");
    File(3, "c", "");
    const StoreReader after = Read();
    const auto changes = CompareStores(before, after);
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes[0].after, nullptr);
    EXPECT_EQ(changes[1].after->shortName, L"bb");
    EXPECT_EQ(changes[2].before, nullptr);
    EXPECT_THAT(CompareStores(after, after), IsEmpty());
    ChangeTotals totals;
    totals.Add(changes);
    EXPECT_EQ(RenderChangeTotals(totals), L"1 Anfrage: 1 Eintrag abgelegt, 1 geändert, 1 gelöscht");
    totals.Add({});
    EXPECT_EQ(RenderChangeTotals(totals), L"2 Anfragen: 1 Eintrag abgelegt, 1 geändert, 1 gelöscht");
}

}  // namespace

}  // namespace kandora::simulators
