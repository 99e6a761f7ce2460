#pragma once

#include "archive/ELODMS.h"
#include "tools/check/Report.h"
#include "tools/check/Subject.h"
#include "tools/check/Surroundings.h"

namespace kandora::check {

/// Areas of the findings.
namespace area {
inline constexpr const wchar_t* rights = L"Rechte";
inline constexpr const wchar_t* component = L"Komponente";
inline constexpr const wchar_t* settings = L"Einstellungen";
inline constexpr const wchar_t* archive = L"Archiv";
inline constexpr const wchar_t* host = L"Finanzbuchhaltung";
inline constexpr const wchar_t* hostInterface = L"Schnittstelle";
inline constexpr const wchar_t* folders = L"Ordner";
inline constexpr const wchar_t* preview = L"Vorschau";
inline constexpr const wchar_t* probe = L"Probe";
inline constexpr const wchar_t* reconciliation = L"Abgleich";
}  // namespace area

/// The resource of the component's DLL that is the type library of the host's plug-in interface.
inline constexpr int hostLibrary = 2;

/// With which rights this program runs, and that it is its user's session.
void CheckRights(Report& report, const OwnRights& rights);

/// Warns of files that the users' programs get for a class and this program does not. True when the user
/// whose session it is has one.
bool WarnOfHiddenServers(Report& report, const wchar_t* area, const wchar_t* programId,
                         const OwnRights& rights);

/// Warns when the class is served by a program which COM starts anew for this program, although the user's
/// own may run.
void WarnOfAnotherInstance(Report& report, const wchar_t* area, const Server& server,
                           const OwnRights& rights);

/// File, version, architecture, registration, type libraries, and that an object can be made.
void CheckComponent(Report& report, const Subject& subject, const OwnRights& rights);

/// Reads every setting as the component does and keeps it in the shared state. False when there is no file to
/// read.
bool CheckSettings(Report& report, Surroundings& surroundings);

/// Class, login, masks and separator. True when the archive can be used.
bool CheckArchive(Report& report, const Subject& subject, Surroundings& surroundings);

/// Class, client, the client's options, folders and placeholder. True when the client's settings are complete
/// and kept in the shared state. The folders are looked for only when the archive can be used.
bool CheckHost(Report& report, const Subject& subject, Surroundings& surroundings, bool isArchiveUsable);

/// The folders in which files must appear, and the files that are read, with the rights of those who work
/// with the component.
void CheckFolders(Report& report, const Subject& subject, Surroundings& surroundings);

/// Compares the host's plug-in interface with the component's. With `adopt` the component is told to answer
/// to the host's identifier; nothing changes when it cannot serve the interface. `typeLibrary` is a file;
/// when it is empty, the registered library is looked for.
void CheckHostInterface(Report& report, const Subject& subject, const Text& typeLibrary, bool adopt);

/// What filing the voucher would write. Nothing is written: the filing runs against an archive that only
/// notes what it is told.
void PreviewVoucher(Report& report, Surroundings& surroundings, const Text& number, const Text& index);

/// Files a placeholder into each of the client's folders, reads it back and removes it, also when the user
/// interrupts; removes first what an earlier probe that was killed has left.
void Probe(Report& report, Surroundings& surroundings);

}  // namespace kandora::check
