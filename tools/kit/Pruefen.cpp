// pruefen.exe: runs the tests of a kit on this Windows, and writes a report to send back.

#include <array>
#include <memory>
#include <utility>

#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"
#include "tools/check/Report.h"
#include "tools/kit/Examination.h"
#include "tools/kit/RemoveTree.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

constexpr int exitIncomplete = 2;
constexpr const wchar_t* runningName = L"Local\\Kandora.Pruefen";

fs::path OwnFolder() {
    std::array<wchar_t, 1024> file{};
    GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
    return fs::path(file.data()).parent_path();
}

/// Nobody may be there to answer the system's questions about programs that crash, or to keep it awake.
void PrepareForAbsence() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED);
}

/// Two runs would get into each other's way.
class OnlyRun {
public:
    OnlyRun() : mutex_(CreateMutexW(nullptr, TRUE, runningName)) {
        if (GetLastError() == ERROR_ALREADY_EXISTS) {
            throw KitFailure(L"Es läuft schon eine Prüfung.");
        }
    }

private:
    check::Handle mutex_;
};

fs::path ReportFile(const KitCommandLine& options, const fs::path& folder) {
    if (!options.report.empty()) {
        return fs::absolute(options.report);
    }
    const Text time = Replaced(Replaced(Now(), L":", L""), L" ", L"-");
    return folder / (L"Pruefbericht-" + ComputerName() + L"-" + time + L".txt");
}

/// Gives everything back and takes away what the run has made. Answers what did not go.
std::vector<Text> TidyUp(const Kit& kit, Pledges& pledges) {
    EndProgramsOf(kit.folder, 0);
    std::vector<Text> complaints =
        pledges.GiveBack([&](const Text& product) { return RemoveProduct(kit, product); });
    constexpr int attempts = 50;
    bool isGone = RemoveTree(kit.work);
    // A program that has just ended may still hold a file for a moment.
    for (int attempt = 0; attempt < attempts && !isGone; ++attempt) {
        Sleep(100);
        isGone = RemoveTree(kit.work);
    }
    if (!isGone) {
        complaints.push_back(L"Der Ordner " + kit.work.wstring() + L" lässt sich nicht entfernen.");
    }
    return complaints;
}

void TellWhatStays(Screen& screen, KitReport& report, const std::vector<Text>& complaints) {
    for (const Text& complaint : complaints) {
        screen.Line(L"Nicht zurückgegeben: " + complaint);
        report.Remark(L"Nicht zurückgegeben: " + complaint);
    }
    if (!complaints.empty()) {
        report.End(Ending::NotGivenBack);
        screen.Line(L"pruefen.exe nochmals starten gibt es zurück, nötigenfalls als Administrator.");
    }
}

/// What a run that was killed has left behind.
void FinishEarlierRun(const Kit& kit, Pledges& pledges, Screen& screen, KitReport& report) {
    if (!pledges.IsOpen() && !fs::exists(kit.work)) {
        return;
    }
    const auto complaints = TidyUp(kit, pledges);
    const Text told = L"Ein früherer Lauf kam nicht zum Ende; was er verändert hatte, ist zurückgegeben.";
    if (complaints.empty()) {
        screen.Line(told);
        report.Remark(told);
    } else {
        TellWhatStays(screen, report, complaints);
        throw KitFailure(L"Ein früherer Lauf kam nicht zum Ende und lässt sich nicht aufräumen.");
    }
}

int Examine(const KitCommandLine& options, Kit& kit, KitReport& report) {
    Pledges pledges(kit.folder / L"Zurueckgeben.json");
    FinishEarlierRun(kit, pledges, kit.screen, report);
    try {
        Examination(kit, options, report, pledges).Run();
    } catch (const Interrupted&) {
        kit.screen.Line(L"Abgebrochen; es wird alles zurückgegeben.");
        report.Remark(L"Der Lauf wurde abgebrochen.");
        report.End(Ending::Interrupted);
    } catch (...) {
        TellWhatStays(kit.screen, report, TidyUp(kit, pledges));
        throw;
    }
    const auto complaints = TidyUp(kit, pledges);
    TellWhatStays(kit.screen, report, complaints);
    if (complaints.empty()) {
        kit.screen.Line(L"Alles ist zurückgegeben.");
    }
    const fs::path file = ReportFile(options, kit.folder);
    WriteContent(file, report.Text8());
    kit.screen.Line(L"");
    kit.screen.Line(report.Summary());
    kit.screen.Line(L"Bericht: " + file.wstring());
    return report.ExitCode();
}

int Run(const std::vector<Text>& arguments) {
    const KitCommandLine options = ParseKitCommandLine(arguments);
    if (!options.answer.empty()) {
        check::PrintLine(options.answer);
        return 0;
    }
    const fs::path folder = OwnFolder();
    const std::string plan = ContentOf(folder / L"pruefen.json");
    if (plan.empty()) {
        throw KitFailure(L"Neben pruefen.exe fehlt pruefen.json. Das Prüfpaket zuerst ganz auspacken.");
    }
    Screen screen;
    const Interruption interruption;
    Kit kit{folder, folder / L"Arbeit", PlanFrom(plan), interruption, screen};
    if (options.list) {
        for (const Text& line : ListOf(kit.plan)) {
            screen.Line(line);
        }
        return 0;
    }
    const OnlyRun onlyRun;
    PrepareForAbsence();
    const Apartment apartment;
    KitReport report(kit.plan, FactsOfMachine());
    return Examine(options, kit, report);
}

}  // namespace

}  // namespace kandora::kit

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    using namespace kandora;
    using check::PrintErrorLine;
    int result = kit::exitIncomplete;
    try {
        result = kit::Run(std::vector<Text>(arguments + 1, arguments + count));
    } catch (const check::UsageError& error) {
        PrintErrorLine(error.Message());
        PrintErrorLine(L"Hilfe: pruefen --help");
    } catch (const kit::KitFailure& failure) {
        PrintErrorLine(failure.Message());
    } catch (const std::exception& error) {
        PrintErrorLine(L"Unerwarteter Fehler: " + TextFromUtf8(error.what()));
    }
    kit::Screen().HoldWindow();
    return result;
}
