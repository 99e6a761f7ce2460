#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"

namespace kandora::check {

namespace {

/// Characters that the name of a log file has at most: moment, the component's name, user and computer.
std::size_t LogNameLength(CheckedPlatform& platform) {
    constexpr std::size_t moment = 15;
    const Text names = L"_" + ComponentName(platform) + L"_" + platform.Environment(L"USERNAME") + L"_" +
                       platform.Environment(L"COMPUTERNAME") + L"_.log";
    return moment + names.size();
}

void FailForRights(Report& report, const wchar_t* name, const Text& folder) {
    report.Fail(area::folders, name, folder + L" ist nicht beschreibbar",
                L"Den Benutzern das Recht geben, in diesem Ordner Dateien zu erstellen");
}

void CheckPrintFile(Report& report, const Text& file) {
    constexpr const wchar_t* name = L"Druckdatei";
    if (file.empty()) {
        report.Warn(area::folders, name, L"leer",
                    L"Auswertungen werden nicht abgelegt: in Kandora.ini EloPrinterFile eintragen");
        return;
    }
    const Text folder = ParentFolder(file);
    if (!FolderExists(folder)) {
        report.Fail(area::folders, name, folder + L" fehlt",
                    L"Ordner anlegen oder EloPrinterFile in Kandora.ini berichtigen");
    } else if (!MayCreateFiles(folder)) {
        FailForRights(report, name, folder);
    } else {
        report.Good(area::folders, name, file);
    }
}

void CheckLogFolder(Report& report, CheckedPlatform& platform) {
    constexpr const wchar_t* name = L"Protokoll";
    const Text folder = ComponentFolder(platform);
    if (!FolderExists(folder)) {
        report.Fail(area::folders, name, folder + L" fehlt", L"Kandora neu installieren");
    } else if (folder.size() + 1 + LogNameLength(platform) >= MAX_PATH) {
        report.Fail(area::folders, name, folder + L" ist nicht beschreibbar: der Pfad ist zu lang",
                    L"Kandora in einen Ordner mit kürzerem Pfad installieren");
    } else if (!MayCreateFiles(folder)) {
        FailForRights(report, name, folder);
    } else {
        report.Good(area::folders, name, folder);
    }
}

}  // namespace

void CheckFolders(Report& report, Surroundings& surroundings) {
    CheckPrintFile(report, surroundings.globals.state.settings.gsEloPrinterFile);
    CheckLogFolder(report, surroundings.platform);
}

}  // namespace kandora::check
