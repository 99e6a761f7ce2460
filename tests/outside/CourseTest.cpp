#include "tests/outside/Course.h"
#include "interfaces/CodePages.h"
#include "tests/outside/Workplace.h"
#include "tests/support/BuiltFile.h"
#include "tools/check/TypeDescriptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <regex>
#include <set>

// The same course in five pairs of hands. Every member of every public class is called in it, by name and
// through the vtable, by scripts and by C++, and whoever calls must get the same answers and leave the same
// entries in the archive.
namespace kandora::outside_tests {
namespace {

using namespace std::literals;

/// Services, as every caller must find them. Indented lines are what only some callers can tell: what became
/// of by-reference arguments, and the elements of an array. No box shows an error in this course, so each
/// error comes with the frames of all before it, including those that were not raised.
constexpr const char* services = R"(
new ELOProvider
ELOProvider.bRunning = BOOL False
ELOProvider.FibuVersion = EMPTY
ELOProvider.CreateDocID = BSTR 
ELOProvider.GetOpenDocInfo = EMPTY
ELOProvider.InitProvider = EMPTY
ELOProvider.bRunning = BOOL True
ELOProvider.bRunning := BOOL False
ELOProvider.bRunning = BOOL False
ELOProvider.bRunning := BOOL True
ELOProvider.GetVirtualPrinterName = BSTR 
ELOProvider.StartProvider = EMPTY
new SOKInterface
SOKInterface.EinstellungenLesen = BOOL False
SOKInterface.oSesamFibu = DISPATCH
  IniLesen = BSTR False
SOKInterface.EinstellungenSchreiben = BOOL True
SOKInterface.oSesamFibu = DISPATCH
  IniLesen = BSTR /Buchhaltung/Muster AG/Buchungen
SOKInterface.EinstellungenLesen = BOOL True
SOKInterface.oSesamDebi = DISPATCH
SOKInterface.oSesamKredi = DISPATCH
SOKInterface.GetBuchungsType = BSTR Beleg
SOKInterface.GetBelegDaten = EMPTY
SOKInterface.GetBuchungsType = BSTR Debi
SOKInterface.GetDebiDaten = EMPTY
SOKInterface.GetBelegDaten fails: 91 [Das ben<00F6>tigte Objekt ist nicht vorhanden] from []
SOKInterface.GetBuchungsType fails: 5010 [Belegtyp konnte nicht gelesen werden] from []
new ELODMS
ELODMS.CheckLogin = BSTR 
ELODMS.oElo = DISPATCH
  LookupDelimiter = BSTR <00B6>
ELODMS.ELOSichtbar = EMPTY
ELODMS.CheckMaskeVorhanden = BSTR 
ELODMS.CheckMaskeVorhanden = BSTR Die Ablagemaske Nr. 77 ist nicht vorhanden
ELODMS.CheckPFadVorhanden = BSTR 
ELODMS.CheckPFadVorhanden = BSTR Der Pfad '/Ablage/2004' ist im Archiv nicht vorhanden<000D>Korrigieren Sie die Sesam-Einstellungen
ELODMS.PFadErstellen = BSTR 
  argument 1 -> BSTR /Ablage/2004/5/17/Fall 1
ELODMS.PFadErstellen = BSTR 
ELODMS.PFadErstellen = BSTR 
  argument 1 -> BSTR /Wiederanschlusskontrolle/MassenversaendeZA
ELODMS.CheckPFadVorhanden = BSTR 
ELODMS.AddDokument = I4 16
ELODMS.AddDokument = I4 17
ELODMS.FindSageDocumentByID = I4 16
ELODMS.FindSageDocumentByID = I4 0
ELODMS.FindSageDocumentByBelegNr = I4 17
ELODMS.FindSageDocumentByBelegNr = I4 0
ELODMS.IsDokumentVorhanden = BOOL True
ELODMS.IsDokumentVorhanden = BOOL False
ELODMS.ChangeDocument = EMPTY
ELODMS.ChangeDocument = EMPTY
SOKInterface.GetBuchungsType = BSTR Kredi
SOKInterface.GetKrediDaten = EMPTY
ELODMS.ChangeDocument = EMPTY
ELODMS.ShowDokument = EMPTY
ELODMS.ShowDokument = EMPTY
ELODMS.SaveAuswertung = EMPTY
ELODMS.LoescheDokument = EMPTY
ELODMS.IsDokumentVorhanden = BOOL False
ELODMS.LoescheDokument fails: 5 [Konnte Dokument nicht l<00F6>schen: -5] from [ELODMS.LoescheDokument]
ELODMS.AddDokument fails: 5 [Dokument nicht gefunden: C:\fehlt.pdf] from [ELODMS.LoescheDokument <- ELODMS.AddDokument]
ELODMS.AddDokument fails: 5010 [Belegtyp konnte nicht gelesen werden] from [ELODMS.LoescheDokument <- ELODMS.AddDokument <- ELODMS.AddDokument]
ELODMS.MarkAsDeleted = EMPTY
ELODMS.MarkAsDeleted = EMPTY
ELODMS.IsDokumentVorhanden = BOOL False
ELOProvider.StartProvider = EMPTY
ELOProvider.CreateDocID = BSTR ##############
ELOProvider.GetOpenDocInfo = TEXTS
  element OpenDocInfo0
  element OpenDocInfo1
  element OpenDocInfo2
  element ####
ELOProvider.GetVirtualPrinterName = BSTR ELO Drucker
ELOProvider.SaveDocument = EMPTY
ELODMS.FindSageDocumentByID = I4 20
ELOProvider.DocumentChanged = EMPTY
ELODMS.FindSageDocumentByID = I4 20
ELOProvider.ShowDocument = EMPTY
ELOProvider.PrintDocument = EMPTY
ELOProvider.SavePendingDocument = EMPTY
ELOProvider.SetDocumentStatus = EMPTY
ELOProvider.DeleteDocument = EMPTY
ELODMS.FindSageDocumentByID = I4 0
new OrigELODMS
OrigELODMS.oElo = DISPATCH
OrigELODMS.GetParentFolderId = I4 11
OrigELODMS.GetParentFolderId = I4 0
OrigELODMS.CurrentRegisterDate = DATE 2004-5-17
OrigELODMS.CurrentRegisterDate = DATE 1899-12-30
OrigELODMS.AddDokument = I4 22
OrigELODMS.AddDokument = I4 0
OrigELODMS.AddDokumentToMassenversaendeZA = I4 23
OrigELODMS.AddDokumentToMassenversaendeZA = I4 0
OrigELODMS.IsDokumentVorhanden = BOOL True
OrigELODMS.IsDokumentVorhanden = BOOL False
OrigELODMS.GetUnverknuepfte = ARRAY 0 to -1
OrigELODMS.ShowDokument = EMPTY
OrigELODMS.ShowDokument = EMPTY
OrigELODMS.PrintDokument = EMPTY
OrigELODMS.PrintDokument fails: 5 [Fehler beim Anzeigen von Dokument [9999] GotoId=-5] from [ELODMS.LoescheDokument <- ELODMS.AddDokument <- ELODMS.AddDokument <- CArchiv.GetParentFolderId <- CArchiv.CurrentRegisterDate <- CArchiv.AddDokument <- CArchiv.AddDokumentToMassenversaendeZA <- CArchiv.ShowDokument <- CArchiv.PrintDokument]
OrigELODMS.LoescheVerknuepfung = EMPTY
OrigELODMS.LoescheVerknuepfung fails: 5 [Dokument nicht gefunden: 9999] from [ELODMS.LoescheDokument <- ELODMS.AddDokument <- ELODMS.AddDokument <- CArchiv.GetParentFolderId <- CArchiv.CurrentRegisterDate <- CArchiv.AddDokument <- CArchiv.AddDokumentToMassenversaendeZA <- CArchiv.ShowDokument <- CArchiv.PrintDokument <- CArchiv.LoescheVerknuepfung]
OrigELODMS.LoescheDokument = EMPTY
OrigELODMS.LoescheDokument = EMPTY
OrigELODMS.IsDokumentVorhanden = BOOL False
release ELODMS
release OrigELODMS
release SOKInterface
release ELOProvider
)";

/// What only holds texts. C++ has its own tests for these classes.
constexpr const char* records = R"(
new cUser
cUser.bLoggedOn = BOOL False
cUser.sName = BSTR sName 1
cUser.sPasswort = BSTR sPasswort 1
cUser.sKuerzel = BSTR sKuerzel 1
cUser.bLoggedOn = BOOL True
new cBeleg
cBeleg.Kurzbezeichnung = BSTR Kurzbezeichnung 1
cBeleg.Barcode = BSTR Barcode 1
cBeleg.BelegNr = BSTR BelegNr 1
cBeleg.BelegIndex = BSTR BelegIndex 1
cBeleg.BelegStatus = BSTR BelegStatus 1
cBeleg.SesamDocID = BSTR SesamDocID 1
cBeleg.Valutadatum = BSTR Valutadatum 1
cBeleg.Betrag = BSTR Betrag 1
new cDebiBeleg
cDebiBeleg.Rechnungsdatum = BSTR Rechnungsdatum 1
cDebiBeleg.Kurzbezeichnung = BSTR Kurzbezeichnung 1
cDebiBeleg.Barcode = BSTR Barcode 1
cDebiBeleg.BelegNr = BSTR BelegNr 1
cDebiBeleg.BelegIndex = BSTR BelegIndex 1
cDebiBeleg.BelegStatus = BSTR BelegStatus 1
cDebiBeleg.SesamDocID = BSTR SesamDocID 1
cDebiBeleg.Valutadatum = BSTR Valutadatum 1
cDebiBeleg.Betrag = BSTR Betrag 1
cDebiBeleg.OPNr = BSTR OPNr 1
cDebiBeleg.PKNr = BSTR PKNr 1
cDebiBeleg.AdressNr = BSTR AdressNr 1
cDebiBeleg.Kundenname = BSTR Kundenname 1
cDebiBeleg.Kundenort = BSTR Kundenort 1
new cKrediBeleg
cKrediBeleg.Rechnungsdatum = BSTR Rechnungsdatum 1
cKrediBeleg.Kurzbezeichnung = BSTR Kurzbezeichnung 1
cKrediBeleg.Barcode = BSTR Barcode 1
cKrediBeleg.BelegNr = BSTR BelegNr 1
cKrediBeleg.BelegIndex = BSTR BelegIndex 1
cKrediBeleg.BelegStatus = BSTR BelegStatus 1
cKrediBeleg.SesamDocID = BSTR SesamDocID 1
cKrediBeleg.Valutadatum = BSTR Valutadatum 1
cKrediBeleg.Betrag = BSTR Betrag 1
cKrediBeleg.OPNr = BSTR OPNr 1
cKrediBeleg.PKNr = BSTR PKNr 1
cKrediBeleg.AdressNr = BSTR AdressNr 1
cKrediBeleg.Kundenname = BSTR Kundenname 1
cKrediBeleg.Kundenort = BSTR Kundenort 1
new cAuswertung
cAuswertung.Kurzbezeichnung = BSTR Kurzbezeichnung 1
cAuswertung.Listenbeschreibung = BSTR Listenbeschreibung 1
cAuswertung.DatumVon = BSTR DatumVon 1
cAuswertung.DatumBis = BSTR DatumBis 1
)";

