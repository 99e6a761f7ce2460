#include "archive/OrigELODMS.h"

#include <type_traits>
#include <utility>
#include <vector>

#include "automation/Errors.h"
#include "support/Convention.h"
#include "support/MDebug.h"
#include "support/MVariantArrays.h"

namespace kandora {

namespace {

/// The name that this class has in the call stack.
constexpr const wchar_t* className = L"CArchiv";

constexpr std::int16_t none = 0;
constexpr std::int16_t documentEntry = 254;
constexpr std::int16_t filedEntry = -2;
constexpr std::int16_t longestPath = 1024;
constexpr std::int16_t asReference = 1;
constexpr std::int32_t firstHit = 0x10000000;
constexpr std::int16_t lastHitExamined = 10000;
/// What "UpdateObject" answers on success, unlike every other member.
constexpr std::int32_t updated = 3;

constexpr Frame In(const wchar_t* procedure) {
    return {className, procedure};
}

/// The parts of a text between the separators, as a list; the whole text when there is no separator.
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

const OrigELODMS::FixedFolder OrigELODMS::unlinked{L"lUnverknuepfteDokumente", L"Unverknüpfte Dokumente",
                                                   L"Ordner für unverknüpfte Dokumente nicht gefunden: "};
const OrigELODMS::FixedFolder OrigELODMS::massMailing{L"lMassenversaendeZA", L"MassenversaendeZA",
                                                      L"Ordner für Massenversaende ZA nicht gefunden: "};

OrigELODMS::OrigELODMS(ArchiveContext context) : context_(std::move(context)) {}

/// Nothing may leave the end of an object: what it raised is forgotten again.
OrigELODMS::~OrigELODMS() {
    try {
        const ErrorKeeper keeper(context_.errHandler);
        Class_Terminate();
    } catch (...) {
        return;
    }
}

void OrigELODMS::Class_Terminate() {
    Inner(context_.errHandler, In(L"Class_Terminate"), [&] { oElo().Call(L"clickon", L"M:Beenden"); });
}

/// Departs from the convention: the error is recorded, and the caller gets the empty result.
template <class Body>
auto OrigELODMS::Silent(const wchar_t* procedure, Body&& body) {
    using Value = std::invoke_result_t<Body>;
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        context_.errHandler.Log(CurrentError(), className, procedure);
        return Value();
    }
}

// Session
// ------------------------------------------------------------------------------------------------------------

void OrigELODMS::AnmeldenAnElo() {
    Silent(L"AnmeldenAnElo", [&] {
        const cUser user = context_.user();
        RequireCredentials(user);
        session_.Store(context_.platform.CreateObject(archiveClass));
        session_.Stored().Call(L"EloWindow", L"MINIMIZE");
        RequireLogin(session_.Login(user.sName, user.sPasswort, context_.state.settings.gsArchivname));
    });
}

LateBound OrigELODMS::oElo() {
    return Silent(L"oElo", [&] {
        if (!session_.IsAlive()) {
            AnmeldenAnElo();
        }
        return session_.Stored();
    });
}

// Folders and paths
// --------------------------------------------------------------------------------------------------

Text OrigELODMS::Separator() {
    return oElo().Get(L"LookupDelimiter").ToText();
}

std::int32_t OrigELODMS::FolderId(const FixedFolder& folder) {
    return Silent(folder.procedure, [&] {
        const Text separator = Separator();
        const Text path = separator + L"Wiederanschlusskontrolle" + separator + folder.name;
        Text asked = path;
        const std::int32_t id = oElo().Get(L"LookupIndex", ByRef(asked)).ToLong();
        Assert(id > 0, folder.missing + path, errors::invalidArgument);
        return id;
    });
}

/// The levels of a case's path, the case itself last, and what separates them.
Variant OrigELODMS::PathLevels(std::int32_t lFallId, Text& separator) {
    std::int32_t asked = lFallId;
    const std::int32_t answer = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
    Assert(answer == 1, L"Could not GotoId: " + Decimal(lFallId), errors::invalidArgument);
    separator = Separator();
    return Split(oElo().Get(L"GetTreePath", none, separator, longestPath).ToText(), separator);
}

std::int32_t OrigELODMS::GetParentFolderId(std::int32_t lFallId) {
    return Silent(L"GetParentFolderId", [&] {
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
    });
}

double OrigELODMS::CurrentRegisterDate(std::int32_t lFallId) {
    return Silent(L"CurrentRegisterDate", [&] {
        Text separator;
        Variant levels = PathLevels(lFallId, separator);
        TakeLastOfArray(levels);
        const std::int16_t day = TakeLastOfArray(levels).ToInteger();
        const std::int16_t month = TakeLastOfArray(levels).ToInteger();
        const std::int16_t year = TakeLastOfArray(levels).ToInteger();
        return DateOf(year, month, day);
    });
}

// Documents
// ----------------------------------------------------------------------------------------------------------

void OrigELODMS::ShowDokument(std::int32_t lDokID) {
    Silent(L"ShowDokument", [&] {
        oElo().Call(L"BringToFront");
        oElo().Call(L"EloWindow", L"NORMAL");
        std::int32_t asked = lDokID;
        const std::int32_t answer = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
        Assert(answer == 1, L"Dokument nicht gefunden: id=" + Decimal(lDokID), errors::invalidArgument);
        oElo().Call(L"BringToFront");
    });
}

bool OrigELODMS::IsDokumentVorhanden(std::int32_t lDokID) {
    return Silent(L"IsDokumentVorhanden", [&] {
        std::int32_t mask = context_.state.settings.glMaskeBelege;
        return oElo().Get(L"PrepareObjectEx", ByRef(lDokID), none, ByRef(mask)).ComparedTo(1) >= 0;
    });
}

Variant OrigELODMS::GetUnverknuepfte() {
    Silent(L"GetUnverknuepfte", [&] {
        std::int32_t mask = context_.state.settings.glMaskeBelege;
        oElo().Call(L"PrepareObjectEx", none, none, ByRef(mask));
        if (oElo().Get(L"DoInvisibleSearch").ToLong() < 0) {
            return;
        }
        for (std::int16_t hit = 0; hit <= lastHitExamined; ++hit) {
            std::int32_t id = oElo().Get(L"GetEntryId", firstHit + hit).ToLong();
            if (id < 1) {
                break;
            }
            const std::int32_t found = id;
            const std::int32_t answer = oElo().Get(L"PrepareObjectEx", ByRef(id), none, ByRef(mask)).ToLong();
            Assert(answer >= 1, L"DokID nicht gefunden: " + Decimal(found), errors::invalidArgument);
        }
    });
    return Variant::ArrayOf(std::vector<Variant>());
}

void OrigELODMS::LoescheDokument(std::int32_t lDokID) {
    Silent(L"LoescheDokument", [&] {
        std::int32_t asked = lDokID;
        const std::int32_t answer = oElo().Get(L"DeleteObj", ByRef(asked)).ToLong();
        Assert(answer == 1, L"Konnte Dokument nicht löschen: " + Decimal(answer), errors::invalidArgument);
    });
}

std::int32_t OrigELODMS::AddDokumentToMassenversaendeZA(const Text& sPath) {
    return Silent(L"AddDokumentToMassenversaendeZA", [&] { return FileWithoutIndex(sPath, massMailing); });
}

std::int32_t OrigELODMS::AddDokument(const Text& sFile) {
    return Silent(L"AddDokument", [&] { return FileWithoutIndex(sFile, unlinked); });
}

std::int32_t OrigELODMS::FileWithoutIndex(const Text& file, const FixedFolder& folder) {
    Assert(context_.platform.FileExists(file), L"Dokument nicht gefunden: " + file, errors::invalidArgument);
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    const std::int32_t prepared =
        oElo().Get(L"PrepareObjectEx", std::int32_t{0}, documentEntry, ByRef(mask)).ToLong();
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
    return oElo().Get(L"GetEntryId", filedEntry).ToLong();
}

void OrigELODMS::PrintDokument(std::int32_t lDokID) {
    Inner(context_.errHandler, In(L"PrintDokument"), [&] {
        const Text inBrackets = L"[" + Decimal(lDokID) + L"]";
        std::int32_t asked = lDokID;
        const std::int32_t shown = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
        Assert(shown == 1, L"Fehler beim Anzeigen von Dokument " + inBrackets + L" GotoId=" + Decimal(shown),
               errors::invalidArgument);
        const std::int32_t printed = oElo().Get(L"PrintDocument", none, L"", L"", none, none, none).ToLong();
        Assert(printed == 1,
               L"Fehler beim Drucken von Dokument " + inBrackets + L" PrintDocument=" + Decimal(printed),
               errors::invalidArgument);
    });
}

void OrigELODMS::LoescheVerknuepfung(std::int32_t lDokID) {
    Inner(context_.errHandler, In(L"LoescheVerknuepfung"), [&] {
        std::int32_t asked = lDokID;
        std::int32_t mask = context_.state.settings.glMaskeBelege;
        const std::int32_t loaded = oElo().Get(L"PrepareObjectEx", ByRef(asked), none, ByRef(mask)).ToLong();
        Assert(loaded >= 1, L"Dokument nicht gefunden: " + Decimal(lDokID), errors::invalidArgument);
        const std::int32_t answer = oElo().Get(L"UpdateObject").ToLong();
        Assert(answer == updated, L"Fehler beim indizieren des Dokuments: UpdateObject=" + Decimal(answer),
               errors::invalidArgument);
        const std::int32_t folder = FolderId(unlinked);
        std::int32_t moving = lDokID;
        const Variant parent = oElo().Get(L"ObjMainParent");
        const std::int32_t moved =
            oElo().Get(L"InsertRef", ByRef(moving), parent, folder, asReference).ToLong();
        Assert(moved >= 0, L"Fehler beim Verschieben des Dokuments: " + Decimal(moved),
               errors::invalidArgument);
    });
}

}  // namespace kandora
