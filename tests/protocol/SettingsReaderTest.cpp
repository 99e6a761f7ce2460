// How the settings are read from the INI file and checked against the archive.

#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

class SettingsReader : public ProviderTest {
protected:
    std::string Failing() {
        return FailureOf(Globals().goErrHandler(), [&] { Globals().IniLesen(); });
    }
    /// "section/key" of each read so far.
    Lines KeysRead() {
        Lines keys;
        for (const std::string& call : std::exchange(machine.profileCalls, {})) {
            EXPECT_TRUE(call.ends_with(" 1000")) << call;
            keys.push_back(call.substr(0, call.size() - 5));
        }
        return keys;
    }
    static Lines FirstKeys(std::size_t count) {
        Lines keys;
        for (std::size_t i = 0; i < count; ++i) {
            keys.push_back(std::string("string \"") + IniKeys()[i].section + "\" \"" + IniKeys()[i].key +
                           "\"");
        }
        return keys;
    }

    static constexpr const char* frames = "MGlobals.IniLesen";
};

TEST_F(SettingsReader, ReadsAllKeysInOrderThenLogsInThenChecksTheMasks) {
    EXPECT_TRUE(Globals().IniLesen());
    ASSERT_EQ(IniKeys().size(), 50U);
    ExpectLines(KeysRead(), FirstKeys(50));
    EXPECT_EQ(machine.profileFile, iniFile);
    Expect(ArchiveChecked());
}

TEST_F(SettingsReader, StoresEveryValueInItsPlace) {
    SetIni("Debug", "Test", "1");
    SetIni("Archiv", "Treuhand", "True");
    Globals().IniLesen();
    const Settings& read = State().settings;
    const Settings sample = SampleSettings();
    EXPECT_TRUE(read.gbDebug);
    EXPECT_TRUE(read.gbArchivAktiv);
    EXPECT_TRUE(read.gbTreuhand);
    for (Text Settings::* const text :
         {&Settings::gsEloPrinterFile, &Settings::gsArchivname, &Settings::gsSagePfad,
          &Settings::gsEloUserName, &Settings::gsEloPasswort, &Settings::gsEloKuerzel}) {
        EXPECT_EQ(read.*text, sample.*text);
    }
    for (std::int32_t Settings::* const mask :
         {&Settings::glMaskeStruktur, &Settings::glMaskeBelege, &Settings::glMaskeAuswertung,
          &Settings::glMaskeDebi, &Settings::glMaskeKredi}) {
        EXPECT_EQ(read.*mask, sample.*mask);
    }
    for (const IndexField& field : voucherIndexFields) {
        EXPECT_EQ(read.giIdxBeleg.*field.position, sample.giIdxBeleg.*field.position) << Spelled(field.key);
    }
    for (const IndexField& field : partnerIndexFields) {
        EXPECT_EQ(read.giIdxDebi.*field.position, sample.giIdxDebi.*field.position) << Spelled(field.key);
        EXPECT_EQ(read.giIdxKredi.*field.position, sample.giIdxKredi.*field.position) << Spelled(field.key);
    }
    EXPECT_EQ(read.giIdxAuswertung.Listenbeschreibung, 21);
    EXPECT_EQ(read.giIdxAuswertung.DatumVon, 22);
    EXPECT_EQ(read.giIdxAuswertung.DatumBis, 23);
    talk.Take();
}

TEST_F(SettingsReader, StopsWithoutAnErrorWhenTheArchiveIsSwitchedOff) {
    for (const char* const off : {"False", "false", "0"}) {
        SetIni("Archiv", "ArchivAktiv", off);
        EXPECT_FALSE(Globals().IniLesen());
        ExpectLines(KeysRead(), FirstKeys(2));
        Expect({});
    }
}

TEST_F(SettingsReader, KeepsEarlierValuesWhenTheArchiveIsSwitchedOffLater) {
    Globals().IniLesen();
    talk.Take();
    SetIni("Archiv", "ArchivAktiv", "False");
    SetIni("Archiv", "Archivname", "Anderes");
    EXPECT_FALSE(Globals().IniLesen());
    EXPECT_FALSE(State().settings.gbArchivAktiv);
    EXPECT_EQ(State().settings.gsArchivname, L"Hauptarchiv");
}

TEST_F(SettingsReader, ReadsTheTraceSwitchEvenWhenTheArchiveIsOff) {
    SetIni("Debug", "Test", "TRUE");
    SetIni("Archiv", "ArchivAktiv", "0");
    Globals().IniLesen();
    EXPECT_TRUE(State().settings.gbDebug);
}