std::vector<std::string> Expected(bool withRecords) {
    std::vector<std::string> lines = LinesOf(services + 1);
    if (withRecords) {
        const std::vector<std::string> more = LinesOf(records + 1);
        lines.insert(lines.end(), more.begin(), more.end());
    }
    lines.emplace_back("Ende");
    return lines;
}

std::vector<std::string> Without(std::vector<std::string> lines, const std::string& beginning) {
    std::erase_if(lines, [&](const std::string& line) { return line.starts_with(beginning); });
    return lines;
}

/// What the course must leave in the archive, whoever played it.
void ExpectFiled(const Workplace& place) {
    const std::map<int, nlohmann::json> entries = place.Entries();
    std::vector<int> ids;
    for (const auto& [id, entry] : entries) {
        ids.push_back(id);
    }
    ASSERT_EQ(ids, (std::vector<int>{18, 19, 21, 23}));
    // The booking without an open item kept what an earlier one of its kind had left in the record.
    const nlohmann::json& creditor = entries.at(18);
    EXPECT_EQ(creditor["ordner"], "Buchhaltung/Muster AG/Kredi");
    EXPECT_EQ(creditor["kurzbezeichnung"], "Barbezug");
    EXPECT_EQ(creditor["maske"], 5);
    EXPECT_EQ(creditor["felder"]["1"], "MU4");
    EXPECT_EQ(creditor["felder"]["2"], "3002");
    EXPECT_EQ(creditor["felder"]["5"], "20260108080004");
    EXPECT_EQ(creditor["felder"]["9"], "");
    EXPECT_EQ(creditor["felder"]["12"], "Garage Zäch");
    EXPECT_EQ(creditor["felder"]["13"], "9000 St. Gallen");
    for (const int id : {19, 21}) {
        const nlohmann::json& report = entries.at(id);
        EXPECT_EQ(report["ordner"], "Buchhaltung/Muster AG/Auswertungen");
        EXPECT_EQ(report["kurzbezeichnung"], "Bilanz");
        EXPECT_EQ(report["felder"]["1"], "Bilanz per Ende Jahr");
    }
    const nlohmann::json& mailing = entries.at(23);
    EXPECT_EQ(mailing["ordner"], "Wiederanschlusskontrolle/Unverknüpfte Dokumente") << "it was moved back";
    EXPECT_EQ(mailing["maske"], 2);
    EXPECT_TRUE(mailing["felder"].empty());
    EXPECT_EQ(BytesOf(place.File(L"Archiv") / L"Ordner" / L"Wiederanschlusskontrolle" /
                      L"Unverknüpfte Dokumente" / L"23.pdf"),
              BytesOf(place.File(L"Beleg.pdf")));

    const nlohmann::json options = place.Client()["optionen"]["600"];
    EXPECT_EQ(options["100"], "true");
    EXPECT_EQ(options["105"], Utf8FromText(place.File(L"Platzhalter.pdf").wstring()));
    EXPECT_EQ(options["109"], "/Buchhaltung/Muster AG/Buchungen");
    EXPECT_EQ(options["110"], "/Buchhaltung/Muster AG/Auswertungen");
    EXPECT_EQ(options["111"], "/Buchhaltung/Muster AG/Debi");
    EXPECT_EQ(options["112"], "/Buchhaltung/Muster AG/Kredi");
}

