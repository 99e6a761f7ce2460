// The older archive client with its fixed folders: one group of operations records an error and answers
// nothing, the other raises it.

#include "archive/OrigELODMS.h"
#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

const Lines unlinked{
    delimiter,
    R"(archive.LookupIndex(BSTR& "¶Wiederanschlusskontrolle¶Unverknüpfte Dokumente") -> I4 800)",
};

class Alternate : public ArchiveTest {
protected:
    Alternate() { client_ = std::make_unique<OrigELODMS>(Context()); }
    void ReleaseComponent() override {
        client_.reset();
        ArchiveTest::ReleaseComponent();
    }
    OrigELODMS& Original() { return *client_; }
    void LogInOriginal() {
        Original().oElo();
        talk.Take();
    }
    /// The error record's text; the record is empty afterwards.
    std::string Recorded() {
        std::string recorded = Spelled(handler.sToString());
        handler.Clear();
        return recorded;
    }

    const Lines opened{
        "create ELO.professional",
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
        R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)",
    };

private:
    std::unique_ptr<OrigELODMS> client_;
};

TEST_F(Alternate, MinimisesTheArchiveBeforeItLogsIn) {
    EXPECT_EQ(Original().oElo().Pointer(), archive.Get());
    EXPECT_EQ(Original().oElo().Pointer(), archive.Get());
    Expect(Together({opened, {probe}}));
}

