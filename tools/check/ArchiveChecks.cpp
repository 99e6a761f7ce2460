#include "archive/ArchiveSession.h"
#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"

namespace kandora::check {

namespace {

/// A server in a process of its own serves both architectures; one that is loaded must have the component's.
bool CheckClass(Report& report, const Subject& subject, const OwnRights& rights) {
    constexpr const wchar_t* name = L"Klasse";
    const auto server = ServerOf(archiveClass, rights);
    const Text className = archiveClass;
    const bool isHidden = WarnOfHiddenServers(report, area::archive, archiveClass, rights);
    if (!server && isHidden) {
        return false;
    }
    if (!server) {
        report.Fail(
            area::archive, name, className + L" ist nicht registriert",
            L"Das Archivprogramm auf diesem Arbeitsplatz installieren und einmal starten (Fehler 429)");
        return false;
    }
    const Text value = className + L", " + NameOf(server->architecture) + L", " + server->file;
    if (!FileExists(server->file)) {
        report.Fail(area::archive, name, className + L": " + server->file + L" fehlt",
                    L"Das Archivprogramm neu installieren (Fehler 429)");
        return false;
    }
    if (server->inProcess && server->architecture != subject.architecture) {
        report.Fail(area::archive, name, value,
                    Text(L"Die Archivklasse wird geladen und muss dieselbe Architektur haben wie Kandora (") +
                        NameOf(subject.architecture) + L")");
        return false;
    }
    report.Good(area::archive, name, value);
    WarnOfAnotherInstance(report, area::archive, *server, rights);
    return true;
}

void CheckMask(Report& report, ELODMS& archive, const wchar_t* name, std::int32_t mask) {
    const Text title = Text(L"Maske ") + name;
    try {
        const Text failure = archive.CheckMaskeVorhanden(mask);
        if (failure.empty()) {
            report.Good(area::archive, title, Decimal(mask));
        } else {
            report.Fail(area::archive, title, failure,
                        Text(L"In Kandora.ini unter [Maske] ") + name + L" eine Maske des Archivs eintragen");
        }
    } catch (...) {
        report.Fail(area::archive, title, TextOfError(CurrentError()), L"Antwortet das Archiv?");
    }
}

void CheckSeparator(Report& report, ELODMS& archive) {
    constexpr const wchar_t* name = L"Trennzeichen";
    try {
        const Text separator = archive.oElo().Get(L"LookupDelimiter").ToText();
        if (separator.empty()) {
            report.Fail(area::archive, name, L"leer",
                        L"Im Archivprogramm ein Trennzeichen für Pfade einstellen");
        } else {
            report.Good(area::archive, name, L"«" + separator + L"»");
        }
    } catch (...) {
        report.Fail(area::archive, name, TextOfError(CurrentError()), L"Antwortet das Archiv?");
    }
}

bool CheckLogin(Report& report, Surroundings& surroundings) {
    constexpr const wchar_t* name = L"Anmeldung";
    const Settings& settings = surroundings.globals.state.settings;
    const Text account = L"«" + settings.gsEloUserName + L"» an «" + settings.gsArchivname + L"»";
    try {
        const Text failure = surroundings.globals.goArchiv()->CheckLogin();
        if (failure.empty()) {
            report.Good(area::archive, name, account);
            return true;
        }
        report.Fail(area::archive, name, account + L": " + failure,
                    L"Im Archivprogramm dieselbe Anmeldung "
                    L"versuchen (Fehler 5001)");
    } catch (...) {
        const RuntimeError error = CurrentError();
        surroundings.globals.goErrHandler().Clear();
        report.Fail(area::archive, name, account + L": " + TextOfError(error),
                    error.Number() == errors::invalidArgument
                        ? L"Archivname, ELOUSERNAME und ELOPW in Kandora.ini prüfen"
                        : L"Startet das Archivprogramm?");
    }
    return false;
}

}  // namespace

bool CheckArchive(Report& report, const Subject& subject, Surroundings& surroundings) {
    if (!CheckClass(report, subject, surroundings.rights)) {
        return false;
    }
    const Settings& settings = surroundings.globals.state.settings;
    if (settings.gsArchivname.empty() || settings.gsEloUserName.empty() || settings.gsEloKuerzel.empty()) {
        report.Fail(area::archive, L"Anmeldung",
                    L"nicht geprüft: Archivname, Benutzer oder Kurzzeichen fehlt",
                    L"In Kandora.ini Archivname, ELOUSERNAME und ELOKUERZEL eintragen (Fehler 5000)");
        return false;
    }
    if (!CheckLogin(report, surroundings)) {
        return false;
    }
    const std::shared_ptr<ELODMS> archive = surroundings.globals.goArchiv();
    CheckMask(report, *archive, L"Struktur", settings.glMaskeStruktur);
    CheckMask(report, *archive, L"Belege", settings.glMaskeBelege);
    CheckMask(report, *archive, L"Auswertung", settings.glMaskeAuswertung);
    CheckMask(report, *archive, L"Debi", settings.glMaskeDebi);
    CheckMask(report, *archive, L"Kredi", settings.glMaskeKredi);
    CheckSeparator(report, *archive);
    return true;
}

}  // namespace kandora::check