/// The sessions that the archive saw: the provider's, and one of each client for outside callers, which ends
/// when the client is released. Scripts end without giving the provider's back.
void ExpectSessions(const Workplace& place, bool leavesCom) {
    std::vector<std::string> sessions;
    for (const std::string& line : place.Trace()) {
        if (line.starts_with("Login(") || line.starts_with("clickon(BSTR \"M:")) {
            sessions.push_back(line);
        }
    }
    const std::string logIn = R"(Login(BSTR& "Kandora", BSTR& "geheim", BSTR& "Testarchiv") -> I4 0)";
    const std::string logOut = R"(Login(BSTR& "LOGOUT", BSTR& "", BSTR& "") -> I4 0)";
    std::vector<std::string> expected{logIn, logIn, logIn, logOut, R"(clickon(BSTR "M:Beenden") -> I4 1)"};
    if (leavesCom) {
        expected.push_back(logOut);
    }
    EXPECT_EQ(Joined(sessions), Joined(expected));
}

void ExpectWindows(const User& user) {
    EXPECT_EQ(user.Answered(),
              (std::vector<std::wstring>{L"[Kandora] [0]  | ON LINE 0 | CALLSTACK: Kandora.StartProvider",
                                         L"[Archivpfad erstellen] /Buchhaltung/Muster AG",
                                         L"[Kandora] Das Dokument konnte nicht im Archiv gefunden werden",
                                         L"[Auswertung Indizieren] ", L"[Auswertung Indizieren] "}));
}