TEST_F(Alternate, LogsInOnceOnlyAndTellsNobodyThatItFailed) {
    archive->Answers(L"Login", -1);
    Original().oElo();
    Expect({"create ELO.professional", R"(archive.EloWindow(BSTR "MINIMIZE"))",
            R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 -1)"});
    EXPECT_EQ(Recorded(),
              Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-1", "CArchiv.AnmeldenAnElo"));
}

/// An archive that has refused the login answers everything with a refusal.
class Refused : public Alternate {
protected:
    Refused() {
        archive->Answers(L"Login", -2);
        for (const wchar_t* const member :
             {L"GetEntryId", L"GotoId", L"PrepareObjectEx", L"DoInvisibleSearch", L"DeleteObj",
              L"AddPostboxFile", L"MoveToArchive", L"LookupIndex", L"PrintDocument", L"UpdateObject",
              L"InsertRef"}) {
            archive->Answers(member, member == TextView(L"GetEntryId") ? -1 : -3);
        }
        archive->Answers(L"GetTreePath", L"");
    }
    /// Each refused login creates the object anew. It is the same fake each time, whose ids are asked again.
    void TearDown() override {
        ReleaseComponent();
        talk.Take();
        archive->ForgetAsked();
        Alternate::TearDown();
    }
    /// The record of the operation that has just run, which was refused at each of its calls.
    void ExpectRecorded(const std::string& error, const std::string& frame) {
        const std::string recorded = Recorded();
        EXPECT_TRUE(recorded.starts_with(error + " | ON LINE 0 | CALLSTACK: CArchiv.AnmeldenAnElo"))
            << recorded;
        if (!frame.empty()) {
            EXPECT_TRUE(recorded.ends_with(" <- " + frame)) << recorded;
        }
        talk.Take();
    }
};

TEST_F(Refused, GivesTheObjectAllTheSame) {
    EXPECT_EQ(Original().oElo().Pointer(), archive.Get());
    EXPECT_EQ(Recorded(),
              Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-2", "CArchiv.AnmeldenAnElo"));
    EXPECT_EQ(Original().oElo().Pointer(), archive.Get());
    EXPECT_EQ(Recorded(),
              Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-2", "CArchiv.AnmeldenAnElo"));
    talk.Take();
}

TEST_F(Refused, LetsEverySilentOperationAnswerNothing) {
    Original().ShowDokument(321);
    ExpectRecorded("[5] Dokument nicht gefunden: id=321", "CArchiv.ShowDokument");
    EXPECT_FALSE(Original().IsDokumentVorhanden(321));
    ExpectRecorded("[5] Unbekannter Loginname, Passwort oder Archiv: Login=-2", "");
    const Variant none = Original().GetUnverknuepfte();
    EXPECT_EQ(none.LowerBound(), 0);
    EXPECT_EQ(none.UpperBound(), -1);
    ExpectRecorded("[5] Unbekannter Loginname, Passwort oder Archiv: Login=-2", "");
    EXPECT_EQ(Original().GetParentFolderId(321), 0);
    ExpectRecorded("[5] Could not GotoId: 321", "CArchiv.GetParentFolderId");
    EXPECT_EQ(Original().CurrentRegisterDate(321), 0);
    ExpectRecorded("[5] Could not GotoId: 321", "CArchiv.CurrentRegisterDate");
    Original().LoescheDokument(321);
    ExpectRecorded("[5] Konnte Dokument nicht löschen: -3", "CArchiv.LoescheDokument");
    const Text file = SampleFolders().strPlatzhalterDatei;
    EXPECT_EQ(Original().AddDokument(file), 0);
    ExpectRecorded("[5] Unerwarteter Rückgabewert: PrepareObjectEx=-3", "CArchiv.AddDokument");
    EXPECT_EQ(Original().AddDokumentToMassenversaendeZA(file), 0);
    ExpectRecorded("[5] Unerwarteter Rückgabewert: PrepareObjectEx=-3",
                   "CArchiv.AddDokumentToMassenversaendeZA");
}

TEST_F(Refused, LetsTheOthersRaiseWhatTheArchiveAnswers) {
    RuntimeError error = ErrorOf([&] { Original().PrintDokument(321); });
    EXPECT_EQ(error.Number(), 5);
    EXPECT_EQ(error.Description(), L"Fehler beim Anzeigen von Dokument [321] GotoId=-3");
    EXPECT_EQ(error.Source(), L"CArchiv.AnmeldenAnElo <- CArchiv.PrintDokument");
    ExpectRecorded("[5] Fehler beim Anzeigen von Dokument [321] GotoId=-3", "CArchiv.PrintDokument");
    error = ErrorOf([&] { Original().LoescheVerknuepfung(321); });
    EXPECT_EQ(error.Number(), 5);
    EXPECT_EQ(error.Description(), L"Dokument nicht gefunden: 321");
    ExpectRecorded("[5] Dokument nicht gefunden: 321", "CArchiv.LoescheVerknuepfung");
}

TEST_F(Alternate, NeedsCredentials) {
    state.settings.gsEloUserName = L"";
    state.settings.gsEloPasswort = L"";
    EXPECT_TRUE(Original().oElo().IsNothing());
    Expect({});
    EXPECT_EQ(Recorded(),
              Shown(5, "Benutzer muss angemeldet sein, um ELO anzumelden.", "CArchiv.AnmeldenAnElo"));
}

TEST_F(Alternate, AnswersNothingWithoutAnArchive) {
    machine.RefusesOnce(archiveProgId, 429);
    EXPECT_FALSE(Original().IsDokumentVorhanden(7));
    Expect({"create ELO.professional !! 429"});
    EXPECT_EQ(Recorded(),
              "[91 (429) ] " + Spelled(DescriptionOf(91)) +
                  " | ON LINE 0 | CALLSTACK: CArchiv.AnmeldenAnElo <- CArchiv.IsDokumentVorhanden");
}

TEST_F(Alternate, LogsInAgainWhenTheProbeSaysNo) {
    LogInOriginal();
    const Fake second = NewArchive("second");
    machine.HandsOut(archiveProgId, second);
    archive->Next(L"GetEntryId", -1);
    EXPECT_EQ(Original().oElo().Pointer(), second.Get());
    Expect({"archive.GetEntryId(I2 -1) -> I4 -1", "create ELO.professional",
            R"(second.EloWindow(BSTR "MINIMIZE"))",
            R"(second.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)"});
}

TEST_F(Alternate, ShowsADocumentByItsId) {
    LogInOriginal();
    Original().ShowDokument(321);
    Expect(Probed({"archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))",
                   "archive.GotoId(I4& 321) -> I4 1", "archive.BringToFront()"}));
    archive->Next(L"GotoId", 2);
    Original().ShowDokument(321);
    EXPECT_EQ(talk.Take().back(), "archive.GotoId(I4& 321) -> I4 2");
    EXPECT_EQ(Recorded(), Shown(5, "Dokument nicht gefunden: id=321", "CArchiv.ShowDokument"));
}

TEST_F(Alternate, LooksForADocumentWithTheVoucherMask) {
    LogInOriginal();
    for (const int answer : {1, 2, 0, -1}) {
        archive->Next(L"PrepareObjectEx", answer);
        EXPECT_EQ(Original().IsDokumentVorhanden(321), answer >= 1);
        Expect(Probed({"archive.PrepareObjectEx(I4& 321, I2 0, I4& 2) -> I4 " + std::to_string(answer)}));
    }
}

TEST_F(Alternate, DeletesADocument) {
    LogInOriginal();
    Original().LoescheDokument(321);
    Expect(Probed({"archive.DeleteObj(I4& 321) -> I4 1"}));
    archive->Next(L"DeleteObj", -5);
    Original().LoescheDokument(321);
    Expect(Probed({"archive.DeleteObj(I4& 321) -> I4 -5"}));
    EXPECT_EQ(Recorded(), Shown(5, "Konnte Dokument nicht löschen: -5", "CArchiv.LoescheDokument"));
}

class Unlinked : public Alternate {
protected:
    static void ExpectEmptyArray(const Variant& list) {
        ASSERT_TRUE(list.IsArray());
        EXPECT_EQ(list.LowerBound(), 0);
        EXPECT_EQ(list.UpperBound(), -1);
    }
};

TEST_F(Unlinked, AreCheckedAndNeverCollected) {
    LogInOriginal();
    hits = {1, 321};
    ExpectEmptyArray(Original().GetUnverknuepfte());
    Expect(Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& 2)", "archive.DoInvisibleSearch -> I4 0",
                   "archive.GetEntryId(I4 268435456) -> I4 1",
                   "archive.PrepareObjectEx(I4& 1, I2 0, I4& 2) -> I4 1",
                   "archive.GetEntryId(I4 268435457) -> I4 321",
                   "archive.PrepareObjectEx(I4& 321, I2 0, I4& 2) -> I4 1",
                   "archive.GetEntryId(I4 268435458) -> I4 0"}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Unlinked, AreNotListedWhenTheSearchFails) {
    LogInOriginal();
    hits = {321};
    archive->Next(L"DoInvisibleSearch", -1);
    ExpectEmptyArray(Original().GetUnverknuepfte());
    Expect(Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& 2)", "archive.DoInvisibleSearch -> I4 -1"}));
}

TEST_F(Unlinked, StopAtADocumentThatCannotBeLoaded) {
    LogInOriginal();
    hits = {321, 322};
    archive->Next(L"PrepareObjectEx", 1);
    archive->Next(L"PrepareObjectEx", 0);
    ExpectEmptyArray(Original().GetUnverknuepfte());
    EXPECT_EQ(talk.Take().back(), "archive.PrepareObjectEx(I4& 321, I2 0, I4& 2) -> I4 0");
    EXPECT_EQ(Recorded(), Shown(5, "DokID nicht gefunden: 321", "CArchiv.GetUnverknuepfte"));
}

TEST_F(Unlinked, AreCheckedUpToHitTenThousand) {
    LogInOriginal();
    hits.assign(10005, 7);
    ExpectEmptyArray(Original().GetUnverknuepfte());
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445456) -> I4 7"), 1);
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445457) -> I4 7"), 0);
}

class Case : public Alternate {
protected:
    Case() { LogInOriginal(); }
    void LiesAt(const wchar_t* path) { archive->Answers(L"GetTreePath", path); }
    static Lines Asked(const std::string& path) {
        return {"archive.GotoId(I4& 321) -> I4 1", delimiter,
                R"(archive.GetTreePath(I2 0, BSTR "¶", I2 1024) -> BSTR ")" + path + "\""};
    }
};

