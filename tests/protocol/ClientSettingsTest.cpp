// How the client's archive folders are read from the host's options and checked, and how a new client is set
// up.

#include <algorithm>

#include "tests/protocol/AccountingFixture.h"

namespace kandora::test {
namespace {

const std::string open = "fibu.istoffen -> BOOL True";

void ExpectFolders(const ClientFolders& folders) {
    EXPECT_EQ(folders.strPlatzhalterDatei, L"C:\\Kandora\\Platzhalter.pdf");
    EXPECT_EQ(folders.strPfadBuchungen, L"/Sesam/Muster/Buchungen");
    EXPECT_EQ(folders.strPfadAuswertungen, L"/Sesam/Muster/Auswertungen");
    EXPECT_EQ(folders.strPfadDebi, L"/Sesam/Muster/Debi");
    EXPECT_EQ(folders.strPfadKredi, L"/Sesam/Muster/Kredi");
}

class ClientSettings : public AccountingTest {
protected:
    ClientSettings() { state.folders = {L"alt", L"alt", L"alt", L"alt", L"alt"}; }

    bool Read() {
        bool result = true;
        Sok().EinstellungenLesen(result);
        return result;
    }
    /// The result and the error of a reading that fails.
    std::pair<bool, std::string> FailedReading() {
        bool result = false;
        std::string failure = Failing([&] { Sok().EinstellungenLesen(result); });
        return {result, std::move(failure)};
    }
    /// How one option is read, after the question whether the client is still open.
    [[nodiscard]] static Lines Option(int key, const std::string& value) {
        return {open, "fibu.IniLesen(I2 600, I2 " + std::to_string(key) + ") -> " + value};
    }
    [[nodiscard]] static Lines Folder(int key, const std::string& path, const std::string& answer = "") {
        return Together({Option(key, "BSTR \"" + path + "\""),
                         {"folders.CheckPFadVorhanden(\"" + path + "\") -> \"" + answer + "\""}});
    }
    /// Key 100 follows the login without a further question.
    [[nodiscard]] static Lines FirstOption(const std::string& value) {
        return Together({Opened("fibu", 1), {"fibu.IniLesen(I2 600, I2 100) -> " + value}});
    }

