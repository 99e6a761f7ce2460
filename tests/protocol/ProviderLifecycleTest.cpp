// What the host's start requests and its questions of identity cause, and the gate in front of every request.

#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

const std::string off = "Das Archiv ist deaktiviert. Alle Funktionen des DMS sind bis zu einem Neustart von "
                        "Sesam nicht verfügbar.";
const std::string unreadable =
    "Die Ini-Datei konnte nicht gelesen werden. Alle Funktionen des DMS sind bis zu einem Neustart von Sesam "
    "deaktiviert. ";

class Start : public ProviderTest {
protected:
    const std::string logged = Logged("DMSProvider_InitProvider  [4711]");
};

TEST_F(Start, ReadsTheSettingsThenAsksAboutTheClient) {
    EXPECT_FALSE(Provider().bRunning);
    Provider().InitProvider(Variant(std::int32_t{4711}));
    Expect(Together({{logged}, ArchiveChecked(), ClientAsked()}));
    EXPECT_TRUE(Provider().bRunning);
    EXPECT_TRUE(State().gbIniOK);
    EXPECT_TRUE(State().gbMandantArchivAktiv);
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(Start, WritesItsLogBesideTheComponent) {
    Provider().InitProvider(Variant());
    ASSERT_EQ(machine.appended.size(), 1U);
    EXPECT_EQ(machine.appended.begin()->first, L"C:\\Kandora\\20261115_011258_Kandora_user01_PC01_.log");
    EXPECT_EQ(machine.appended.begin()->second,
              "15.11.2026 01.12.58 | DMSProvider_InitProvider  [(Empty)]\r\n");
    talk.Take();
}

TEST_F(Start, IsLoggedAgainOnlyWhenTracingIsOn) {
    Provider().InitProvider(Variant());
    talk.Take();
    Provider().InitProvider(Variant());
    EXPECT_EQ(talk.Take().front(), probe);
    SetIni("Debug", "Test", "True");
    Provider().InitProvider(Variant());
    EXPECT_EQ(talk.Take().front(), probe) << "the switch is only known afterwards";
    Provider().InitProvider(Variant());
    EXPECT_EQ(talk.Take().front(), Logged("DMSProvider_InitProvider  [(Empty)]"));
}

TEST_F(Start, KeepsEverythingOffQuietlyWhenTheArchiveIsSwitchedOff) {
    SetIni("Archiv", "ArchivAktiv", "False");
    Provider().InitProvider(Variant(std::int32_t{4711}));
    Expect({logged, Logged(off + "[Kein Parameter]")});
    EXPECT_TRUE(Provider().bRunning);
    EXPECT_FALSE(State().gbIniOK);
}

TEST_F(Start, TellsTheUserThatTheArchiveWasSwitchedOffAfterItHadBeenOn) {
    Provider().InitProvider(Variant(std::int32_t{4711}));
    talk.Take();
    SetIni("Archiv", "ArchivAktiv", "False");
    Provider().InitProvider(Variant());
    Expect({Logged(unreadable + "[Kein Parameter]"), "box \"" + unreadable + R"(" 48 "4096")"});
    EXPECT_FALSE(State().gbIniOK);
    EXPECT_TRUE(State().gbMandantArchivAktiv) << "left as the latest request found it";
}

TEST_F(Start, ShowsAnErrorOfTheSettingsOnceAndForgetsIt) {
    SetIni("Login", "ELOKUERZEL", "");
    Provider().InitProvider(Variant(std::int32_t{4711}));
    Expect({logged, Box(5000,
                        "Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist "
                        "deaktiviert.",
                        "MGlobals.IniLesen <- Kandora.InitProvider")});
    EXPECT_TRUE(Provider().bRunning);
    EXPECT_FALSE(State().gbIniOK);
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(Start, KeepsItsReadinessWhenALaterReadingFails) {
    Provider().InitProvider(Variant());
    talk.Take();
    SetIni("Maske", "Debi", "");
    Provider().InitProvider(Variant());
    Expect({Box(13, Spelled(DescriptionOf(13)), "MGlobals.IniLesen <- Kandora.InitProvider")});
    EXPECT_TRUE(State().gbIniOK);
}

TEST_F(Start, IsReadyEvenWhenTheClientCannotBeAsked) {
    machine.RefusesOnce(hostProgId, 429);
    Provider().InitProvider(Variant(std::int32_t{4711}));
    Expect(Together(
        {{logged},
         ArchiveChecked(),
         {"create FibuNT.Mandant !! 429", R"(box "429 SOKInterface AnmeldenAnSage" 0)",
          Box(91, Spelled(DescriptionOf(91)), "SOKInterface.EinstellungenLesen <- Kandora.InitProvider")}}));
    EXPECT_TRUE(State().gbIniOK);
    EXPECT_FALSE(State().gbMandantArchivAktiv);
}

TEST_F(Start, ShowsThatTheLogCannotBeWrittenAndReadsNothing) {
    machine.appendFailure = RuntimeError(70);
    Provider().InitProvider(Variant(std::int32_t{4711}));
    Expect({logged + " !! 70", Box(70, Spelled(DescriptionOf(70)), "Kandora.InitProvider")});
    EXPECT_FALSE(Provider().bRunning);
    EXPECT_TRUE(machine.profileCalls.empty());
}

TEST_F(Start, DoesNotLetOneErrorColourTheNext) {
    archive->Next(L"Login", -2);
    Provider().InitProvider(Variant());
    EXPECT_EQ(talk.Take().back(),
              Box(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-2",
                  "ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin <- MGlobals.IniLesen <- "
                  "Kandora.InitProvider"));
    SetIni("Archiv", "Archivname", "");
    Provider().InitProvider(Variant());
    Expect({Box(
        5000,
        "Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist deaktiviert.",
        "MGlobals.IniLesen <- Kandora.InitProvider")});
}

class StartProvider : public StartedProviderTest {};

TEST_F(StartProvider, BringsTheArchiveToTheUser) {
    Provider().StartProvider(Variant());
    Expect(
        Together({ClientAsked(), Probed({"archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))"})}));
}

TEST_F(StartProvider, ShowsABoxWithoutAnErrorWhenTheClientHasNoArchive) {
    options[100] = Variant(L"false");
    Provider().StartProvider(Variant());
    Expect({"create FibuNT.Mandant", R"(fibu.letztermandant -> BSTR "C:\Daten\Muster")",
            "fibu.istoffen -> BOOL False", R"(fibu.Login(I2 1, BSTR& "C:\Daten\Muster") -> I4 0)",
            R"(fibu.IniLesen(I2 600, I2 100) -> BSTR "false")", "fibu.istoffen -> BOOL True",
            "fibu.Logout -> I4 0", Box(0, "", "Kandora.StartProvider")});
    EXPECT_EQ(Spelled(Globals().goErrHandler().sToString()), "[0]  | ON LINE 0 | CALLSTACK: ");
}

TEST_F(StartProvider, ShowsAnErrorOnceAndNoBoxWithoutOne) {
    machine.files.clear();
    Provider().StartProvider(Variant());
    EXPECT_EQ(
        talk.Take().back(),
        Box(5004,
            "Die Datei 'C:\\Kandora\\Platzhalter.pdf' die als Platzhatlerdokument dient, ist nicht vorhanden",
            "SOKInterface.EinstellungenLesen <- Kandora.StartProvider"));
}

TEST_F(StartProvider, ShowsNothingBeforeTheSettingsWereRead) {
    NewComponent();
    Provider().StartProvider(Variant());
    Expect({});
}

TEST_F(StartProvider, IsTracedWithItsArgument) {
    State().settings.gbDebug = true;
    Provider().StartProvider(Variant(L"x"));
    EXPECT_EQ(talk.Take().front(), Logged("DMSProvider_StartProvider  [x]"));
}

class VersionRequest : public ProviderTest {};

TEST_F(VersionRequest, IsLoggedUntilTheStart) {
    Provider().FibuVersion(Variant(L"2026.1"));
    Expect({Logged("DMSProvider_FibuVersion  [2026.1]")});
    Provider().FibuVersion(Variant());
    Expect({Logged("DMSProvider_FibuVersion  [(Empty)]")});
    Provider().InitProvider(Variant());
    talk.Take();
    Provider().FibuVersion(Variant(L"2026.1"));
    Expect({});
    State().settings.gbDebug = true;
    Provider().FibuVersion(Variant::ArrayOf(std::vector<Text>{L"2026", L"1"}));
    Expect({Logged("DMSProvider_FibuVersion  [[2026, 1]]")});
}

TEST_F(VersionRequest, ShowsThatTheLogCannotBeWritten) {
    machine.appendFailure = RuntimeError(61);
    Provider().FibuVersion(Variant(L"2026.1"));
    Expect({Logged("DMSProvider_FibuVersion  [2026.1]") + " !! 61",
            Box(61, Spelled(DescriptionOf(61)), "Kandora.FibuVersion")});
}

class Identity : public StartedProviderTest {};

TEST_F(Identity, OfADocumentIsTheMoment) {
    EXPECT_EQ(Provider().CreateDocID(Variant()), L"20261115011258");
    Expect(ClientAsked());
    machine.now = {2027, 1, 2, 3, 4, 5};
    EXPECT_EQ(Provider().CreateDocID(Variant()), L"20270102030405");
    EXPECT_EQ(Provider().CreateDocID(Variant()), L"20270102030405") << "the same within one second";
    talk.Take();
}

TEST_F(Identity, OfAnOpenDocumentIsThreePlaceholdersAndMinuteAndSecond) {
    machine.now = {2026, 11, 15, 1, 5, 7};
    const Variant info = Provider().GetOpenDocInfo();
    EXPECT_EQ(test::Shown(info),
              R"(BSTR() [BSTR "OpenDocInfo0", BSTR "OpenDocInfo1", BSTR "OpenDocInfo2", BSTR "0507"])");
    EXPECT_EQ(info.LowerBound(), 0);
    Expect(ClientAsked());
}

TEST_F(Identity, OfTheVirtualPrinterIsItsName) {
    EXPECT_EQ(Provider().GetVirtualPrinterName(), L"ELO Drucker");
    Expect(ClientAsked());
}

TEST_F(Identity, IsTracedWithItsArguments) {
    State().settings.gbDebug = true;
    Provider().CreateDocID(Variant(L"Beleg"));
    EXPECT_EQ(talk.Take().front(), Logged("DMSProvider_CreateDocID  [Beleg]"));
    Provider().GetOpenDocInfo();
    EXPECT_EQ(talk.Take().front(), Logged("DMSProvider_GetOpenDocInfo[Kein Parameter]"));
    Provider().GetVirtualPrinterName();
    EXPECT_EQ(talk.Take().front(), Logged("DMSProvider_GetVirtualPrinterName[Kein Parameter]"));
}

TEST_F(Identity, IsEmptyWhenTheClientHasNoArchive) {
    options[100] = Variant(L"false");
    EXPECT_EQ(Provider().CreateDocID(Variant()), L"");
    EXPECT_TRUE(Provider().GetOpenDocInfo().IsEmpty());
    EXPECT_EQ(Provider().GetVirtualPrinterName(), L"");
    EXPECT_FALSE(State().gbMandantArchivAktiv);
    talk.Take();
}

TEST_F(Identity, IsEmptyAfterAnError) {
    machine.files.clear();
    EXPECT_EQ(Provider().CreateDocID(Variant()), L"");
    EXPECT_EQ(
        talk.Take().back(),
        Box(5004,
            "Die Datei 'C:\\Kandora\\Platzhalter.pdf' die als Platzhatlerdokument dient, ist nicht vorhanden",
            "SOKInterface.EinstellungenLesen <- Kandora.CreateDocID"));
    EXPECT_TRUE(Provider().GetOpenDocInfo().IsEmpty());
    EXPECT_TRUE(talk.Take().back().ends_with("<- Kandora.GetOpenDocInfo\" 4112 \"Kandora\""));
    EXPECT_EQ(Provider().GetVirtualPrinterName(), L"");
    EXPECT_TRUE(talk.Take().back().ends_with("<- Kandora.GetVirtualPrinterName\" 4112 \"Kandora\""));
}

/// A request that passes the gate, with its traced line.
struct GatedCase {
    const char* method;
    const char* arguments;
    void (*request)(ELOProvider&);
};

void PrintTo(const GatedCase& row, std::ostream* stream) {
    *stream << row.method;
}

const Variant& Metadata() {
    static const Variant metadata = Variant::ArrayOf(std::vector<Text>{L"a", L"b", L"17", L"2", L"BC-1"});
    return metadata;
}

class Gate : public ProviderTest, public testing::WithParamInterface<GatedCase> {
protected:
    void Request() { GetParam().request(Provider()); }
    [[nodiscard]] static std::string Traced() {
        return Logged(std::string("DMSProvider_") + GetParam().method + GetParam().arguments);
    }
};

INSTANTIATE_TEST_SUITE_P(
    Requests, Gate,
    testing::Values(GatedCase{"StartProvider", "  [(Empty)]",
                              [](ELOProvider& provider) { provider.StartProvider(Variant()); }},
                    GatedCase{"CreateDocID", "  [(Null)]",
                              [](ELOProvider& provider) { provider.CreateDocID(Variant::Null()); }},
                    GatedCase{"GetOpenDocInfo", "[Kein Parameter]",
                              [](ELOProvider& provider) { provider.GetOpenDocInfo(); }},
                    GatedCase{"GetVirtualPrinterName", "[Kein Parameter]",
                              [](ELOProvider& provider) { provider.GetVirtualPrinterName(); }},
                    GatedCase{"SaveDocument", "  [ID]  [[a, b, 17, 2, BC-1]]",
                              [](ELOProvider& provider) { provider.SaveDocument(L"ID", Metadata()); }},
                    GatedCase{"DocumentChanged", "  [ID]  [[a, b, 17, 2, BC-1]]",
                              [](ELOProvider& provider) { provider.DocumentChanged(L"ID", Metadata()); }},
                    GatedCase{"ShowDocument", "  [ID]  [[a, b, 17, 2, BC-1]]",
                              [](ELOProvider& provider) { provider.ShowDocument(L"ID", Metadata()); }},
                    GatedCase{"PrintDocument", "  [ID]  [[a, b, 17, 2, BC-1]]",
                              [](ELOProvider& provider) { provider.PrintDocument(L"ID", Metadata()); }},
                    GatedCase{"DeleteDocument", "  [ID]  [[a, b, 17, 2, BC-1]]",
                              [](ELOProvider& provider) { provider.DeleteDocument(L"ID", Metadata()); }}),
    [](const auto& row) { return std::string(row.param.method); });

TEST_P(Gate, IsClosedBeforeTheSettingsWereRead) {
    Request();
    Expect({});
    State().settings.gbDebug = true;
    Request();
    Expect({Traced()});
}

TEST_P(Gate, StaysClosedAfterAFailedStart) {
    SetIni("Login", "ELOKUERZEL", "");
    Provider().InitProvider(Variant());
    talk.Take();
    Request();
    Expect({});
}

TEST_P(Gate, AsksAnewAboutTheClientAtEachRequest) {
    Provider().InitProvider(Variant());
    talk.Take();
    for (int i = 0; i < 2; ++i) {
        Request();
        Lines said = talk.Take();
        ASSERT_GE(said.size(), ClientAsked().size());
        said.resize(ClientAsked().size());
        ExpectLines(said, ClientAsked());
    }
}

TEST_P(Gate, TracesBeforeItAsks) {
    Provider().InitProvider(Variant());
    State().settings.gbDebug = true;
    talk.Take();
    Request();
    const Lines said = talk.Take();
    EXPECT_EQ(said.at(0), Traced());
    EXPECT_EQ(said.at(1), "create FibuNT.Mandant");
    EXPECT_EQ(Occurrences(said, Traced()), 1);
}

TEST_P(Gate, LetsNothingReachTheArchiveForAClientWithoutArchive) {
    Provider().InitProvider(Variant());
    talk.Take();
    options[100] = Variant(L"false");
    State().gbMandantArchivAktiv = true;
    Request();
    for (const std::string& line : talk.Take()) {
        EXPECT_FALSE(line.starts_with("archive.")) << line;
    }
    EXPECT_FALSE(State().gbMandantArchivAktiv);
}

TEST_P(Gate, ShowsAnErrorOfTheTraceWithTheRequestsFrame) {
    State().settings.gbDebug = true;
    machine.appendFailure = RuntimeError(75);
    Request();
    Expect({Traced() + " !! 75",
            Box(75, Spelled(DescriptionOf(75)), std::string("Kandora.") + GetParam().method)});
}

TEST_P(Gate, ShowsAnErrorOfTheClientOnceWithAllItsFramesAndForgetsIt) {
    Provider().InitProvider(Variant());
    talk.Take();
    const std::string box =
        Box(5003,
            "Der Pfad '/Sesam/Muster/Buchungen' ist im Archiv nicht vorhanden\\rKorrigieren Sie die "
            "Sesam-Einstellungen",
            std::string("SOKInterface.EinstellungenLesen <- Kandora.") + GetParam().method);
    for (int i = 0; i < 2; ++i) {
        archive->Next(L"LookupIndex", 0);
        Request();
        const Lines said = talk.Take();
        EXPECT_EQ(said.back(), box);
        EXPECT_EQ(Occurrences(said, box), 1);
    }
    EXPECT_EQ(Spelled(Globals().goErrHandler().sToString()), "[0]  | ON LINE 0 | CALLSTACK: ");
    EXPECT_TRUE(State().gbMandantArchivAktiv) << "an error decides nothing about the client";
}

}  // namespace
}  // namespace kandora::test