TEST_F(Case, LiesInTheFolderAboveIt) {
    LiesAt(L"Archiv¶2004¶5¶17¶Fall");
    EXPECT_EQ(Original().GetParentFolderId(321), 800);
    Expect(Probed(Together(
        {Asked("Archiv¶2004¶5¶17¶Fall"), {R"(archive.LookupIndex(BSTR& "¶2004¶5¶17") -> I4 800)"}})));
}

TEST_F(Case, LiesNowhereWhenTheArchiveDoesNotKnowTheFolder) {
    LiesAt(L"¶A¶Fall");
    archive->Next(L"LookupIndex", 0);
    EXPECT_EQ(Original().GetParentFolderId(321), 0);
    Expect(Probed(Together({Asked("¶A¶Fall"), {R"(archive.LookupIndex(BSTR& "¶A") -> I4 0)"}})));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Case, HasNoParentWithoutASeparatorAboveIt) {
    for (const wchar_t* const path : {L"Archiv¶Fall", L"Fall", L""}) {
        LiesAt(path);
        EXPECT_EQ(Original().GetParentFolderId(321), 0);
        Expect(Probed(Asked(Spelled(path))));
        EXPECT_EQ(Recorded(), Shown(5, Spelled(DescriptionOf(5)), "CArchiv.GetParentFolderId"));
    }
}