std::vector<std::string> PlayedByProgram(const Workplace& place, const wchar_t* way) {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const Ended ended = RunProgram(self.data(), {playCourse, way, place.File(L"Beleg.pdf").wstring()});
    EXPECT_EQ(ended.exitCode, 0U);
    return LinesOf(ended.output);
}

std::vector<std::string> PlayedByScript(const Workplace& place, const wchar_t* script) {
    fs::copy_file(test::BuiltFile(L"tests/outside/scripts") / script, place.File(script));
    const fs::path protocol = place.File(L"Protokoll.txt");
    const Ended ended =
        RunProgram(SystemProgram(L"cscript.exe"),
                   {L"//nologo", place.File(script).wstring(), place.File(L"Beleg.pdf").wstring(),
                    protocol.wstring(), L"/Wiederanschlusskontrolle/Unverknüpfte Dokumente", L"¶"});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    const std::string bytes = BytesOf(protocol);
    if (!bytes.starts_with("\xFF\xFE")) {
        ADD_FAILURE() << "the protocol has no byte order mark";
        return {};
    }
    std::wstring text(bytes.size() / sizeof(wchar_t) - 1, L'\0');
    std::memcpy(text.data(), bytes.data() + sizeof(wchar_t), text.size() * sizeof(wchar_t));
    std::vector<std::string> lines;
    std::size_t from = 0;
    for (std::size_t at = text.find(L"\r\n"); at != std::wstring::npos; at = text.find(L"\r\n", from)) {
        lines.push_back(Escaped(text.substr(from, at - from)));
        from = at + 2;
    }
    return lines;
}