TEST_F(SettingsReader, FailsAtTheFirstKeyOfAMissingFile) {
    machine.componentFile = L"C:\\Anderswo\\Kandora.dll";
    EXPECT_EQ(Failing(), Shown(13, Spelled(DescriptionOf(13)), frames));
    ExpectLines(KeysRead(), FirstKeys(1));
    EXPECT_EQ(machine.profileFile, "C:\\Anderswo\\Kandora.ini");
}

TEST_F(SettingsReader, FailsAtEachTruthValueAndNumberThatIsMissingOrNone) {
    for (std::size_t i = 0; i < IniKeys().size(); ++i) {
        const IniKey& row = IniKeys()[i];
        const std::string value = row.value;
        const bool isText =
            value.find_first_not_of("0123456789") != std::string::npos && value != "True" && value != "False";
        if (isText) {
            continue;
        }
        for (const char* const wrong : {"", "zwölf", "1 2"}) {
            SetIni(row.section, row.key, wrong);
            EXPECT_EQ(Failing(), Shown(13, Spelled(DescriptionOf(13)), frames))
                << row.section << "/" << row.key;
            ExpectLines(KeysRead(), FirstKeys(i + 1));
        }
        RemoveIni(row.section, row.key);
        EXPECT_EQ(Failing(), Shown(13, Spelled(DescriptionOf(13)), frames)) << row.section << "/" << row.key;
        SetIni(row.section, row.key, row.value);
        KeysRead();
    }
    Expect({});
}

TEST_F(SettingsReader, ReadsNumbersWithinTheirRangesAlone) {
    struct Case {
        const char* section;
        const char* key;
        const char* value;
        int number;
    };
    for (const Case& row : std::vector<Case>{{"IndexBelege", "Betrag", "40000", 6},
                                             {"IndexBelege", "Betrag", "32768", 6},
                                             {"IndexBelege", "Betrag", "-32769", 6},
                                             {"IndexBelege", "Betrag", "32767", 0},
                                             {"IndexBelege", "Betrag", "-32768", 0},
                                             {"IndexKredi", "Kundenort", "99999999999", 6},
                                             {"Maske", "Debi", "2147483648", 6},
                                             {"Maske", "Debi", "-2147483649", 6},
                                             {"Maske", "Debi", "2147483647", 0},
                                             {"Maske", "Debi", " 40000 ", 0}}) {
        NewComponent();
        SetIni(row.section, row.key, row.value);
        EXPECT_EQ(NumberRaisedBy([&] { Globals().IniLesen(); }), row.number) << row.key << "=" << row.value;
        Globals().goErrHandler().Clear();
        talk.Take();
        SetIni("IndexBelege", "Betrag", "17");
        SetIni("IndexKredi", "Kundenort", "63");
        SetIni("Maske", "Debi", "4");
    }
}

TEST_F(SettingsReader, TakesAnyOtherNumberThanZeroForTrue) {
    for (const char* const on : {"1", "-1", "17", "tRuE"}) {
        SetIni("Archiv", "Treuhand", on);
        Globals().IniLesen();
        EXPECT_TRUE(State().settings.gbTreuhand) << on;
    }
    talk.Take();
}

TEST_F(SettingsReader, NeedsArchiveNameUserAndShortSign) {
    struct Case {
        const char* section;
        const char* key;
    };
    for (const Case& row :
         std::vector<Case>{{"Archiv", "Archivname"}, {"Login", "ELOUSERNAME"}, {"Login", "ELOKUERZEL"}}) {
        SetIni(row.section, row.key, "");
        EXPECT_EQ(Failing(),
                  Shown(5000,
                        "Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist "
                        "deaktiviert.",
                        frames))
            << row.key;
        ExpectLines(KeysRead(), FirstKeys(50));
        for (const IniKey& key : IniKeys()) {
            SetIni(key.section, key.key, key.value);
        }
    }
    Expect({});
}

TEST_F(SettingsReader, TakesAnEmptyPassword) {
    RemoveIni("Login", "ELOPW");
    EXPECT_TRUE(Globals().IniLesen());
    const Lines said = talk.Take();
    EXPECT_EQ(said.at(1), R"(archive.Login(BSTR& "anna", BSTR& "", BSTR& "Hauptarchiv") -> I4 0)");
}