TEST_F(Case, MustBeReachable) {
    archive->Answers(L"GotoId", 0);
    EXPECT_EQ(Original().GetParentFolderId(321), 0);
    EXPECT_EQ(Recorded(), Shown(5, "Could not GotoId: 321", "CArchiv.GetParentFolderId"));
    EXPECT_EQ(Original().CurrentRegisterDate(321), 0);
    EXPECT_EQ(Recorded(), Shown(5, "Could not GotoId: 321", "CArchiv.CurrentRegisterDate"));
    Expect(Probed({"archive.GotoId(I4& 321) -> I4 0", "archive.GotoId(I4& 321) -> I4 0"}));
}

TEST_F(Case, HasTheDateOfTheLevelsAboveIt) {
    struct Row {
        const wchar_t* path;
        double date;
    };
    for (const Row& row : std::vector<Row>{{L"Archiv¶2004¶5¶17¶Fall", 38124},
                                           {L"2004¶05¶17¶Fall", 38124},
                                           {L"A¶B¶2026¶11¶15¶Fall", 46341},
                                           {L"2004¶2¶29¶Fall", 38046},
                                           {L"99¶5¶17¶Fall", 36297},
                                           {L"4¶5¶17¶Fall", 38124},
                                           {L"2004¶14¶1¶Fall", 38384},
                                           {L"2004¶3¶0¶Fall", 38046}}) {
        LiesAt(row.path);
        EXPECT_EQ(Original().CurrentRegisterDate(321), row.date) << Spelled(row.path);
        Expect(Probed(Asked(Spelled(row.path))));
    }
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Case, HasNoDateWhenALevelIsNoNumberOrMissing) {
    struct Row {
        const wchar_t* path;
        int number;
    };
    for (const Row& row : std::vector<Row>{{L"A¶Jahr¶5¶17¶Fall", 13},
                                           {L"A¶2004¶Mai¶17¶Fall", 13},
                                           {L"A¶2004¶5¶Tag¶Fall", 13},
                                           {L"A¶99999¶5¶17¶Fall", 6},
                                           {L"A¶10000¶5¶17¶Fall", 5},
                                           {L"A¶-5¶5¶17¶Fall", 5},
                                           {L"5¶17¶Fall", 9},
                                           {L"Fall", 9}}) {
        LiesAt(row.path);
        EXPECT_EQ(Original().CurrentRegisterDate(321), 0) << Spelled(row.path);
        EXPECT_EQ(Recorded(),
                  Shown(row.number, Spelled(DescriptionOf(row.number)), "CArchiv.CurrentRegisterDate"));
    }
    talk.Take();
}

/// Filing without index fields.
struct FolderCase {
    const char* name;
    std::int32_t (OrigELODMS::*file)(const Text&);
    const char* path;
    const char* missing;
    const char* folderFrame;
    const char* frame;
};

void PrintTo(const FolderCase& row, std::ostream* stream) {
    *stream << row.name;
}

