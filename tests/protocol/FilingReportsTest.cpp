// What filing a printed report says to the user and the archive.

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

class Report : public OpenArchiveTest {
protected:
    Report() { screen.dialogs.push_back({true, L"Bilanz", L"Bilanz 2026", L"1.1.2026", L"31.12.2026", {}}); }

    const Lines upToIndex{
        "archive.PrepareObjectEx(I4 0, I2 254, I4& 3) -> I4 1",
        "archive.ObjMaskNo = I4 3",
        R"(archive.ObjShort = BSTR "Bilanz")",
        R"(archive.setobjAttrib(I2& 21, BSTR "Bilanz 2026"))",
        R"(archive.setobjAttrib(I2& 23, BSTR "31.12.2026"))",
        R"(archive.setobjAttrib(I2& 22, BSTR "1.1.2026"))",
    };
    const std::string posted = R"(archive.AddPostboxFile(BSTR& "C:\Druck\Liste.pdf") -> I4 1)";
    const Lines found{
        R"(archive.LookupDelimiter -> BSTR "¶")",
        R"(archive.LookupIndex(BSTR& "¶Sesam¶Muster¶Auswertungen") -> I4 800)",
    };
};

TEST_F(Report, IsFiledAsTheUserDescribedIt) {
    Client().SaveAuswertung();
    Expect(Together(
        {{"dialog -> True"},
         Probed(Together({upToIndex,
                          {posted},
                          found,
                          {R"(archive.MoveToArchive(BSTR "#800") -> I4 1)", "archive.GetEntryId(I2 -2)",
                           R"(archive.clickon(BSTR "mmrefresh"))"}}))}));
    EXPECT_EQ(state.records.cAuswertung.Kurzbezeichnung, L"Bilanz");
    EXPECT_EQ(state.records.cAuswertung.Listenbeschreibung, L"Bilanz 2026");
    EXPECT_EQ(state.records.cAuswertung.DatumVon, L"1.1.2026");
    EXPECT_EQ(state.records.cAuswertung.DatumBis, L"31.12.2026");
}

TEST_F(Report, IsNotFiledWhenTheUserCancels) {
    screen.dialogs.front().confirmed = false;
    state.records.cAuswertung.Kurzbezeichnung = L"vorher";
    Client().SaveAuswertung();
    Expect({"dialog -> False"});
    EXPECT_EQ(state.records.cAuswertung.Kurzbezeichnung, L"vorher");
}

TEST_F(Report, IsFiledWithEmptyTextsAsTyped) {
    screen.dialogs.front() = {true, L"", L" ", L"", L"", {}};
    Client().SaveAuswertung();
    const Lines said = talk.Take();
    const Lines texts(said.begin() + 5, said.begin() + 13);
    ExpectLines(texts, Probed({R"(archive.ObjShort = BSTR "")", R"(archive.setobjAttrib(I2& 21, BSTR " "))",
                               R"(archive.setobjAttrib(I2& 23, BSTR ""))",
                               R"(archive.setobjAttrib(I2& 22, BSTR ""))"}));
}

TEST_F(Report, OverwritesWhatTheRecordHeld) {
    Client().SaveAuswertung();
    screen.dialogs.push_back({true, L"", L"Zweite", L"", L"", {}});
    Client().SaveAuswertung();
    EXPECT_EQ(state.records.cAuswertung.Kurzbezeichnung, L"");
    EXPECT_EQ(state.records.cAuswertung.Listenbeschreibung, L"Zweite");
    talk.Take();
}

TEST_F(Report, TellsThatTheDialogFailed) {
    screen.dialogs.front().failure = RuntimeError(7);
    EXPECT_EQ(Failing([&] { Client().SaveAuswertung(); }),
              Shown(7, Spelled(DescriptionOf(7)), "ELODMS.SaveAuswertung"));
    Expect({"dialog !! 7"});
}

TEST_F(Report, StopsAtEachUnexpectedAnswer) {
    struct Step {
        const wchar_t* member;
        int answer;
        std::string message;
        std::string frames;
    };
    for (const Step& step : std::vector<Step>{
             {L"PrepareObjectEx", 0, "Unerwarteter Rückgabewert: PrepareObjectEx=0", "ELODMS.SaveAuswertung"},
             {L"PrepareObjectEx", -7, "Unerwarteter Rückgabewert: PrepareObjectEx=-7",
              "ELODMS.SaveAuswertung"},
             {L"AddPostboxFile", 2, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=2",
              "ELODMS.SaveAuswertung"},
             {L"AddPostboxFile", 0, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=0",
              "ELODMS.SaveAuswertung"},
             {L"LookupIndex", 0, "Ordner für Auswertungen nicht im ELO gefunden: ¶Sesam¶Muster¶Auswertungen",
              "ELODMS.lAuswertungsDokumente <- ELODMS.SaveAuswertung"},
             {L"MoveToArchive", -1, "Fehler beim Hinzufügen des Dokuments: MoveToArchive=-1",
              "ELODMS.SaveAuswertung"},
         }) {
        screen.dialogs.assign(1, {true, L"Bilanz", L"Bilanz 2026", L"1.1.2026", L"31.12.2026", {}});
        archive->Next(step.member, step.answer);
        EXPECT_EQ(Failing([&] { Client().SaveAuswertung(); }), Shown(5, step.message, step.frames));
        const Lines said = talk.Take();
        EXPECT_TRUE(said.back().starts_with("archive." + Spelled(step.member))) << said.back();
        EXPECT_EQ(Occurrences(said, R"(archive.clickon(BSTR "mmrefresh"))"), 0);
    }
}

TEST_F(Report, PassesOnWhateverFailsOnTheWay) {
    for (const wchar_t* const member : {L"PrepareObjectEx", L"ObjMaskNo", L"ObjShort", L"setobjAttrib",
                                        L"AddPostboxFile", L"MoveToArchive", L"clickon"}) {
        screen.dialogs.assign(1, {true, L"Bilanz", L"Bilanz 2026", L"1.1.2026", L"31.12.2026", {}});
        archive->Next(member, Failure::Exception(1234, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Client().SaveAuswertung(); }),
                  Shown(1234, "gesperrt", "ELODMS.SaveAuswertung"));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1234 \"gesperrt\""));
    }
}

TEST_F(Report, DoesNotExamineTheIdOfTheNewEntry) {
    archive->Answers(L"GetEntryId", [](Call& call) {
        return call.LongAt(0) == -2 ? Variant(L"unbekannt") : Variant(std::int32_t{0});
    });
    Client().SaveAuswertung();
    EXPECT_EQ(talk.Take().back(), R"(archive.clickon(BSTR "mmrefresh"))");
}

}  // namespace
}  // namespace kandora::test
