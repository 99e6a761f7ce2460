#include "tests/component/Host.h"

#include <gtest/gtest.h>

#include <array>
#include <cwchar>

// The host's requests through the vtable, each course of events in a process of its own, with no archive
// behind it.
namespace kandora::component_tests {
namespace {

using namespace std::literals;
using nlohmann::json;

const std::vector<std::wstring> allRequests{
    L"ShowDocument",          L"PrintDocument", L"SaveDocument",   L"StartProvider",
    L"FibuVersion",           L"CreateDocID",   L"GetOpenDocInfo", L"SavePendingDocument",
    L"GetVirtualPrinterName", L"InitProvider",  L"DeleteDocument", L"SetDocumentStatus",
    L"DocumentChanged"};

const std::wstring voucher = L"[1001/1, (Empty), 1001, 1, MU26000001]";

/// Settings that are complete, for tests to leave something out.
constexpr std::string_view completeSettings =
    "[Debug]\r\nTest=False\r\n"
    "[Archiv]\r\nArchivAktiv=True\r\nEloPrinterFile=\r\nArchivname=Muster-Archiv\r\nTreuhand="
    "False\r\nSagePFad=\r\n"
    "[Maske]\r\nStruktur=1\r\nBelege=2\r\nAuswertung=3\r\nDebi=4\r\nKredi=5\r\n"
    "[IndexBelege]\r\nBarcode=1\r\nBelegNr=2\r\nBelegIndex=3\r\nBelegstatus=4\r\nSesamDocID=5\r\nValutadatum="
    "6\r\n"
    "Betrag=7\r\n"
    "[IndexAuswertungen]\r\nListenbeschreibung=1\r\nDatumVon=2\r\nDatumBis=3\r\n"
    "[IndexDebi]\r\nBarcode=1\r\nBelegNr=2\r\nBelegIndex=3\r\nBelegstatus=4\r\nSesamDocID=5\r\nValutadatum="
    "6\r\n"
    "Betrag=7\r\nRechnungsdatum=8\r\nOPNr=9\r\nPKNr=10\r\nAdressNr=11\r\nKundenname=12\r\nKundenort=13\r\n"
    "[IndexKredi]\r\nBarcode=1\r\nBelegNr=2\r\nBelegIndex=3\r\nBelegstatus=4\r\nSesamDocID=5\r\nValutadatum="
    "6\r\n"
    "Betrag=7\r\nRechnungsdatum=8\r\nOPNr=9\r\nPKNr=10\r\nAdressNr=11\r\nKundenname=12\r\nKundenort=13\r\n"
    "[Login]\r\nELOUSERNAME=Kandora\r\nELOPW=\r\nELOKUERZEL=KAN\r\n";

/// The settings with another text in one place, which must be there.
std::string With(std::string_view place, std::string_view text) {
    std::string settings(completeSettings);
    const std::size_t at = settings.find(place);
    EXPECT_NE(at, std::string::npos) << place;
    return settings.replace(at, place.size(), text);
}

constexpr std::string_view switchedOff = "[Debug]\r\nTest=False\r\n[Archiv]\r\nArchivAktiv=False\r\n";
constexpr std::string_view switchedOffAndTraced = "[Debug]\r\nTest=True\r\n[Archiv]\r\nArchivAktiv=False\r\n";

const std::wstring initLine = L"DMSProvider_InitProvider  [(Empty)]";
const std::wstring offLine = L"Das Archiv ist deaktiviert. Alle Funktionen des DMS sind bis zu einem "
                             L"Neustart von Sesam nicht verfügbar."
                             L"[Kein Parameter]";

std::vector<ShownBox> ErrorBox(const std::wstring& text) {
    return {{L"Kandora", text}};
}

/// The box when the settings cannot be read.
std::vector<ShownBox> SettingsBox(int number, const std::wstring& description,
                                  const std::wstring& frames = L"MGlobals.IniLesen") {
    return ErrorBox(L"[" + std::to_wstring(number) + L"] " + description + L" | ON LINE 0 | CALLSTACK: " +
                    frames + L" <- Kandora.InitProvider");
}

const std::wstring mismatch = L"Der Wert hat nicht den erwarteten Typ";
const std::wstring overflow = L"Der Wert liegt ausserhalb des zulässigen Bereichs";
const std::wstring namesMissing =
    L"Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist deaktiviert.";

class Provider : public testing::Test {
protected:
    /// The boxes of an InitProvider with these settings; nothing else may happen but the lines in the log.
    static std::vector<ShownBox> BoxesWith(const std::string& settings) {
        const Installation installation;
        installation.WriteSettings(settings);
        const std::vector<Answer> answers = installation.Play({L"InitProvider"});
        EXPECT_EQ(answers[0].code, S_OK);
        EXPECT_EQ(answers[0].result, json());
        EXPECT_EQ(installation.LogLines(), std::vector{initLine});
        return answers[0].boxes;
    }