class PlainFiling : public Alternate, public testing::WithParamInterface<FolderCase> {
protected:
    PlainFiling() { LogInOriginal(); }
    std::int32_t File() { return (Original().*GetParam().file)(L"C:\\Kandora\\Platzhalter.pdf"); }
    const Lines checked{R"(file "C:\Kandora\Platzhalter.pdf" -> True)"};
    const Lines posted{"archive.PrepareObjectEx(I4 0, I2 254, I4& 2) -> I4 1", "archive.ObjMaskNo = I4 2",
                       R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 1)"};
    [[nodiscard]] static Lines Found(int id) {
        return {delimiter, std::string("archive.LookupIndex(BSTR& \"") + GetParam().path + "\") -> I4 " +
                               std::to_string(id)};
    }
};

INSTANTIATE_TEST_SUITE_P(
    Folders, PlainFiling,
    testing::Values(FolderCase{"Unlinked", &OrigELODMS::AddDokument,
                               "¶Wiederanschlusskontrolle¶Unverknüpfte Dokumente",
                               "Ordner für unverknüpfte Dokumente nicht gefunden: ",
                               "CArchiv.lUnverknuepfteDokumente", "CArchiv.AddDokument"},
                    FolderCase{"MassMailing", &OrigELODMS::AddDokumentToMassenversaendeZA,
                               "¶Wiederanschlusskontrolle¶MassenversaendeZA",
                               "Ordner für Massenversaende ZA nicht gefunden: ", "CArchiv.lMassenversaendeZA",
                               "CArchiv.AddDokumentToMassenversaendeZA"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(PlainFiling, WritesNoIndexFields) {
    EXPECT_EQ(File(), 4711);
    Expect(Together({checked, Probed(Together({posted,
                                               Found(800),
                                               {R"(archive.MoveToArchive(BSTR "#800") -> I4 1)",
                                                "archive.GetEntryId(I2 -2) -> I4 4711"}}))}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_P(PlainFiling, NeedsTheFile) {
    machine.files.clear();
    EXPECT_EQ(File(), 0);
    Expect({R"(file "C:\Kandora\Platzhalter.pdf" -> False)"});
    EXPECT_EQ(Recorded(),
              Shown(5, "Dokument nicht gefunden: C:\\Kandora\\Platzhalter.pdf", GetParam().frame));
}

TEST_P(PlainFiling, StopsAtEachUnexpectedAnswer) {
    struct Step {
        const wchar_t* member;
        int answer;
        std::string message;
    };
    for (const Step& step : std::vector<Step>{
             {L"PrepareObjectEx", 0, "Unerwarteter Rückgabewert: PrepareObjectEx=0"},
             {L"AddPostboxFile", 2, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=2"},
             {L"MoveToArchive", -1, "Fehler beim Hinzufügen des Dokuments: MoveToArchive=-1"}}) {
        archive->Next(step.member, step.answer);
        EXPECT_EQ(File(), 0);
        EXPECT_TRUE(talk.Take().back().starts_with("archive." + Spelled(step.member)));
        EXPECT_EQ(Recorded(), Shown(5, step.message, GetParam().frame));
    }
}

TEST_P(PlainFiling, GoesOnWithoutTheFolderWhichIsNoErrorForTheCaller) {
    archive->Next(L"LookupIndex", 0);
    archive->Next(L"MoveToArchive", 0);
    EXPECT_EQ(File(), 0);
    Expect(Together(
        {checked, Probed(Together({posted, Found(0), {R"(archive.MoveToArchive(BSTR "#0") -> I4 0)"}}))}));
    EXPECT_EQ(Recorded(),
              "[5] Fehler beim Hinzufügen des Dokuments: MoveToArchive=0 | ON LINE 0 | CALLSTACK: " +
                  std::string(GetParam().folderFrame) + " <- " + GetParam().frame);
}

TEST_P(PlainFiling, RecordsTheMissingFolder) {
    archive->Next(L"LookupIndex", 0);
    EXPECT_EQ(File(), 4711) << "the archive took the document nevertheless";
    EXPECT_EQ(Recorded(),
              Shown(5, std::string(GetParam().missing) + GetParam().path, GetParam().folderFrame));
    talk.Take();
}

/// Operations that raise.
class Loud : public Alternate {
protected:
    Loud() { LogInOriginal(); }
};

TEST_F(Loud, PrintingShowsTheDocumentFirst) {
    Original().PrintDokument(321);
    Expect(Probed({"archive.GotoId(I4& 321) -> I4 1",
                   R"(archive.PrintDocument(I2 0, BSTR "", BSTR "", I2 0, I2 0, I2 0) -> I4 1)"}));
}

TEST_F(Loud, PrintingRaisesEachUnexpectedAnswer) {
    archive->Next(L"GotoId", 0);
    EXPECT_EQ(Failing([&] { Original().PrintDokument(321); }),
              Shown(5, "Fehler beim Anzeigen von Dokument [321] GotoId=0", "CArchiv.PrintDokument"));
    Expect(Probed({"archive.GotoId(I4& 321) -> I4 0"}));
    archive->Next(L"PrintDocument", -2);
    EXPECT_EQ(Failing([&] { Original().PrintDokument(321); }),
              Shown(5, "Fehler beim Drucken von Dokument [321] PrintDocument=-2", "CArchiv.PrintDokument"));
    talk.Take();
}

TEST_F(Loud, UnlinkingMovesTheDocumentBack) {
    Original().LoescheVerknuepfung(321);
    Expect(Probed(Together(
        {{"archive.PrepareObjectEx(I4& 321, I2 0, I4& 2) -> I4 1", "archive.UpdateObject -> I4 3"},
         unlinked,
         {"archive.ObjMainParent -> I4 600", "archive.InsertRef(I4& 321, I4 600, I4 800, I2 1) -> I4 0"}})));
}

TEST_F(Loud, UnlinkingRaisesEachUnexpectedAnswer) {
    struct Step {
        const wchar_t* member;
        int answer;
        std::string message;
    };
    for (const Step& step :
         std::vector<Step>{{L"PrepareObjectEx", 0, "Dokument nicht gefunden: 321"},
                           {L"UpdateObject", 1, "Fehler beim indizieren des Dokuments: UpdateObject=1"},
                           {L"UpdateObject", 0, "Fehler beim indizieren des Dokuments: UpdateObject=0"},
                           {L"InsertRef", -1, "Fehler beim Verschieben des Dokuments: -1"}}) {
        archive->Next(step.member, step.answer);
        EXPECT_EQ(Failing([&] { Original().LoescheVerknuepfung(321); }),
                  Shown(5, step.message, "CArchiv.LoescheVerknuepfung"));
        EXPECT_TRUE(talk.Take().back().starts_with("archive." + Spelled(step.member)));
    }
}

TEST_F(Loud, UnlinkingTakesAnyAnswerFromZeroOnAsSuccess) {
    archive->Next(L"InsertRef", 5);
    EXPECT_NO_THROW(Original().LoescheVerknuepfung(321));
    talk.Take();
}

TEST_F(Loud, EveryOperationHandsOnWhatTheArchiveSays) {
    archive->Next(L"PrintDocument", Failure::Exception(1000, L"kein Papier"));
    EXPECT_EQ(Failing([&] { Original().PrintDokument(321); }),
              Shown(1000, "kein Papier", "CArchiv.PrintDokument"));
    archive->Next(L"ObjMainParent", Failure::Exception(1000, L"gesperrt"));
    EXPECT_EQ(Failing([&] { Original().LoescheVerknuepfung(321); }),
              Shown(1000, "gesperrt", "CArchiv.LoescheVerknuepfung"));
    talk.Take();
}

TEST_F(Alternate, ClosesTheArchiveAtItsEnd) {
    LogInOriginal();
    ReleaseComponent();
    Expect(Probed({R"(archive.clickon(BSTR "M:Beenden"))"}));
}

TEST_F(Alternate, LogsInAtItsEndOnlyToCloseTheArchive) {
    ReleaseComponent();
    Expect(Together({opened, {R"(archive.clickon(BSTR "M:Beenden"))"}}));
}

TEST_F(Alternate, EndsQuietlyWithoutAnArchive) {
    machine.RefusesOnce(archiveProgId, 429);
    ReleaseComponent();
    Expect({"create ELO.professional !! 429"});
    EXPECT_EQ(Recorded(), "[0]  | ON LINE 0 | CALLSTACK: ");
}

}  // namespace
}  // namespace kandora::test