    const Lines placeholder = Together({Option(105, R"(BSTR "C:\Kandora\Platzhalter.pdf")"),
                                        {R"(file "C:\Kandora\Platzhalter.pdf" -> True)"}});
    const Lines allFolders =
        Together({Folder(109, "/Sesam/Muster/Buchungen"), Folder(110, "/Sesam/Muster/Auswertungen"),
                  Folder(111, "/Sesam/Muster/Debi"), Folder(112, "/Sesam/Muster/Kredi")});
};

TEST_F(ClientSettings, AreReadThroughAFreshLoginAndChecked) {
    EXPECT_TRUE(Read());
    Expect(Together({FirstOption(R"(BSTR "true")"), placeholder, allFolders}));
    ExpectFolders(state.folders);
}

TEST_F(ClientSettings, AreReadThroughAFreshLoginEachTime) {
    Read();
    talk.Take();
    EXPECT_TRUE(Read());
    Expect(Together({FirstOption(R"(BSTR "true")"), placeholder, allFolders}));
}

TEST_F(ClientSettings, AreNotReadBeforeTheComponentIsReady) {
    state.gbIniOK = false;
    EXPECT_FALSE(Read());
    Expect({});
    EXPECT_EQ(state.folders.strPlatzhalterDatei + state.folders.strPfadBuchungen +
                  state.folders.strPfadAuswertungen + state.folders.strPfadDebi + state.folders.strPfadKredi,
              L"");
}

TEST_F(ClientSettings, CountAsOnInAnyLetterCase) {
    for (const wchar_t* const value : {L"true", L"TRUE", L"True", L"tRuE"}) {
        options[100] = Variant(value);
        EXPECT_TRUE(Read());
        Expect(Together({FirstOption("BSTR " + Quoted(value)), placeholder, allFolders}));
    }
    options[100] = Variant(true);  // a truth value whose text is True
    EXPECT_TRUE(Read());
    talk.Take();
}

TEST_F(ClientSettings, ThatAreSwitchedOffCloseTheClientInAllModules) {
    machine.HandsOut(hostProgId, NewHost("debi"));
    machine.HandsOut(hostProgId, NewHost("kredi"));
    Sok().oSesamDebi();
    Sok().oSesamKredi();
    talk.Take();
    options[100] = Variant(L"False");
    EXPECT_FALSE(Read());
    Expect(Together({FirstOption(R"(BSTR "False")"),
                     {open, "fibu.Logout -> I4 0", "debi.istoffen -> BOOL True", "debi.Logout -> I4 0",
                      "kredi.istoffen -> BOOL True", "kredi.Logout -> I4 0"}}));
    EXPECT_EQ(state.folders.strPlatzhalterDatei, L"");
}

/// The host's only object is lost while it answers.
TEST_F(ClientSettings, ThatAreSwitchedOffNeedNoneOfTheObjects) {
    const Fake host = NewHost("fibu");
    machine.HandsOut(hostProgId, host);
    host->Next(L"IniLesen", [&](Call&) {
        host->Next(L"istoffen", Failure::Code(HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)));
        EXPECT_TRUE(Sok().oSesamFibu().IsNothing());
        return Variant(L"false");
    });
    EXPECT_FALSE(Read());
    Expect(
        Together({FirstOption(R"(BSTR "false")"),
                  {"fibu.istoffen !! 0x800706BA",
                   R"(box "Das Programm, mit dem gearbeitet wird, ist beendet oder nicht erreichbar" 0)"}}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(ClientSettings, ThatAreSwitchedOffCloseOnlyWhatIsOpen) {
    machine.HandsOut(hostProgId, NewHost("debi"));
    Sok().oSesamDebi();
    options[100] = Variant(L"false");
    EXPECT_FALSE(Read());
    talk.Take();
    EXPECT_FALSE(Read());
    Expect(Together(
        {FirstOption(R"(BSTR "false")"), {open, "fibu.Logout -> I4 0", "debi.istoffen -> BOOL False"}}));
}

TEST_F(ClientSettings, ThatAreSwitchedOffCloseTheOthersWhenOneCannotBeClosed) {
    const Fake fibu = NewHost("fibu");
    fibu->Next(L"Logout", Failure::Exception(3000, L"nein"));
    machine.HandsOut(hostProgId, NewHost("debi"));
    machine.HandsOut(hostProgId, fibu);
    Sok().oSesamDebi();
    talk.Take();
    options[100] = Variant(L"FALSE");
    EXPECT_FALSE(Read());
    Expect(Together(
        {FirstOption(R"(BSTR "FALSE")"),
         {open, R"(fibu.Logout !! 3000 "nein")", "debi.istoffen -> BOOL True", "debi.Logout -> I4 0"}}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(ClientSettings, WithoutADecisionAreSetUpAndThenRead) {
    for (const Variant& value :
         {Variant(L"ja"), Variant(L""), Variant(L"wahr"), Variant(), Variant::Null()}) {
        options[100] = value;
        EXPECT_TRUE(Read());
        const Lines said = talk.Take();
        EXPECT_EQ(said.at(6),
                  R"(fibu.Inischreiben(I2 600, I2 105, BSTR "C:\Kandora\Platzhalter.pdf") -> BOOL True)");
        EXPECT_EQ(said.back(), R"(folders.CheckPFadVorhanden("/Sesam/Muster/Kredi") -> "")");
        EXPECT_EQ(options[100].ToText(), L"true");
    }
}

TEST_F(ClientSettings, WithoutTheirKeyAreSetUp) {
    options.erase(100);
    EXPECT_TRUE(Read());
    EXPECT_EQ(options[100].ToText(), L"true");
    talk.Take();
}

TEST_F(ClientSettings, StandWithoutTheirFinalMarkWhenItCannotBeWritten) {
    const Fake fibu = NewHost("fibu");
    fibu->Answers(L"Inischreiben", [](Call& call) { return Variant(call.LongAt(1) != 100); });
    machine.HandsOut(hostProgId, fibu);
    options[100] = Variant(L"");
    EXPECT_TRUE(Read()) << "the result of the set-up is not used";
    talk.Take();
}

TEST_F(ClientSettings, NeedThePlaceholderDocument) {
    machine.files.clear();
    const auto [result, failure] = FailedReading();
    EXPECT_TRUE(result) << "that the archive is on was known before the error";
    EXPECT_EQ(failure,
              Shown(5004,
                    "Die Datei 'C:\\Kandora\\Platzhalter.pdf' die als Platzhatlerdokument dient, ist nicht "
                    "vorhanden",
                    "SOKInterface.EinstellungenLesen"));
    Expect(Together({FirstOption(R"(BSTR "true")"),
                     Option(105, R"(BSTR "C:\Kandora\Platzhalter.pdf")"),
                     {R"(file "C:\Kandora\Platzhalter.pdf" -> False)"}}));
    EXPECT_EQ(state.folders.strPlatzhalterDatei, L"C:\\Kandora\\Platzhalter.pdf");
    EXPECT_EQ(state.folders.strPfadBuchungen, L"");
}

TEST_F(ClientSettings, NeedEachFolder) {
    struct Case {
        const wchar_t* path;
        int number;
        Lines checked;
    };
    const Lines bookings = Folder(109, "/Sesam/Muster/Buchungen");
    const Lines reports = Folder(110, "/Sesam/Muster/Auswertungen");
    const Lines debtors = Folder(111, "/Sesam/Muster/Debi");
    for (const Case& row : std::vector<Case>{
             {L"/Sesam/Muster/Buchungen", 5003, Folder(109, "/Sesam/Muster/Buchungen", "fehlt")},
             {L"/Sesam/Muster/Auswertungen", 5004,
              Together({bookings, Folder(110, "/Sesam/Muster/Auswertungen", "fehlt")})},
             {L"/Sesam/Muster/Debi", 5004,
              Together({bookings, reports, Folder(111, "/Sesam/Muster/Debi", "fehlt")})},
             {L"/Sesam/Muster/Kredi", 5004,
              Together({bookings, reports, debtors, Folder(112, "/Sesam/Muster/Kredi", "fehlt")})}}) {
        folders.answers = {{row.path, L"fehlt"}};
        const auto [result, failure] = FailedReading();
        EXPECT_TRUE(result);
        EXPECT_EQ(failure, Shown(row.number, "fehlt", "SOKInterface.EinstellungenLesen"));
        Expect(Together({FirstOption(R"(BSTR "true")"), placeholder, row.checked}));
    }
}

TEST_F(ClientSettings, KeepWhatWasReadBeforeAnError) {
    folders.answers = {{L"/Sesam/Muster/Debi", L"fehlt"}};
    FailedReading();
    EXPECT_EQ(state.folders.strPfadAuswertungen, L"/Sesam/Muster/Auswertungen");
    EXPECT_EQ(state.folders.strPfadDebi, L"/Sesam/Muster/Debi");
    EXPECT_EQ(state.folders.strPfadKredi, L"");
    talk.Take();
}

TEST_F(ClientSettings, CannotBeReadWithoutTheHost) {
    machine.RefusesOnce(hostProgId, 429);
    const auto [result, failure] = FailedReading();
    EXPECT_FALSE(result);
    EXPECT_EQ(failure, Shown(91, Spelled(DescriptionOf(91)), "SOKInterface.EinstellungenLesen"));
    Expect({"create FibuNT.Mandant !! 429", R"(box "429 SOKInterface AnmeldenAnSage" 0)"});
}

TEST_F(ClientSettings, OpenAClientAgainThatIsClosedInBetween) {
    const Fake first = NewHost("fibu");
    machine.HandsOut(hostProgId, first);
    first->Next(L"istoffen", false);  // before the login
    first->Next(L"istoffen", false);  // before key 105
    EXPECT_TRUE(Read());
    Expect(Together({FirstOption(R"(BSTR "true")"),
                     {"fibu.istoffen -> BOOL False"},
                     Opened("fibu", 1),
                     {R"(fibu.IniLesen(I2 600, I2 105) -> BSTR "C:\Kandora\Platzhalter.pdf")",
                      R"(file "C:\Kandora\Platzhalter.pdf" -> True)"},
                     allFolders}));
}

/// Setting a client up.
class SetUp : public ClientSettings {
protected:
    SetUp() {
        options.clear();
        Sok().oSesamFibu();
        talk.Take();
    }

    [[nodiscard]] static Lines Written(int key, const std::string& value,
                                       const std::string& answer = "BOOL True") {
        return {open, "fibu.Inischreiben(I2 600, I2 " + std::to_string(key) + ", BSTR \"" + value +
                          "\") -> " + answer};
    }
    [[nodiscard]] static std::string Created(const std::string& path, const std::string& answer = "") {
        return "folders.PFadErstellen(\"" + path + "\") -> \"" + answer + "\"";
    }
    [[nodiscard]] static Lines Asked(const std::string& proposal, const std::string& answer) {
        return {
            "input \"Archivpfad erstellen\" \"Bitte passen Sie allenfalls den Archivpfad des Mandanten an. "
            "Trennzeichen für Ordner ist '/'\" \"" +
            proposal + "\" -2500 -1500 -> \"" + answer + "\""};
    }
    [[nodiscard]] static Lines Folders(const std::string& top) {
        return Together({{Created(top + "/Buchungen")},
                         Written(109, top + "/Buchungen"),
                         {Created(top + "/Debi")},
                         Written(111, top + "/Debi"),
                         {Created(top + "/Kredi")},
                         Written(112, top + "/Kredi"),
                         {Created(top + "/Auswertungen")},
                         Written(110, top + "/Auswertungen")});
    }

    const Lines placeholderWritten = Written(105, R"(C:\Kandora\Platzhalter.pdf)");
    static constexpr const char* notWritten =
        "Die Mandantendaten konnten nicht in die Optionen eingetragen werden.";
};

TEST_F(SetUp, CreatesTheProposedFoldersWhenTheUserCancels) {
    EXPECT_TRUE(Sok().EinstellungenSchreiben());
    Expect(Together(
        {placeholderWritten, Asked("/Sesam/Muster", ""), Folders("/Sesam/Muster"), Written(100, "true")}));
    ExpectFolders(state.folders);
}

TEST_F(SetUp, PutsTheYearAboveTheClientForATrustee) {
    state.settings.gbTreuhand = true;
    machine.now.year = 2024;
    EXPECT_TRUE(Sok().EinstellungenSchreiben());
    Expect(Together({placeholderWritten, Asked("/Sesam/2024/Muster", ""), Folders("/Sesam/2024/Muster"),
                     Written(100, "true")}));
}

TEST_F(SetUp, TakesWhatTheUserTypesWithoutJudgingIt) {
    for (const wchar_t* const typed : {L"/Kunden/Müller & Co", L" ", L"//"}) {
        screen.typed.assign(1, typed);
        EXPECT_TRUE(Sok().EinstellungenSchreiben());
        Expect(Together({placeholderWritten, Asked("/Sesam/Muster", Spelled(typed)), Folders(Spelled(typed)),
                         Written(100, "true")}));
    }
}

TEST_F(SetUp, WritesAPathAsTheArchiveCompletedIt) {
    screen.typed.assign(1, L"Kunden/Muster");
    folders.completed = {{L"Kunden/Muster/Buchungen", L"/Kunden/Muster/Buchungen"},
                         {L"Kunden/Muster/Debi", L"/Kunden/Muster/Debi"},
                         {L"Kunden/Muster/Kredi", L"/Kunden/Muster/Kredi"},
                         {L"Kunden/Muster/Auswertungen", L"/Kunden/Muster/Auswertungen"}};
    EXPECT_TRUE(Sok().EinstellungenSchreiben());
    Expect(Together({placeholderWritten,
                     Asked("/Sesam/Muster", "Kunden/Muster"),
                     {Created("Kunden/Muster/Buchungen")},
                     Written(109, "/Kunden/Muster/Buchungen"),
                     {Created("Kunden/Muster/Debi")},
                     Written(111, "/Kunden/Muster/Debi"),
                     {Created("Kunden/Muster/Kredi")},
                     Written(112, "/Kunden/Muster/Kredi"),
                     {Created("Kunden/Muster/Auswertungen")},
                     Written(110, "/Kunden/Muster/Auswertungen"),
                     Written(100, "true")}));
    EXPECT_EQ(state.folders.strPfadKredi, L"/Kunden/Muster/Kredi");
}

TEST_F(SetUp, StopsAtTheFirstOptionThatCannotBeWritten) {
    struct Case {
        int key;
        Lines said;
    };
    const Lines asked = Together({placeholderWritten, Asked("/Sesam/Muster", "")});
    const std::string no = "BOOL False";
    const Lines bookings =
        Together({{Created("/Sesam/Muster/Buchungen")}, Written(109, "/Sesam/Muster/Buchungen")});
    const Lines debtors = Together({{Created("/Sesam/Muster/Debi")}, Written(111, "/Sesam/Muster/Debi")});
    const Lines creditors = Together({{Created("/Sesam/Muster/Kredi")}, Written(112, "/Sesam/Muster/Kredi")});
    const std::vector<Case> cases{
        {105, Written(105, R"(C:\Kandora\Platzhalter.pdf)", no)},
        {109,
         Together(
             {asked, {Created("/Sesam/Muster/Buchungen")}, Written(109, "/Sesam/Muster/Buchungen", no)})},
        {111,
         Together(
             {asked, bookings, {Created("/Sesam/Muster/Debi")}, Written(111, "/Sesam/Muster/Debi", no)})},
        {112, Together({asked,
                        bookings,
                        debtors,
                        {Created("/Sesam/Muster/Kredi")},
                        Written(112, "/Sesam/Muster/Kredi", no)})},
        {110, Together({asked,
                        bookings,
                        debtors,
                        creditors,
                        {Created("/Sesam/Muster/Auswertungen")},
                        Written(110, "/Sesam/Muster/Auswertungen", no)})}};
    for (const Case& row : cases) {
        const Fake fibu = NewHost("fibu");
        fibu->Answers(L"istoffen", true);
        fibu->Answers(L"Inischreiben", [&](Call& call) { return Variant(call.LongAt(1) != row.key); });
        machine.HandsOut(hostProgId, fibu);
        SOKInterface sok(AccountingContext{machine, screen, handler, state, folders});
        sok.oSesamFibu();
        talk.Take();
        EXPECT_EQ(Failing([&] { sok.EinstellungenSchreiben(); }),
                  Shown(1580, notWritten, "SOKInterface.EinstellungenSchreiben"));
        Expect(row.said);
    }
}

TEST_F(SetUp, AnswersNoWhenOnlyTheFinalMarkCannotBeWritten) {
    const Fake fibu = NewHost("fibu");
    fibu->Answers(L"istoffen", true);
    fibu->Answers(L"Inischreiben", [](Call& call) { return Variant(call.LongAt(1) != 100); });
    machine.HandsOut(hostProgId, fibu);
    SOKInterface sok(AccountingContext{machine, screen, handler, state, folders});
    EXPECT_FALSE(sok.EinstellungenSchreiben());
    EXPECT_EQ(talk.Take().back(), R"(fibu.Inischreiben(I2 600, I2 100, BSTR "true") -> BOOL False)");
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(SetUp, StopsAtTheFirstFolderThatCannotBeCreated) {
    struct Case {
        const wchar_t* path;
        std::ptrdiff_t foldersAsked;
    };
    for (const Case& row : std::vector<Case>{{L"/Sesam/Muster/Buchungen", 1},
                                             {L"/Sesam/Muster/Debi", 2},
                                             {L"/Sesam/Muster/Kredi", 3},
                                             {L"/Sesam/Muster/Auswertungen", 4}}) {
        folders.answers = {{row.path, L"Fehler Nr. -3"}};
        EXPECT_EQ(Failing([&] { Sok().EinstellungenSchreiben(); }),
                  Shown(1580, "Fehler Nr. -3", "SOKInterface.EinstellungenSchreiben"));
        const Lines said = talk.Take();
        EXPECT_EQ(said.back(), Created(Spelled(row.path), "Fehler Nr. -3"));
        EXPECT_EQ(std::ranges::count_if(said, [](const auto& line) { return line.starts_with("folders."); }),
                  row.foldersAsked);
    }
}

TEST_F(SetUp, LeavesThePlaceholderWrittenWhenItFailsLater) {
    folders.answers = {{L"/Sesam/Muster/Buchungen", L"nein"}};
    EXPECT_NE(Failing([&] { Sok().EinstellungenSchreiben(); }), "");
    EXPECT_EQ(options[105].ToText(), L"C:\\Kandora\\Platzhalter.pdf");
    EXPECT_FALSE(options.contains(100));
    talk.Take();
}

TEST_F(SetUp, ThatFailsWhileReadingShowsBothProcedures) {
    folders.answers = {{L"/Sesam/Muster/Buchungen", L"nein"}};
    const auto [result, failure] = FailedReading();
    EXPECT_FALSE(result);
    EXPECT_EQ(failure,
              Shown(1580, "nein", "SOKInterface.EinstellungenSchreiben <- SOKInterface.EinstellungenLesen"));
    talk.Take();
}

TEST_F(SetUp, LooksForThePlaceholderBesideTheComponent) {
    machine.componentFile = L"D:\\Programme\\Sesam\\DMS\\Kandora32.dll";
    Sok().EinstellungenSchreiben();
    EXPECT_EQ(options[105].ToText(), L"D:\\Programme\\Sesam\\DMS\\Platzhalter.pdf");
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
