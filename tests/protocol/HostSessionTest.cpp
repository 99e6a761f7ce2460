// How the host's client is opened once for each of its modules.

#include "tests/protocol/AccountingFixture.h"

namespace kandora::test {
namespace {

struct ModuleCase {
    const char* name;
    int module;
    const char* loginProcedure;
    LateBound (SOKInterface::*object)();
};

void PrintTo(const ModuleCase& row, std::ostream* stream) {
    *stream << row.name;
}

class HostModule : public AccountingTest, public testing::WithParamInterface<ModuleCase> {
protected:
    HostModule() {
        machine.Makes(hostProgId, [this] { return NewHost(GetParam().name); });
    }
    /// The host that the next creation of its object gives.
    Fake NextHost() {
        const Fake host = NewHost(GetParam().name);
        machine.HandsOut(hostProgId, host);
        return host;
    }
    LateBound Object() { return (Sok().*GetParam().object)(); }
    [[nodiscard]] static Lines Opening() { return Opened(GetParam().name, GetParam().module); }
    [[nodiscard]] static std::string Line(const std::string& call) { return GetParam().name + ("." + call); }
    /// The box of a failed login.
    [[nodiscard]] static std::string Box(int number) {
        return "box \"" + std::to_string(number) + " SOKInterface " + GetParam().loginProcedure + "\" 0";
    }
};

INSTANTIATE_TEST_SUITE_P(
    Modules, HostModule,
    testing::Values(ModuleCase{"fibu", 1, "AnmeldenAnSage", &SOKInterface::oSesamFibu},
                    ModuleCase{"debi", 2, "AnmeldenAnSesamDebi", &SOKInterface::oSesamDebi},
                    ModuleCase{"kredi", 3, "AnmeldenAnSesamKredi", &SOKInterface::oSesamKredi}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(HostModule, OpensTheLatestClientUnderItsNumber) {
    const Fake host = NextHost();
    EXPECT_EQ(Object().Pointer(), host.Get());
    Expect(Opening());
}

TEST_P(HostModule, IsAskedBeforeEachUseWhetherItsClientIsOpen) {
    Object();
    Object();
    Object();
    Expect(Together({Opening(), {Line("istoffen -> BOOL True"), Line("istoffen -> BOOL True")}}));
}

TEST_P(HostModule, IsCreatedAnewWhenTheHostHasClosedTheClient) {
    const Fake first = NextHost();
    const Fake second = NextHost();
    Object();
    first->Next(L"istoffen", false);
    EXPECT_EQ(Object().Pointer(), second.Get());
    Expect(Together({Opening(), {Line("istoffen -> BOOL False")}, Opening()}));
    EXPECT_EQ(first->References(), 2U) << "the references of this test; the replaced object is let go";
}

TEST_P(HostModule, IsNotLoggedInWhenItsClientIsOpenFromTheStart) {
    const Fake host = NextHost();
    host->Answers(L"istoffen", true);
    Object();
    Expect({"create FibuNT.Mandant", Line(R"(letztermandant -> BSTR "C:\Daten\Muster")"),
            Line("istoffen -> BOOL True")});
}

TEST_P(HostModule, IsHandedOutWhateverTheLoginAnswered) {
    const Fake host = NextHost();
    host->Next(L"Login", -1);
    EXPECT_EQ(Object().Pointer(), host.Get());
    talk.Take();
}

TEST_P(HostModule, KeepsTheClientsTextWhenTheHostWritesIntoIt) {
    const Fake host = NextHost();
    host->Next(L"Login", [](Call& call) {
        call.Store(1, Variant(L"C:\\Andere"));
        return Variant(std::int32_t{0});
    });
    Object();
    Expect(Opening());
}

TEST_P(HostModule, TellsTheUserThatTheHostIsMissing) {
    machine.RefusesOnce(hostProgId, 429);
    EXPECT_TRUE(Object().IsNothing());
    Expect({"create FibuNT.Mandant !! 429", Box(429)});
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_P(HostModule, KeepsAnObjectWhoseLoginFailed) {
    const Fake host = NextHost();
    host->Next(L"Login", Failure::Exception(3021, L"Mandant gesperrt"));
    EXPECT_EQ(Object().Pointer(), host.Get());
    Expect({"create FibuNT.Mandant", Line(R"(letztermandant -> BSTR "C:\Daten\Muster")"),
            Line("istoffen -> BOOL False"),
            Line("Login(I2 " + std::to_string(GetParam().module) +
                 R"(, BSTR& "C:\Daten\Muster") !! 3021 "Mandant gesperrt")"),
            Box(3021)});
}

TEST_P(HostModule, KeepsTheOldObjectWhenANewOneCannotBeCreated) {
    const Fake host = NextHost();
    machine.RefusesOnce(hostProgId, 462);
    Object();
    host->Next(L"istoffen", false);
    EXPECT_EQ(Object().Pointer(), host.Get());
    Expect(Together({Opening(), {Line("istoffen -> BOOL False"), "create FibuNT.Mandant !! 462", Box(462)}}));
}

TEST_P(HostModule, TellsTheUserThatTheClientCannotBeRead) {
    const Fake host = NextHost();
    host->Next(L"letztermandant", Variant::Null());
    Object();
    Expect({"create FibuNT.Mandant", Line("letztermandant -> Null"), Box(94)});
}

TEST_P(HostModule, TellsTheUserThatALoginAnswersNoNumber) {
    const Fake host = NextHost();
    host->Next(L"Login", L"nein");
    Object();
    EXPECT_EQ(talk.Take().back(), Box(13));
}

TEST_P(HostModule, TellsTheUserTheTextAloneWhenTheQuestionFails) {
    const Fake host = NextHost();
    Object();
    host->Next(L"istoffen", Failure::Exception(3022, L"Verbindung verloren"));
    EXPECT_TRUE(Object().IsNothing());
    Expect(Together(
        {Opening(), {Line(R"(istoffen !! 3022 "Verbindung verloren")"), R"(box "Verbindung verloren" 0)"}}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_P(HostModule, IsOpenedAnewOnceItsProgramHasDied) {
    const Fake host = NextHost();
    const Fake successor = NextHost();
    Object();
    host->Dies(HRESULT_FROM_WIN32(RPC_S_CALL_FAILED));
    EXPECT_TRUE(Object().IsNothing());
    EXPECT_EQ(Object().Pointer(), successor.Get());
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "create FibuNT.Mandant"), 2);
    EXPECT_EQ(
        Occurrences(said,
                    R"(box "Das Programm, mit dem gearbeitet wird, ist beendet oder nicht erreichbar" 0)"),
        1);
}

class HostSession : public AccountingTest {};

TEST_F(HostSession, HasOneObjectForEachModule) {
    machine.HandsOut(hostProgId, NewHost("fibu"));
    machine.HandsOut(hostProgId, NewHost("debi"));
    machine.HandsOut(hostProgId, NewHost("kredi"));
    Sok().oSesamFibu();
    Sok().oSesamDebi();
    Sok().oSesamKredi();
    Sok().oSesamFibu();
    Expect(
        Together({Opened("fibu", 1), Opened("debi", 2), Opened("kredi", 3), {"fibu.istoffen -> BOOL True"}}));
}

TEST_F(HostSession, NamesTheClientByWhatFollowsTheLastBackslash) {
    struct Case {
        const wchar_t* client;
        std::string proposal;
    };
    for (const Case& row : std::vector<Case>{{L"C:\\Daten\\Mandanten\\Muster", "/Sesam/Muster"},
                                             {L"Muster", "/Sesam/Muster"},
                                             {L"C:\\Daten\\", "/Sesam/"},
                                             {L"C:/Daten/Muster", "/Sesam/C:/Daten/Muster"},
                                             {L"", "/Sesam/"}}) {
        client = row.client;
        SOKInterface sok(AccountingContext{machine, screen, handler, state, folders});
        sok.EinstellungenSchreiben();
        const Lines said = talk.Take();
        EXPECT_EQ(Occurrences(
                      said, "input \"Archivpfad erstellen\" \"Bitte passen Sie allenfalls den Archivpfad des "
                            "Mandanten an. Trennzeichen für Ordner ist '/'\" \"" +
                                row.proposal + "\" -2500 -1500 -> \"\""),
                  1)
            << Spelled(row.client);
    }
}

}  // namespace
}  // namespace kandora::test
