// How the archive client opens, keeps and closes its session.

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

class Session : public ArchiveTest {
protected:
    static std::string Login(const std::string& answer, const std::string& object = "archive") {
        return object + R"(.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 )" + answer;
    }
    static Lines Opened(const std::string& object) {
        return {
            "create ELO.professional",
            Login("0", object),
            object + R"(.EloWindow(BSTR "MINIMIZE"))",
        };
    }
    const Lines opened = Opened("archive");

    /// Expects the next use to probe the session, to find it lost and to open one with a new object.
    void ExpectAnewAfter(const char* probed) {
        const Fake second = NewArchive("second");
        machine.HandsOut(archiveProgId, second);
        EXPECT_EQ(Client().oElo().Pointer(), second.Get());
        Expect(Together({{probed}, Opened("second")}));
        EXPECT_EQ(handler.lOriginalNumber(), 0);
    }

    /// The error after this answer of the archive to the login.
    static std::string Refused(const std::string& answer) {
        return Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=" + answer,
                     "ELODMS.AnmeldenAnElo <- ELODMS.oElo");
    }
};

TEST_F(Session, OpensAtTheFirstUseAndMinimisesTheArchive) {
    EXPECT_EQ(Client().oElo().Pointer(), archive.Get());
    Expect(opened);
}

TEST_F(Session, IsProbedBeforeEachFurtherUse) {
    LogIn();
    EXPECT_EQ(Client().oElo().Pointer(), archive.Get());
    EXPECT_EQ(Client().oElo().Pointer(), archive.Get());
    Expect({probe, probe});
}

TEST_F(Session, NeedsCredentialsBeforeAnythingIsCreated) {
    state.settings.gsEloUserName = L"";
    state.settings.gsEloPasswort = L"";
    EXPECT_EQ(Failing([&] { Client().oElo(); }), Shown(5, "Benutzer muss angemeldet sein, um ELO anzumelden.",
                                                       "ELODMS.AnmeldenAnElo <- ELODMS.oElo"));
    Expect({});
}

TEST_F(Session, TakesAPasswordAloneAsCredentials) {
    state.settings.gsEloUserName = L"";
    Client().oElo();
    Expect({
        "create ELO.professional",
        R"(archive.Login(BSTR& "", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)",
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
    });
}

TEST_F(Session, TakesANameAloneAsCredentials) {
    state.settings.gsEloPasswort = L"";
    Client().oElo();
    Expect({
        "create ELO.professional",
        R"(archive.Login(BSTR& "anna", BSTR& "", BSTR& "Hauptarchiv") -> I4 0)",
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
    });
}

TEST_F(Session, TriesOnceMoreAfterHalfASecondWhenTheArchiveAsksForIt) {
    archive->Next(L"Login", -1);
    Client().oElo();
    Expect({
        "create ELO.professional",
        Login("-1"),
        "sleep 500",
        Login("0"),
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
    });
}

TEST_F(Session, TriesOnlyOnceMore) {
    archive->Answers(L"Login", -1);
    EXPECT_EQ(Failing([&] { Client().oElo(); }), Refused("-1"));
    Expect({
        "create ELO.professional",
        Login("-1"),
        "sleep 500",
        Login("-1"),
    });
}

TEST_F(Session, DoesNotTryAgainAfterAnyOtherRefusal) {
    archive->Answers(L"Login", -2);
    EXPECT_EQ(Failing([&] { Client().oElo(); }), Refused("-2"));
    Expect({
        "create ELO.professional",
        Login("-2"),
    });
}

TEST_F(Session, JudgesTheSecondAnswerLikeTheFirst) {
    archive->Next(L"Login", -1);
    archive->Next(L"Login", -7);
    EXPECT_EQ(Failing([&] { Client().oElo(); }), Refused("-7"));
    talk.Take();
}

TEST_F(Session, TakesAnyAnswerFromZeroOnAsSuccess) {
    archive->Answers(L"Login", 3);
    EXPECT_NO_THROW(Client().oElo());
    EXPECT_EQ(talk.Take().size(), 3U);
}

TEST_F(Session, TellsThatTheArchiveIsNotInstalled) {
    machine.RefusesOnce(archiveProgId, 429);
    EXPECT_EQ(Failing([&] { Client().oElo(); }),
              Shown(429, "Das Automatisierungsobjekt kann nicht erstellt werden",
                    "ELODMS.AnmeldenAnElo <- ELODMS.oElo"));
    Expect({"create ELO.professional !! 429"});
    Client().oElo();
    Expect(opened);
}

TEST_F(Session, PassesOnWhatTheArchiveSaysAboutAFailedLogin) {
    archive->Next(L"Login", Failure::Exception(1004, L"Datenbank gesperrt", L"ELO"));
    EXPECT_EQ(Failing([&] { Client().oElo(); }),
              Shown(1004, "Datenbank gesperrt", "ELODMS.AnmeldenAnElo <- ELODMS.oElo"));
    talk.Take();
}

TEST_F(Session, KeepsTheObjectOfAFailedLoginAndAsksItFirst) {
    archive->Next(L"Login", -5);
    EXPECT_NE(Failing([&] { Client().oElo(); }), "");
    talk.Take();
    Client().oElo();  // the kept object answers its probe, and so the session counts as open
    Expect({probe});
}