    Installation installation_;
};

/// Every request succeeds for the host, and its result is the empty one.
void ExpectNothingDone(const std::vector<Answer>& answers) {
    for (const Answer& answer : answers) {
        EXPECT_EQ(answer.code, S_OK) << answer.request;
        EXPECT_EQ(answer.boxes, std::vector<ShownBox>()) << answer.request;
        const bool isText = answer.request == "CreateDocID" || answer.request == "GetVirtualPrinterName";
        EXPECT_EQ(answer.result, isText ? json("") : json()) << answer.request;
    }
}

TEST_F(Provider, DoesNothingBeforeItIsInitialised) {
    std::vector<std::wstring> requests = allRequests;
    std::erase(requests, L"InitProvider");
    std::erase(requests, L"FibuVersion");
    installation_.WriteSettings(std::string(completeSettings));
    ExpectNothingDone(installation_.Play(requests));
    EXPECT_EQ(installation_.LogFiles().size(), 0U);
}

TEST_F(Provider, LogsTheVersionBeforeItIsInitialised) {
    ExpectNothingDone(installation_.Play({L"FibuVersion", L"FibuVersion"}));
    EXPECT_EQ(installation_.LogLines(),
              (std::vector{L"DMSProvider_FibuVersion  [7.2]"s, L"DMSProvider_FibuVersion  [7.2]"s}));
}

TEST_F(Provider, IsSwitchedOffBySettings) {
    installation_.WriteSettings(std::string(switchedOff));
    std::vector<std::wstring> requests = allRequests;
    std::erase(requests, L"InitProvider");
    requests.insert(requests.begin(), L"InitProvider");
    ExpectNothingDone(installation_.Play(requests));
    EXPECT_EQ(installation_.LogLines(), (std::vector{initLine, offLine}));
}

TEST_F(Provider, LogsASecondInitialisationOnlyWhenTracing) {
    installation_.WriteSettings(std::string(switchedOff));
    ExpectNothingDone(installation_.Play({L"InitProvider", L"InitProvider", L"FibuVersion"}));
    EXPECT_EQ(installation_.LogLines(), (std::vector{initLine, offLine, offLine}));
}

TEST_F(Provider, TracesEveryRequest) {
    installation_.WriteSettings(std::string(switchedOffAndTraced));
    std::vector<std::wstring> requests = allRequests;
    requests.insert(requests.begin(), L"InitProvider");
    ExpectNothingDone(installation_.Play(requests));
    EXPECT_EQ(
        installation_.LogLines(),
        (std::vector{initLine, offLine, L"DMSProvider_ShowDocument  [20260105093000]  [" + voucher + L"]",
                     L"DMSProvider_PrintDocument  [20260105093000]  [(Empty)]"s,
                     L"DMSProvider_SaveDocument  [20260105093000]  [" + voucher + L"]",
                     L"DMSProvider_StartProvider  [(Empty)]"s, L"DMSProvider_FibuVersion  [7.2]"s,
                     L"DMSProvider_CreateDocID  [" + voucher + L"]",
                     L"DMSProvider_GetOpenDocInfo[Kein Parameter]"s,
                     L"DMSProvider_SavePendingDocument  [7.2]  [20260105093000]  [" + voucher + L"]",
                     L"DMSProvider_GetVirtualPrinterName[Kein Parameter]"s, initLine, offLine,
                     L"DMSProvider_DeleteDocument  [20260105093000]  [" + voucher + L"]",
                     L"DMSProvider_SetDocumentStatus  [20260105093000]  [" + voucher + L"]",
                     L"DMSProvider_DocumentChanged  [20260105093000]  [" + voucher + L"]"}));
}

TEST_F(Provider, RunsFromTheFirstInitialisationOn) {
    installation_.WriteSettings("");
    const std::vector<Answer> answers =
        installation_.Play({L"bRunning", L"FibuVersion", L"bRunning", L"InitProvider", L"bRunning"});
    EXPECT_EQ(answers[0].result, false);
    EXPECT_EQ(answers[2].result, false);
    EXPECT_EQ(answers[3].boxes.size(), 1U) << "it failed";
    EXPECT_EQ(answers[4].result, true) << "and runs all the same";
}

TEST_F(Provider, NeedsASettingsFile) {
    const std::vector<Answer> answers = installation_.Play({L"InitProvider"});
    EXPECT_EQ(answers[0].code, S_OK);
    EXPECT_EQ(answers[0].boxes, SettingsBox(13, mismatch));
    EXPECT_EQ(installation_.LogLines(), std::vector{initLine});
}

TEST_F(Provider, ShowsWhatCannotBeConverted) {
    EXPECT_EQ(BoxesWith("[Archiv]\r\nArchivAktiv=True\r\n"), SettingsBox(13, mismatch));
    // Tracing is the first key that is read, even when the archive is switched off.
    EXPECT_EQ(BoxesWith("[Archiv]\r\nArchivAktiv=False\r\n"), SettingsBox(13, mismatch));
    EXPECT_EQ(BoxesWith("ArchivAktiv=False"), SettingsBox(13, mismatch));
    EXPECT_EQ(BoxesWith(With("Test=False", "Test=vielleicht")), SettingsBox(13, mismatch));
    EXPECT_EQ(BoxesWith(With("ArchivAktiv=True", "ArchivAktiv=")), SettingsBox(13, mismatch));
    EXPECT_EQ(BoxesWith(With("Struktur=1", "Struktur=eins")), SettingsBox(13, mismatch));
    EXPECT_EQ(BoxesWith(With("Kredi=5", "Kredi=3000000000")), SettingsBox(6, overflow));
    EXPECT_EQ(BoxesWith(With("DatumBis=3", "DatumBis=40000")), SettingsBox(6, overflow));
    EXPECT_EQ(BoxesWith(With("Kundenort=13", "")), SettingsBox(13, mismatch));
}

TEST_F(Provider, NeedsTheNames) {
    EXPECT_EQ(BoxesWith(With("Archivname=Muster-Archiv", "Archivname=")), SettingsBox(5000, namesMissing));
    EXPECT_EQ(BoxesWith(With("ELOUSERNAME=Kandora", "")), SettingsBox(5000, namesMissing));
    EXPECT_EQ(BoxesWith(With("ELOKUERZEL=KAN", "ELOKUERZEL=")), SettingsBox(5000, namesMissing));
}

TEST_F(Provider, NeedsAnArchive) {
    // An interrupted run of other tests may have left one.
    ASSERT_EQ(RunProgram(BinFolder() / L"ArchiveSimulator.exe", {L"--unregister"}).exitCode, 0U);
    EXPECT_EQ(BoxesWith(std::string(completeSettings)),
              SettingsBox(429, L"Das Automatisierungsobjekt kann nicht erstellt werden",
                          L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin <- MGlobals.IniLesen"))
        << "a number as truth value, and no password, are as good";
    EXPECT_EQ(BoxesWith(With("ArchivAktiv=True", "ArchivAktiv=-1")),
              SettingsBox(429, L"Das Automatisierungsobjekt kann nicht erstellt werden",
                          L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin <- MGlobals.IniLesen"));
}

TEST_F(Provider, StaysOffAfterAFailure) {
    installation_.WriteSettings(With("Struktur=1", "Struktur="));
    std::vector<std::wstring> requests = allRequests;
    std::erase(requests, L"InitProvider");
    requests.insert(requests.begin(), L"InitProvider");
    std::vector<Answer> answers = installation_.Play(requests);
    EXPECT_EQ(answers[0].boxes.size(), 1U);
    answers.erase(answers.begin());
    ExpectNothingDone(answers);
    EXPECT_EQ(installation_.LogLines(), std::vector{initLine});
}

TEST_F(Provider, TracesEveryRequestAfterAFailureToo) {
    std::string settings = With("ELOKUERZEL=KAN", "ELOKUERZEL=");
    settings.replace(settings.find("Test=False"), 10, "Test=True");
    installation_.WriteSettings(settings);
    std::vector<std::wstring> requests = allRequests;
    std::erase(requests, L"InitProvider");
    requests.insert(requests.begin(), L"InitProvider");
    std::vector<Answer> answers = installation_.Play(requests);
    EXPECT_EQ(answers[0].boxes, SettingsBox(5000, namesMissing));
    answers.erase(answers.begin());
    ExpectNothingDone(answers);
    const std::wstring id = L"  [20260105093000]";
    EXPECT_EQ(installation_.LogLines(),
              (std::vector{initLine, L"DMSProvider_ShowDocument" + id + L"  [" + voucher + L"]",
                           L"DMSProvider_PrintDocument" + id + L"  [(Empty)]",
                           L"DMSProvider_SaveDocument" + id + L"  [" + voucher + L"]",
                           L"DMSProvider_StartProvider  [(Empty)]"s, L"DMSProvider_FibuVersion  [7.2]"s,
                           L"DMSProvider_CreateDocID  [" + voucher + L"]",
                           L"DMSProvider_GetOpenDocInfo[Kein Parameter]"s,
                           L"DMSProvider_SavePendingDocument  [7.2]" + id + L"  [" + voucher + L"]",
                           L"DMSProvider_GetVirtualPrinterName[Kein Parameter]"s,
                           L"DMSProvider_DeleteDocument" + id + L"  [" + voucher + L"]",
                           L"DMSProvider_SetDocumentStatus" + id + L"  [" + voucher + L"]",
                           L"DMSProvider_DocumentChanged" + id + L"  [" + voucher + L"]"}));
}

TEST_F(Provider, BeginsEachErrorAnew) {
    installation_.WriteSettings(With("Struktur=1", "Struktur="));
    const std::vector<Answer> answers = installation_.Play({L"InitProvider", L"InitProvider"});
    EXPECT_EQ(answers[0].boxes, SettingsBox(13, mismatch));
    EXPECT_EQ(answers[1].boxes, SettingsBox(13, mismatch));
}

TEST_F(Provider, ReadsTheSettingsAtEachInitialisation) {
    installation_.WriteSettings("");
    WriteBytes(installation_.Folder() / L"spaeter.txt", std::string(switchedOffAndTraced));
    const std::vector<Answer> answers = installation_.Play(
        {L"InitProvider", L"settings spaeter.txt", L"InitProvider", L"GetVirtualPrinterName"});
    EXPECT_EQ(answers[0].boxes, SettingsBox(13, mismatch));
    EXPECT_EQ(answers[2].boxes, std::vector<ShownBox>());
    EXPECT_EQ(installation_.LogLines(),
              (std::vector{initLine, offLine, L"DMSProvider_GetVirtualPrinterName[Kein Parameter]"s}));
}

TEST_F(Provider, LivesUnderAnyName) {
    const Installation renamed(L"Archivanbindung Süd.neu");
    renamed.WriteSettings(std::string(switchedOff));
    WriteBytes(renamed.Folder() / L"Kandora.ini", std::string(switchedOffAndTraced));
    ExpectNothingDone(renamed.Play({L"InitProvider", L"GetOpenDocInfo"}));
    EXPECT_EQ(renamed.LogLines(), (std::vector{initLine, offLine}));
}

TEST_F(Provider, HasALogForEachProcess) {
    installation_.WriteSettings(std::string(switchedOff));
    ExpectNothingDone(installation_.Play({L"InitProvider"}));
    const std::vector<std::wstring> first = installation_.LogFiles();
    ASSERT_EQ(first.size(), 1U);
    // Its name tells the second in which the first line was written.
    ASSERT_TRUE(Eventually([&] {
        SYSTEMTIME now{};
        GetLocalTime(&now);
        std::array<wchar_t, 8> clock{};
        swprintf(clock.data(), clock.size(), L"%02d%02d%02d", now.wHour, now.wMinute, now.wSecond);
        return first[0].substr(9, 6) != clock.data();
    }));
    ExpectNothingDone(installation_.Play({L"InitProvider"}));
    EXPECT_EQ(installation_.LogFiles().size(), 2U);
}

}  // namespace
}  // namespace kandora::component_tests