TEST_F(SettingsReader, StopsWhenTheArchiveIsNotUsable) {
    archive->Answers(L"SelectView", 0);
    EXPECT_EQ(
        Failing(),
        Shown(5001, "Das Anmelden an ELO ist Fehlgeschlagen. Das ELO-Interface ist deaktiviert.", frames));
    Expect({"create ELO.professional",
            R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)",
            R"(archive.EloWindow(BSTR "MINIMIZE"))", "archive.SelectView(I2 3) -> I4 0"});
}

TEST_F(SettingsReader, PassesOnAFailedLoginAndChecksNoMask) {
    archive->Answers(L"Login", -2);
    EXPECT_EQ(Failing(),
              Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-2",
                    "ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin <- MGlobals.IniLesen"));
    Expect({"create ELO.professional",
            R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 -2)"});
}

TEST_F(SettingsReader, StopsAtTheFirstMaskThatIsMissing) {
    for (int missing = 1; missing <= 5; ++missing) {
        NewComponent();
        archive->Answers(L"ReadObjMask", [missing](Call& call) {
            return Variant(std::int32_t{call.LongAt(0) >= missing ? -1 : 0});
        });
        EXPECT_EQ(
            Failing(),
            Shown(5002, "Die Ablagemaske Nr. " + std::to_string(missing) + " ist nicht vorhanden", frames));
        const Lines said = talk.Take();
        EXPECT_EQ(said.back(), "archive.ReadObjMask(I4& " + std::to_string(missing) + ") -> I4 -1");
        EXPECT_EQ(said.size(), 4U + 2U * static_cast<std::size_t>(missing));
    }
}

TEST_F(SettingsReader, ReadsTextsWithUmlautsAndBlanks) {
    SetIni("Archiv", "SagePFad", AnsiFromText(L"Müller & Söhne/Zürich"));
    Globals().IniLesen();
    EXPECT_EQ(State().settings.gsSagePfad, L"Müller & Söhne/Zürich");
    talk.Take();
}

TEST_F(SettingsReader, ReadsValuesOfAnyLength) {
    SetIni("Archiv", "SagePFad", std::string(2500, 'x'));
    Globals().IniLesen();
    EXPECT_EQ(State().settings.gsSagePfad, Text(2500, L'x'));
    Lines growing;
    for (const std::string& call : machine.profileCalls) {
        if (call.find("SagePFad") != std::string::npos) {
            growing.push_back(call);
        }
    }
    ExpectLines(growing, {R"(string "Archiv" "SagePFad" 1000)", R"(string "Archiv" "SagePFad" 2000)",
                          R"(string "Archiv" "SagePFad" 3000)"});
    talk.Take();
}

class SharedObjects : public ProviderTest {};

TEST_F(SharedObjects, AreCreatedOnceAndKept) {
    EXPECT_EQ(Globals().goArchiv(), Globals().goArchiv());
    EXPECT_EQ(Globals().goSesamSOK(), Globals().goSesamSOK());
    EXPECT_EQ(Globals().User(), Globals().User());
    Expect({});
}

TEST_F(SharedObjects, IncludeTheUserWithTheLatestCredentials) {
    const auto user = Globals().User();
    EXPECT_EQ(user->sName + user->sPasswort + user->sKuerzel, L"");
    EXPECT_FALSE(user->bLoggedOn());
    State().settings = SampleSettings();
    EXPECT_EQ(Globals().User(), user);
    EXPECT_EQ(user->sName, L"anna");
    EXPECT_EQ(user->sPasswort, L"geheim");
    EXPECT_EQ(user->sKuerzel, L"an");
    EXPECT_TRUE(user->bLoggedOn());
}

TEST_F(SharedObjects, GiveANewIniFileAtEachCall) {
    const auto first = Globals().NewIniFile();
    const auto second = Globals().NewIniFile();
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->sIniFile(), L"C:\\Kandora\\Kandora.ini");
}

TEST_F(SharedObjects, LogOutWhenTheThreadEnds) {
    Globals().IniLesen();
    talk.Take();
    ReleaseComponent();
    Expect({R"(archive.Login(BSTR& "LOGOUT", BSTR& "", BSTR& ""))", R"(archive.EloWindow(BSTR "MINIMIZE"))"});
}

TEST_F(SharedObjects, AreMadeAnewAfterTheyWereReleased) {
    Globals().IniLesen();
    Globals().ReleaseServices();
    archive->ForgetAsked();
    talk.Take();
    EXPECT_TRUE(Globals().IniLesen());
    Expect(ArchiveChecked());
}

}  // namespace
}  // namespace kandora::test