TEST_F(Session, OpensANewOneWhenTheProbeSaysNo) {
    LogIn();
    archive->Next(L"GetEntryId", -1);
    ExpectAnewAfter("archive.GetEntryId(I2 -1) -> I4 -1");
}

TEST_F(Session, OpensANewOneWhenTheProbeFails) {
    LogIn();
    archive->Dies(static_cast<HRESULT>(0x800706BAU));
    ExpectAnewAfter("archive.GetEntryId !! 0x800706BA");
    EXPECT_EQ(archive->References(), 2U) << "the references of this test; the client has let go of its own";
}

TEST_F(Session, ProbesAKnownArchiveWithoutAskingForTheIdAgain) {
    LogIn();
    Client().oElo();
    Client().oElo();
    Client().oElo();
    EXPECT_EQ(archive->TimesAsked(L"GetEntryId"), 1);
    Expect({probe, probe, probe});
}

TEST_F(Session, TakesAnyOtherAnswerToTheProbeAsAlive) {
    LogIn();
    archive->Next(L"GetEntryId", -2);
    Client().oElo();
    Expect({"archive.GetEntryId(I2 -1) -> I4 -2"});
}

TEST_F(Session, EndsWithALogoutAndAMinimisedWindow) {
    LogIn();
    ReleaseComponent();
    Expect({
        R"(archive.Login(BSTR& "LOGOUT", BSTR& "", BSTR& ""))",
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
    });
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Session, EndsQuietlyWithoutEverHavingBeenOpened) {
    ReleaseComponent();
    Expect({});
    EXPECT_EQ(handler.lOriginalNumber(), 0) << "the failed logout must not colour the next error";
    EXPECT_EQ(handler.sToString(), L"[0]  | ON LINE 0 | CALLSTACK: ");
}

TEST_F(Session, EndsQuietlyWhenTheArchiveHasGone) {
    LogIn();
    archive->Dies(static_cast<HRESULT>(0x800706BEU));
    ReleaseComponent();
    Expect({R"(archive.Login(BSTR& "LOGOUT", BSTR& "", BSTR& "") !! 0x800706BE)"});
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Session, KeepsAnErrorThatIsOnItsWayWhenAClientEnds) {
    handler.Log(RuntimeError(5000, L"Text"), L"MGlobals", L"IniLesen");
    ReleaseComponent();
    EXPECT_EQ(Spelled(handler.sToString()), Shown(5000, "Text", "MGlobals.IniLesen"));
}

class Visibility : public OpenArchiveTest {};

TEST_F(Visibility, BringsTheArchiveToTheFrontAndRestoresItsWindow) {
    Client().ELOSichtbar();
    Expect(Probed({"archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))"}));
}

TEST_F(Visibility, RestoresTheWindowEvenWhenItCannotBeBroughtToTheFront) {
    archive->Next(L"BringToFront", Failure::Exception(1000, L"nein"));
    Client().ELOSichtbar();
    Expect(Probed({R"(archive.BringToFront() !! 1000 "nein")", R"(archive.EloWindow(BSTR "NORMAL"))"}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Visibility, SwallowsEveryError) {
    archive->Dies(static_cast<HRESULT>(0x800706BAU));
    machine.RefusesOnce(archiveProgId, 429);
    machine.RefusesOnce(archiveProgId, 429);
    Client().ELOSichtbar();
    Expect({"archive.GetEntryId !! 0x800706BA", "create ELO.professional !! 429",
            "archive.GetEntryId !! 0x800706BA", "create ELO.professional !! 429"});
    EXPECT_EQ(handler.sToString(), L"[0]  | ON LINE 0 | CALLSTACK: ");
}

class LoginCheck : public ArchiveTest {};

TEST_F(LoginCheck, OpensTheSessionAndSelectsTheSearchView) {
    EXPECT_EQ(Client().CheckLogin(), L"");
    Expect({
        "create ELO.professional",
        R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)",
        R"(archive.EloWindow(BSTR "MINIMIZE"))",
        "archive.SelectView(I2 3) -> I4 1",
    });
}

TEST_F(LoginCheck, AnswersTheReasonForZeroAndLess) {
    LogIn();
    for (const int answer : {0, -1}) {
        archive->Next(L"SelectView", answer);
        EXPECT_EQ(Spelled(Client().CheckLogin()),
                  "Das Anmelden an ELO ist Fehlgeschlagen. Das ELO-Interface ist deaktiviert.");
        Expect(Probed({"archive.SelectView(I2 3) -> I4 " + std::to_string(answer)}));
    }
}

TEST_F(LoginCheck, RaisesAFailedLoginWithAllItsFrames) {
    archive->Answers(L"Login", -3);
    EXPECT_EQ(Failing([&] { Client().CheckLogin(); }),
              Shown(5, "Unbekannter Loginname, Passwort oder Archiv: Login=-3",
                    "ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin"));
    talk.Take();
}

TEST_F(LoginCheck, RaisesAFailingView) {
    LogIn();
    archive->Next(L"SelectView", Failure::Code(E_OUTOFMEMORY));
    EXPECT_EQ(Failing([&] { Client().CheckLogin(); }),
              Shown(7, Spelled(DescriptionOf(7)), "ELODMS.CheckLogin"));
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
