#include "accounting/ClientOptions.h"
#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"

namespace kandora::check {

namespace {

/// The object kit is loaded by the host or is the host itself, and the host loads the component: all three
/// have one architecture.
bool CheckHostClass(Report& report, const Subject& subject, const OwnRights& rights) {
    const auto server = ServerOf(hostClass, rights);
    const Text className = hostClass;
    const bool isHidden = WarnOfHiddenServers(report, area::host, hostClass, rights);
    if (!server && isHidden) {
        return false;
    }
    if (!server) {
        report.Fail(area::host, L"Klasse", className + L" ist nicht registriert",
                    L"Die Finanzbuchhaltung auf diesem Arbeitsplatz installieren");
        return false;
    }
    if (!FileExists(server->file)) {
        report.Fail(area::host, L"Klasse", className + L": " + server->file + L" fehlt",
                    L"Die Finanzbuchhaltung neu installieren");
        return false;
    }
    report.Good(area::host, L"Klasse", className + L", " + server->file);
    WarnOfAnotherInstance(report, area::host, *server, rights);
    if (subject.architecture == Architecture::Unknown) {
        return true;
    }
    const Text value = Text(L"Finanzbuchhaltung ") + NameOf(server->architecture) + L", Kandora " +
                       NameOf(subject.architecture);
    if (server->architecture == subject.architecture) {
        report.Good(area::host, L"Architektur", value);
    } else {
        report.Fail(area::host, L"Architektur", value,
                    Text(L"Die Finanzbuchhaltung lädt nur eine Kandora.dll ihrer Architektur: Kandora mit ") +
                        NameOf(server->architecture) + L" installieren");
    }
    return !server->inProcess || server->architecture == ownArchitecture;
}

class HostCheck {
public:
    HostCheck(Report& report, Surroundings& surroundings, bool isArchiveUsable)
        : report_(report), surroundings_(surroundings), isArchiveUsable_(isArchiveUsable) {}

    bool Run() {
        fibu_ = surroundings_.globals.goSesamSOK()->oSesamFibu();
        return CheckClient() && CheckArchiveOn() && CheckOptions() && ReadSettings();
    }

private:
    bool CheckClient() {
        constexpr const wchar_t* name = L"Mandant";
        constexpr const wchar_t* hint = L"Die Finanzbuchhaltung starten und den Mandanten öffnen";
        try {
            if (fibu_.IsNothing()) {
                report_.Fail(area::host, name, surroundings_.screen.TakeMessages(), hint);
                return false;
            }
            const Text client = fibu_.Get(L"letztermandant").ToText();
            if (fibu_.Get(L"istoffen").ToBoolean()) {
                report_.Good(area::host, name, client);
                return true;
            }
            report_.Fail(area::host, name, client.empty() ? L"keiner" : client + L" lässt sich nicht öffnen",
                         hint);
        } catch (...) {
            report_.Fail(area::host, name, TextOfError(CurrentError()), hint);
        }
        return false;
    }

    static Text NameOfOption(std::int16_t key, const wchar_t* meaning) {
        return L"Option " + Decimal(optionGroup) + L"/" + Decimal(key) + L" " + meaning;
    }

    /// None after an error, which has been reported.
    std::optional<Text> Option(std::int16_t key, const wchar_t* meaning) {
        try {
            return fibu_.Get(L"IniLesen", optionGroup, key).ToText();
        } catch (...) {
            report_.Fail(area::host, NameOfOption(key, meaning), TextOfError(CurrentError()),
                         L"Die Option lässt sich nicht lesen: antwortet die Finanzbuchhaltung?");
            return std::nullopt;
        }
    }

    /// A client without a decision is set up by the component's next request; here it stays as it is.
    bool CheckArchiveOn() {
        constexpr const wchar_t* meaning = L"Archiv ein";
        const auto value = Option(option::archiveOn, meaning);
        if (!value) {
            return false;
        }
        const Text name = NameOfOption(option::archiveOn, meaning);
        const Text decision = LowerCase(*value);
        if (decision == L"true") {
            report_.Good(area::host, name, *value);
            return true;
        }
        if (decision == L"false") {
            report_.Warn(
                area::host, name, *value,
                L"Für diesen Mandanten ist das Archiv ausgeschaltet: zum Einschalten in den Optionen "
                L"«true» eintragen");
        } else {
            report_.Warn(area::host, name, value->empty() ? L"kein Entscheid" : *value,
                         L"Der Mandant wird beim nächsten Start der Finanzbuchhaltung eingerichtet");
        }
        return false;
    }

    bool CheckOptions() {
        const bool placeholder = CheckPlaceholder();
        const bool bookings = CheckFolder(option::bookings, L"Ordner Buchungen");
        const bool reports = CheckFolder(option::reports, L"Ordner Auswertungen");
        const bool debtors = CheckFolder(option::debtors, L"Ordner Debitoren");
        const bool creditors = CheckFolder(option::creditors, L"Ordner Kreditoren");
        return placeholder && bookings && reports && debtors && creditors && isArchiveUsable_;
    }

    bool CheckPlaceholder() {
        constexpr const wchar_t* meaning = L"Platzhalter";
        const auto file = Option(option::placeholder, meaning);
        if (!file) {
            return false;
        }
        const Text name = NameOfOption(option::placeholder, meaning);
        if (surroundings_.platform.FileExists(*file)) {
            report_.Good(area::host, name, *file);
            return true;
        }
        report_.Fail(area::host, name, file->empty() ? L"leer" : *file + L" fehlt",
                     L"Platzhalter.pdf dorthin legen oder die Option berichtigen (Fehler 5004)");
        return false;
    }

    bool CheckFolder(std::int16_t key, const wchar_t* meaning) {
        const auto path = Option(key, meaning);
        if (!path) {
            return false;
        }
        const Text name = NameOfOption(key, meaning);
        if (!isArchiveUsable_) {
            report_.Warn(area::host, name, *path, L"nicht geprüft, weil das Archiv nicht erreichbar ist");
            return false;
        }
        try {
            if (surroundings_.globals.goArchiv()->CheckPFadVorhanden(*path).empty()) {
                report_.Good(area::host, name, *path);
                return true;
            }
            report_.Fail(area::host, name,
                         (path->empty() ? Text(L"leer") : *path) + L" gibt es im Archiv nicht",
                         Text(L"Ordner im Archiv anlegen oder die Option berichtigen (Fehler ") +
                             (key == option::bookings ? L"5003" : L"5004") + L")");
        } catch (...) {
            report_.Fail(area::host, name, *path + L": " + TextOfError(CurrentError()),
                         L"Antwortet das Archiv?");
        }
        return false;
    }

    /// As before each request. The client has decided, so that nothing is set up.
    bool ReadSettings() {
        SharedState& state = surroundings_.globals.state;
        try {
            state.gbIniOK = true;
            surroundings_.globals.goSesamSOK()->EinstellungenLesen(state.gbMandantArchivAktiv);
        } catch (...) {
            report_.Fail(area::host, L"Optionen", TextOfError(CurrentError()),
                         L"So meldet es die Komponente vor jeder Anfrage");
            surroundings_.globals.goErrHandler().Clear();
            return false;
        }
        return state.gbMandantArchivAktiv;
    }

    Report& report_;
    Surroundings& surroundings_;
    bool isArchiveUsable_;
    LateBound fibu_;
};

}  // namespace

bool CheckHost(Report& report, const Subject& subject, Surroundings& surroundings, bool isArchiveUsable) {
    return CheckHostClass(report, subject, surroundings.rights) &&
           HostCheck(report, surroundings, isArchiveUsable).Run();
}

}  // namespace kandora::check
