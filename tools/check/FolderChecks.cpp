#include "support/CIniFile.h"
#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"
#include "tools/check/UserAccess.h"

namespace kandora::check {

namespace {

/// Characters that the name of a log file has at most: moment, the component's name, user and computer.
std::size_t LogNameLength(CheckedPlatform& platform) {
    constexpr std::size_t moment = 15;
    const Text names = L"_" + ComponentName(platform) + L"_" + platform.Environment(L"USERNAME") + L"_" +
                       platform.Environment(L"COMPUTERNAME") + L"_.log";
    return moment + names.size();
}

/// What users need of a file or folder, in words.
struct Need {
    const wchar_t* adjective;
    const wchar_t* remedy;
};
constexpr Need writing{
    L"beschreibbar", L"Den Benutzern das Recht geben, in diesem Ordner Dateien zu erstellen und zu ergänzen"};
constexpr Need reading{L"lesbar", L"Den Benutzern das Recht geben, diese Datei zu lesen"};
constexpr Need loading{L"ladbar", L"Den Benutzern das Recht geben, diese Datei zu lesen und auszuführen"};

class FolderCheck {
public:
    FolderCheck(Report& report, Surroundings& surroundings, bool forOneUser)
        : report_(report), platform_(surroundings.platform), state_(surroundings.globals.state),
          settings_(surroundings.globals.NewIniFile()->sIniFile()), rights_(surroundings.rights),
          users_(rights_, forOneUser) {}

    void Run() {
        CheckPrintFile(state_.settings.gsEloPrinterFile);
        CheckLogFolder();
        CheckReadableFiles();
    }

private:
    void Tell(const Text& name, const Text& path, const Need& need, const UserAccess& access,
              const Text& good) {
        switch (access.permitted) {
        case Permitted::All:
            report_.Good(area::folders, name, good);
            break;
        case Permitted::Named:
            report_.Warn(area::folders, name, path + L" ist nur für " + access.named + L" " + need.adjective,
                         L"Gehören alle dazu, die mit der Finanzbuchhaltung arbeiten? Sonst: " +
                             Text(need.remedy));
            break;
        case Permitted::None:
            report_.Fail(area::folders, name, path + L" ist" + users_.Whom() + L" nicht " + need.adjective,
                         need.remedy);
            break;
        case Permitted::Unknown:
            report_.Warn(area::folders, name,
                         path + L": die Rechte der Benutzer lassen sich nicht feststellen",
                         L"kandora-check ohne erhöhte Rechte als einer der Benutzer ausführen");
            break;
        }
    }

    void CheckPrintFile(const Text& file) {
        constexpr const wchar_t* name = L"Druckdatei";
        if (file.empty()) {
            report_.Warn(area::folders, name, L"leer",
                         L"Auswertungen werden nicht abgelegt: in Kandora.ini EloPrinterFile eintragen");
            return;
        }
        const Text folder = ParentFolder(file);
        if (!FolderExists(folder)) {
            report_.Fail(
                area::folders, name, folder + L" fehlt",
                Text(L"Ordner anlegen oder EloPrinterFile in Kandora.ini berichtigen") +
                    (rights_.StartsOthers()
                         ? L"; was der Benutzer als Laufwerk verbunden hat, ist in diesem Lauf nicht da"
                         : L""));
        } else {
            Tell(name, folder, writing, users_.WritingIn(folder), file);
        }
    }

    void CheckLogFolder() {
        constexpr const wchar_t* name = L"Protokoll";
        const Text folder = ComponentFolder(platform_);
        if (!FolderExists(folder)) {
            report_.Fail(area::folders, name, folder + L" fehlt", L"Kandora neu installieren");
        } else if (folder.size() + 1 + LogNameLength(platform_) >= MAX_PATH) {
            report_.Fail(area::folders, name, folder + L" ist nicht beschreibbar: der Pfad ist zu lang",
                         L"Kandora in einen Ordner mit kürzerem Pfad installieren");
        } else {
            Tell(name, folder, writing, users_.WritingIn(folder), folder);
        }
    }

    /// What is missing has been told where it is looked for.
    void CheckReadableFiles() {
        const Text component = platform_.ComponentFile();
        if (FileExists(component)) {
            Tell(L"Komponente", component, loading, users_.Loading(component), component);
        }
        if (FileExists(settings_)) {
            Tell(L"Einstellungen", settings_, reading, users_.Reading(settings_), settings_);
        }
        const Text placeholder = state_.folders.strPlatzhalterDatei;
        if (FileExists(placeholder)) {
            Tell(L"Platzhalter", placeholder, reading, users_.Reading(placeholder), placeholder);
        }
    }

    Report& report_;
    CheckedPlatform& platform_;
    const SharedState& state_;
    Text settings_;
    const OwnRights& rights_;
    ComponentUsers users_;
};

}  // namespace

void CheckFolders(Report& report, const Subject& subject, Surroundings& surroundings) {
    FolderCheck(report, surroundings, subject.isForOneUser).Run();
}

}  // namespace kandora::check
