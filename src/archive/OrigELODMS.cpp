#include "archive/OrigELODMS.h"

#include <utility>
#include <vector>

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"
#include "support/Convention.h"
#include "support/MDebug.h"
#include "support/MVariantArrays.h"

namespace kandora {

namespace {

/// The name of this class in the call stack, deliberately another one.
constexpr const wchar_t* className = L"CArchiv";

constexpr std::int16_t longestPath = 1024;  // characters
constexpr std::int16_t asReference = 1;
/// What "UpdateObject" answers on success, unlike every other member.
constexpr std::int32_t updated = 3;

/// The parts of a text between the separators, as a list; the whole text when it has no separator in it.
Variant Split(const Text& text, const Text& separator) {
    Variant parts;
    std::size_t from = 0;
    if (!separator.empty()) {
        for (std::size_t at = text.find(separator); at != Text::npos; at = text.find(separator, from)) {
            AppendToArray(parts, Variant(text.substr(from, at - from)));
            from = at + separator.size();
        }
    }
    AppendToArray(parts, Variant(text.substr(from)));
    return parts;
}

Text Join(const Variant& parts, const Text& separator) {
    std::vector<Text> texts;
    for (const Variant& part : parts.Elements()) {
        texts.push_back(part.ToText());
    }
    return Joined(texts, separator);
}

/// Midnight of the day, counted as automation counts dates; days and months beyond their range run over.
/// Raises 5 for a year that the platform does not know.
double DateOf(int year, int month, int day) {
    SYSTEMTIME first{};
    const int months = year * 12 + month - 1;
    first.wYear = static_cast<WORD>(months / 12);
    first.wMonth = static_cast<WORD>(months % 12 + 1);
    first.wDay = 1;
    double date = 0;
    if (SystemTimeToVariantTime(&first, &date) == FALSE) {
        throw RuntimeError(errors::invalidArgument);
    }
    return date + day - 1;
}

}  // namespace

// Messages of this class are meant as they stand: "Massenversaende", "indizieren", "Could not GotoId".

const OrigELODMS::FixedFolder OrigELODMS::unlinked{L"lUnverknuepfteDokumente", L"Unverknüpfte Dokumente",
                                                   L"Ordner für unverknüpfte Dokumente nicht gefunden: "};
const OrigELODMS::FixedFolder OrigELODMS::massMailing{L"lMassenversaendeZA", L"MassenversaendeZA",
                                                      L"Ordner für Massenversaende ZA nicht gefunden: "};

OrigELODMS::OrigELODMS(ArchiveContext context) : context_(std::move(context)) {}

/// Nothing may leave a destructor: what was raised is forgotten again.
OrigELODMS::~OrigELODMS() {
    try {
        const ErrorKeeper keeper(context_.errHandler);
        Class_Terminate();
    } catch (...) {
        return;
    }
}

void OrigELODMS::Class_Terminate() try { oElo().Call(L"clickon", L"M:Beenden"); } catch (...) {
    RecordAndRaise(L"Class_Terminate");
}

/// Departs from the convention: the error is recorded, and the caller gets the empty result.
void OrigELODMS::Record(const wchar_t* procedure) const {
    LogCurrentError(context_.errHandler, {className, procedure});
}

void OrigELODMS::RecordAndRaise(const wchar_t* procedure) const {
    kandora::RecordAndRaise(context_.errHandler, {className, procedure});
}

// ---- Session ----

void OrigELODMS::AnmeldenAnElo() try {
    const cUser user = context_.user();
    RequireCredentials(user);
    session_.Store(context_.platform.CreateObject(archiveClass));
    session_.Stored().Call(L"EloWindow", L"MINIMIZE");
    RequireLogin(session_.Login(user.sName, user.sPasswort, context_.state.settings.gsArchivname));
} catch (...) {
    Record(L"AnmeldenAnElo");
}

LateBound OrigELODMS::oElo() try {
    if (!session_.IsAlive()) {
        AnmeldenAnElo();
    }
    return session_.Stored();
} catch (...) {
    Record(L"oElo");
    return {};
}

// ---- Folders and paths ----

Text OrigELODMS::Separator() {
    return oElo().Get(L"LookupDelimiter").ToText();
}

std::int32_t OrigELODMS::FolderId(const FixedFolder& folder) try {
    const Text separator = Separator();
    const Text path = separator + L"Wiederanschlusskontrolle" + separator + folder.name;
    Text asked = path;
    const std::int32_t id = oElo().Get(L"LookupIndex", ByRef(asked)).ToLong();
    Assert(id > 0, folder.missing + path, errors::invalidArgument);
    return id;
} catch (...) {
    Record(folder.procedure);
    return {};
}

/// The levels of a case's path, the case itself last, and what separates them.
Variant OrigELODMS::PathLevels(std::int32_t lFallId, Text& separator) {
    std::int32_t asked = lFallId;
    const std::int32_t answer = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
    Assert(answer == 1, L"Could not GotoId: " + Decimal(lFallId), errors::invalidArgument);
    separator = Separator();
    return Split(oElo().Get(L"GetTreePath", archive::none, separator, longestPath).ToText(), separator);
}

std::int32_t OrigELODMS::GetParentFolderId(std::int32_t lFallId) try {
    Text separator;
    Variant levels = PathLevels(lFallId, separator);
    TakeLastOfArray(levels);
    const Text path = Join(levels, separator);
    const std::size_t top = path.find(separator);
    if (top == Text::npos) {
        throw RuntimeError(errors::invalidArgument);
    }
    Text asked = path.substr(top);
    return oElo().Get(L"LookupIndex", ByRef(asked)).ToLong();
} catch (...) {
    Record(L"GetParentFolderId");
    return {};
}

double OrigELODMS::CurrentRegisterDate(std::int32_t lFallId) try {
    Text separator;
    Variant levels = PathLevels(lFallId, separator);
    TakeLastOfArray(levels);
    const std::int16_t day = TakeLastOfArray(levels).ToInteger();
    const std::int16_t month = TakeLastOfArray(levels).ToInteger();
    const std::int16_t year = TakeLastOfArray(levels).ToInteger();
    return DateOf(year, month, day);
} catch (...) {
    Record(L"CurrentRegisterDate");
    return {};
}

// ---- Documents ----

void OrigELODMS::ShowDokument(std::int32_t lDokID) try {
    oElo().Call(L"BringToFront");
    oElo().Call(L"EloWindow", L"NORMAL");
    std::int32_t asked = lDokID;
    const std::int32_t answer = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
    Assert(answer == 1, L"Dokument nicht gefunden: id=" + Decimal(lDokID), errors::invalidArgument);
    oElo().Call(L"BringToFront");
} catch (...) {
    Record(L"ShowDokument");
}

bool OrigELODMS::IsDokumentVorhanden(std::int32_t lDokID) try {
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    return oElo().Get(L"PrepareObjectEx", ByRef(lDokID), archive::none, ByRef(mask)).ComparedTo(1) >= 0;
} catch (...) {
    Record(L"IsDokumentVorhanden");
    return {};
}

/// The list stays empty, deliberately: the hits are loaded one after the other, and nothing is kept of them.
Variant OrigELODMS::GetUnverknuepfte() {
    LoadUnverknuepfte();
    return Variant::ArrayOf(std::vector<Variant>());
}

void OrigELODMS::LoadUnverknuepfte() try {
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    oElo().Call(L"PrepareObjectEx", archive::none, archive::none, ByRef(mask));
    if (oElo().Get(L"DoInvisibleSearch").ToLong() < 0) {
        return;
    }
    for (std::int16_t hit = 0; hit <= archive::lastHitExamined; ++hit) {
        std::int32_t id = oElo().Get(L"GetEntryId", archive::firstHit + hit).ToLong();
        if (id < 1) {
            break;
        }
        const std::int32_t found = id;
        const std::int32_t answer =
            oElo().Get(L"PrepareObjectEx", ByRef(id), archive::none, ByRef(mask)).ToLong();
        Assert(answer >= 1, L"DokID nicht gefunden: " + Decimal(found), errors::invalidArgument);
    }
} catch (...) {
    Record(L"GetUnverknuepfte");
}

void OrigELODMS::LoescheDokument(std::int32_t lDokID) try {
    std::int32_t asked = lDokID;
    const std::int32_t answer = oElo().Get(L"DeleteObj", ByRef(asked)).ToLong();
    Assert(answer == 1, L"Konnte Dokument nicht löschen: " + Decimal(answer), errors::invalidArgument);
} catch (...) {
    Record(L"LoescheDokument");
}

std::int32_t OrigELODMS::AddDokumentToMassenversaendeZA(const Text& sPath) try {
    return FileWithoutIndex(sPath, massMailing);
} catch (...) {
    Record(L"AddDokumentToMassenversaendeZA");
    return {};
}

std::int32_t OrigELODMS::AddDokument(const Text& sFile) try {
    return FileWithoutIndex(sFile, unlinked);
} catch (...) {
    Record(L"AddDokument");
    return {};
}

std::int32_t OrigELODMS::FileWithoutIndex(const Text& file, const FixedFolder& folder) {
    Assert(context_.platform.FileExists(file), L"Dokument nicht gefunden: " + file, errors::invalidArgument);
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    const std::int32_t prepared =
        oElo().Get(L"PrepareObjectEx", std::int32_t{0}, archive::documentEntry, ByRef(mask)).ToLong();
    Assert(prepared >= 1, L"Unerwarteter Rückgabewert: PrepareObjectEx=" + Decimal(prepared),
           errors::invalidArgument);
    oElo().Put(L"ObjMaskNo", context_.state.settings.glMaskeBelege);
    Text path = file;
    const std::int32_t added = oElo().Get(L"AddPostboxFile", ByRef(path)).ToLong();
    Assert(added == 1, L"Fehler beim Hinzufügen des Dokuments: AddPostboxFile=" + Decimal(added),
           errors::invalidArgument);
    const Text target = L"#" + Decimal(FolderId(folder));
    const std::int32_t moved = oElo().Get(L"MoveToArchive", target).ToLong();
    Assert(moved == 1, L"Fehler beim Hinzufügen des Dokuments: MoveToArchive=" + Decimal(moved),
           errors::invalidArgument);
    return oElo().Get(L"GetEntryId", archive::filedEntry).ToLong();
}

void OrigELODMS::PrintDokument(std::int32_t lDokID) try {
    const Text inBrackets = L"[" + Decimal(lDokID) + L"]";
    std::int32_t asked = lDokID;
    const std::int32_t shown = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
    Assert(shown == 1, L"Fehler beim Anzeigen von Dokument " + inBrackets + L" GotoId=" + Decimal(shown),
           errors::invalidArgument);
    const std::int32_t printed =
        oElo()
            .Get(L"PrintDocument", archive::none, L"", L"", archive::none, archive::none, archive::none)
            .ToLong();
    Assert(printed == 1,
           L"Fehler beim Drucken von Dokument " + inBrackets + L" PrintDocument=" + Decimal(printed),
           errors::invalidArgument);
} catch (...) {
    RecordAndRaise(L"PrintDokument");
}

void OrigELODMS::LoescheVerknuepfung(std::int32_t lDokID) try {
    std::int32_t asked = lDokID;
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    const std::int32_t loaded =
        oElo().Get(L"PrepareObjectEx", ByRef(asked), archive::none, ByRef(mask)).ToLong();
    Assert(loaded >= 1, L"Dokument nicht gefunden: " + Decimal(lDokID), errors::invalidArgument);
    const std::int32_t answer = oElo().Get(L"UpdateObject").ToLong();
    Assert(answer == updated, L"Fehler beim indizieren des Dokuments: UpdateObject=" + Decimal(answer),
           errors::invalidArgument);
    const std::int32_t folder = FolderId(unlinked);
    std::int32_t moving = lDokID;
    const Variant parent = oElo().Get(L"ObjMainParent");
    const std::int32_t moved = oElo().Get(L"InsertRef", ByRef(moving), parent, folder, asReference).ToLong();
    Assert(moved >= 0, L"Fehler beim Verschieben des Dokuments: " + Decimal(moved), errors::invalidArgument);
} catch (...) {
    RecordAndRaise(L"LoescheVerknuepfung");
}

}  // namespace kandora