class Course : public testing::Test {
protected:
    Workplace place_;
    User user_;
};

TEST_F(Course, ThroughTheVtable) {
    EXPECT_EQ(Joined(PlayedByProgram(place_, throughVtable)), Joined(Expected(false)));
    ExpectFiled(place_);
    ExpectSessions(place_, true);
    ExpectWindows(user_);
}

TEST_F(Course, ByNameWithReferencesToVariables) {
    EXPECT_EQ(Joined(PlayedByProgram(place_, byReference)), Joined(Expected(false)));
    ExpectFiled(place_);
    ExpectSessions(place_, true);
    ExpectWindows(user_);
}

TEST_F(Course, ByNameWithPlainValues) {
    EXPECT_EQ(Joined(PlayedByProgram(place_, byValue)), Joined(Without(Expected(false), "  argument ")));
    ExpectFiled(place_);
    ExpectSessions(place_, true);
    ExpectWindows(user_);
}

TEST_F(Course, InVBScript) {
    EXPECT_EQ(Joined(PlayedByScript(place_, L"course.vbs")), Joined(Without(Expected(true), "  element ")));
    ExpectFiled(place_);
    ExpectSessions(place_, false);
    ExpectWindows(user_);
}

/// This language has no arguments by reference, and its errors have no source.
TEST_F(Course, InJScript) {
    std::vector<std::string> expected = Without(Without(Expected(true), "  element "), "  argument ");
    for (std::string& line : expected) {
        line = std::regex_replace(line, std::regex(R"((fails: .*) from \[.*\]$)"), "$1");
        line = std::regex_replace(line, std::regex(R"( = (TEXTS|ARRAY|DATE).*$)"), " is called");
    }
    EXPECT_EQ(Joined(PlayedByScript(place_, L"course.js")), Joined(expected));
    EXPECT_EQ(place_.Traced("GetTreePath("), 2) << "once for the folder, once for the date";
    ExpectFiled(place_);
    ExpectSessions(place_, false);
    ExpectWindows(user_);
}

/// All members of the interfaces that a library declares, as "Class.Member".
void CollectMembers(const fs::path& file, std::set<std::string>& members) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Receive()), S_OK);
    for (UINT at = 0; at < library->GetTypeInfoCount(); ++at) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(library->GetTypeInfo(at, info.Receive()), S_OK);
        const check::TypeAttributes attributes(info.Get());
        if (attributes->typekind != TKIND_DISPATCH) {
            continue;
        }
        Bstr name;
        info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
        const std::wstring owner = name.Text() == L"DMSProvider" ? L"ELOProvider" : name.Text().substr(1);
        for (UINT slot = 0; slot < attributes->cFuncs; ++slot) {
            const MEMBERID member = check::FunctionDescription(info.Get(), slot)->memid;
            if (member > 0 && member < 100) {  // the others are IDispatch's own
                info->GetDocumentation(member, name.Receive(), nullptr, nullptr, nullptr);
                members.insert(Utf8FromText(owner + L"." + name.Text()));
            }
        }
    }
}

TEST(CourseItself, CallsEveryMemberOfEveryClass) {
    std::set<std::string> members;
    CollectMembers(ComponentFile(), members);
    EXPECT_EQ(members.size(), 14U + 15 + 11 + 9 + 4 + 8 + 14 + 14 + 4);
    std::set<std::string> called;
    for (const std::string& line : Expected(true)) {
        if (line.find(' ') != std::string::npos && line.find('.') < line.find(' ')) {
            called.insert(line.substr(0, line.find(' ')));
        }
    }
    EXPECT_EQ(members, called);
}

}  // namespace
}  // namespace kandora::outside_tests
