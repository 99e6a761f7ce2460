#include "archive/ELODMS.h"

#include <algorithm>
#include <utility>

#include "automation/Errors.h"
#include "support/Convention.h"
#include "support/MDebug.h"
#include "support/MessageBoxes.h"

namespace kandora {

namespace {

constexpr const wchar_t* className = L"ELODMS";

constexpr std::uint32_t loginRetryPause = 500;  // milliseconds

/// What the archive's members are told; the archive gives these numbers their meaning.
constexpr std::int16_t none = 0;
constexpr std::int16_t documentEntry = 254;
constexpr std::int16_t filedEntry = -2;
constexpr std::int16_t searchView = 3;
constexpr std::int32_t firstHit = 0x10000000;
constexpr std::int32_t lowestObjectId = 2;
constexpr std::int16_t lastHitExamined = 10000;

constexpr const wchar_t* pending = L"Pendent";

constexpr Frame In(const wchar_t* procedure) {
    return {className, procedure};
}

/// The kind of this name; null when documents of the kind are not filed.
const DocumentKind* KindOf(const Text& name) {
    const auto* const kind = std::ranges::find(documentKinds, TextView(name), &DocumentKind::name);
    return kind == documentKinds.end() ? nullptr : kind;
}

/// Departs from the convention: for steps whose failure must not keep the next one from being tried.
template <class Step>
void IgnoringErrors(Step&& step) noexcept {
    try {
        std::forward<Step>(step)();
    } catch (...) {
        return;
    }
}

}  // namespace

ELODMS::ELODMS(ArchiveContext context) : context_(std::move(context)) {}

ELODMS::ELODMS(ArchiveContext context, const ELODMS* host) : ELODMS(std::move(context)) {
    if (host != nullptr) {
        lent_ = host->session_.Stored();
        session_.Store(lent_);
    }
}

/// A logout that fails (without a session it always does) is recorded like every error and then forgotten, so
/// that it cannot colour the next one.
ELODMS::~ELODMS() {
    if (!lent_.IsNothing() && session_.Stored().Pointer() == lent_.Pointer()) {
        return;
    }
    IgnoringErrors([this] {
        const ErrorKeeper keeper(context_.errHandler);
        AbmeldenVonElo();
    });
}

// Session
// ------------------------------------------------------------------------------------------------------------

void ELODMS::AnmeldenAnElo() {
    Inner(context_.errHandler, In(L"AnmeldenAnElo"), [&] {
        RequireCredentials(context_.user());
        session_.Store(context_.platform.CreateObject(archiveClass));
        const Settings& settings = context_.state.settings;
        std::int32_t answer =
            session_.Login(settings.gsEloUserName, settings.gsEloPasswort, settings.gsArchivname);
        if (answer == -1) {
            context_.platform.Sleep(loginRetryPause);
            answer = session_.Login(settings.gsEloUserName, settings.gsEloPasswort, settings.gsArchivname);
        }
        RequireLogin(answer);
        session_.Stored().Call(L"EloWindow", L"MINIMIZE");
    });
}

LateBound ELODMS::oElo() {
    return Inner(context_.errHandler, In(L"oElo"), [&] {
        if (!session_.IsAlive()) {
            AnmeldenAnElo();
        }
        return session_.Stored();
    });
}

void ELODMS::ELOSichtbar() {
    const ErrorKeeper keeper(context_.errHandler);
    IgnoringErrors([this] { oElo().Call(L"BringToFront"); });
    IgnoringErrors([this] { oElo().Call(L"EloWindow", L"NORMAL"); });
}

Text ELODMS::CheckLogin() {
    return Inner(context_.errHandler, In(L"CheckLogin"), [&]() -> Text {
        if (oElo().Get(L"SelectView", searchView).ComparedTo(0) <= 0) {
            return L"Das Anmelden an ELO ist Fehlgeschlagen. Das ELO-Interface ist deaktiviert.";
        }
        return {};
    });
}

/// On the object as it stands, so that a logout never logs in.
void ELODMS::AbmeldenVonElo() {
    Inner(context_.errHandler, In(L"AbmeldenVonElo"), [&] {
        const LateBound object = session_.Stored();
        Text name = L"LOGOUT";
        Text password;
        Text archive;
        object.Call(L"Login", ByRef(name), ByRef(password), ByRef(archive));
        object.Call(L"EloWindow", L"MINIMIZE");
    });
}

// Lookup
// -------------------------------------------------------------------------------------------------------------

/// Lists what the archive holds of the pass's mask and loads one hit after the other until one matches. The
/// search is deliberately not narrowed: the comparison is made here.
template <class Matches>
std::int32_t ELODMS::FirstHit(const SearchPass& pass, bool loadWithMask, Matches matches) {
    std::int32_t mask = context_.state.settings.*pass.mask;
    oElo().Call(L"PrepareObjectEx", none, none, ByRef(mask));
    oElo().Call(L"DoInvisibleSearch");
    for (std::int16_t hit = 0; hit <= lastHitExamined; ++hit) {
        std::int32_t id = oElo().Get(L"GetEntryId", firstHit + hit).ToLong();
        const std::int32_t found = id;
        if (found < lowestObjectId) {
            break;
        }
        if (loadWithMask) {
            oElo().Call(L"PrepareObjectEx", ByRef(id), none, ByRef(mask));
        } else {
            oElo().Call(L"PrepareObjectEx", ByRef(id), none, none);
        }
        if (matches(context_.state.settings.*pass.positions)) {
            return found;
        }
    }
    return 0;
}

Variant ELODMS::Attribute(std::int16_t position) {
    return oElo().Get(L"getobjAttrib", ByRef(position));
}

std::int32_t ELODMS::FindSageDocumentByID(const Text& strSageDokID) {
    return Inner(context_.errHandler, In(L"FindSageDocumentByID"), [&] {
        std::int32_t id = 0;
        for (const SearchPass& pass : searchPasses) {
            id = FirstHit(pass, true, [&](const IndexPositions& positions) {
                const std::int16_t position = positions.SesamDocID;
                static_cast<void>(
                    Attribute(position));  // read twice, deliberately: only the second answer counts
                return Attribute(position).EqualsText(strSageDokID);
            });
            if (id != 0) {
                break;
            }
        }
        return id;
    });
}

std::int32_t ELODMS::FindSageDocumentByBelegNr(const Text& strBelegNr, const Text& strIndex) {
    return Inner(context_.errHandler, In(L"FindSageDocumentByBelegNr"), [&] {
        std::int32_t id = 0;
        for (const SearchPass& pass : searchPasses) {
            id = FirstHit(pass, false, [&](const IndexPositions& positions) {
                const std::int16_t indexPosition = positions.BelegIndex;
                const bool sameNumber = Attribute(positions.BelegNr).EqualsText(strBelegNr);
                const bool sameIndex = Attribute(indexPosition).EqualsText(strIndex);
                return sameNumber && sameIndex;
            });
            if (id != 0) {
                break;
            }
        }
        return id;
    });
}

bool ELODMS::IsDokumentVorhanden(std::int32_t lDokID) {
    return Inner(context_.errHandler, In(L"IsDokumentVorhanden"), [&] {
        return oElo().Get(L"PrepareObjectEx", ByRef(lDokID), none, none).ComparedTo(1) >= 0;
    });
}

// Folders and masks
// --------------------------------------------------------------------------------------------------

Text ELODMS::InArchiveNotation(const Text& strPfad) {
    return Replaced(strPfad, L"/", oElo().Get(L"LookupDelimiter").ToText());
}

/// The folder's id is asked anew each time: the archive's users move folders.
std::int32_t ELODMS::FolderId(const FilingFolder& folder) {
    return Inner(context_.errHandler, In(folder.procedure), [&] {
        Text path = InArchiveNotation(Text(context_.state.folders.*folder.path));
        const Text asked = path;
        const std::int32_t id = oElo().Get(L"LookupIndex", ByRef(path)).ToLong();
        Assert(id > 0, folder.missing + asked, errors::invalidArgument);
        return id;
    });
}

Text ELODMS::CheckPFadVorhanden(const Text& strPfad) {
    return Inner(context_.errHandler, In(L"CheckPFadVorhanden"), [&]() -> Text {
        Text path = InArchiveNotation(strPfad);
        if (oElo().Get(L"LookupIndex", ByRef(path)).ComparedTo(0) > 0) {
            return {};
        }
        // A carriage return alone parts the lines of this message.
        return L"Der Pfad '" + strPfad +
               L"' ist im Archiv nicht vorhanden\rKorrigieren Sie die Sesam-Einstellungen";
    });
}

Text ELODMS::PFadErstellen(Text& strPfad) {
    return Inner(context_.errHandler, In(L"PFadErstellen"), [&]() -> Text {
        if (strPfad.empty()) {
            // The archive was not asked, so that path and answer are empty here.
            return L"Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ";
        }
        if (strPfad.front() != L'/') {
            strPfad = L"/" + Trimmed(strPfad);
        }
        Text path = InArchiveNotation(strPfad);
        const Variant answer = oElo().Get(L"CreateStructure", ByRef(path), none);
        if (answer.IsNumeric() && answer.ToLong() < 0) {
            // Without quotes, unlike above.
            return L"Das Erstellen des Pfades " + strPfad + L" war nicht erfolgreich. Fehler Nr. " +
                   answer.ToText();
        }
        return {};
    });
}

Text ELODMS::CheckMaskeVorhanden(std::int32_t lMaskeNr) {
    return Inner(context_.errHandler, In(L"CheckMaskeVorhanden"), [&]() -> Text {
        std::int32_t asked = lMaskeNr;
        if (oElo().Get(L"ReadObjMask", ByRef(asked)).ComparedTo(0) < 0) {
            return L"Die Ablagemaske Nr. " + Decimal(lMaskeNr) + L" ist nicht vorhanden";
        }
        return {};
    });
}

// Changes
// ------------------------------------------------------------------------------------------------------------

/// The shared record is not cleared first: what is not set here keeps what its last use left.
void ELODMS::ChangeDocument(const Text& strBarcode, const Text& strBelegNr, const Text& strBelegIndex,
                            const Text& strSesamDocID) {
    Inner(context_.errHandler, In(L"ChangeDocument"), [&] {
        const std::int32_t id = FindSageDocumentByBelegNr(strBelegNr, strBelegIndex);
        if (id < 1) {
            if (!strBarcode.empty()) {
                AddDokument(Text(context_.state.folders.strPlatzhalterDatei), strBarcode, strBelegNr,
                            strBelegIndex, pending, strSesamDocID);
            }
            return;
        }
        const DocumentKind* const kind = KindOf(context_.vouchers.GetBuchungsType(strBelegNr, strBelegIndex));
        if (kind == nullptr) {
            return;
        }
        DocumentRecord& record = RecordOf(*kind);
        record.Barcode = strBarcode;
        record.BelegNr = strBelegNr;
        record.BelegIndex = strBelegIndex;
        record.SesamDocID = strSesamDocID;
        (context_.vouchers.*kind->readData)(strBelegNr, strBelegIndex);
        EditEntry(*kind, id);
    });
}

void ELODMS::MarkAsDeleted(const Text& strSesamDocID, const Text& strBelegNr, const Text& strBelegIndex) {
    Inner(context_.errHandler, In(L"MarkAsDeleted"), [&] {
        const std::int32_t id = FindSageDocumentByID(strSesamDocID);
        const DocumentKind* const kind = KindOf(context_.vouchers.GetBuchungsType(strBelegNr, strBelegIndex));
        if (id <= 0) {
            return;
        }
        // With the voucher mask, whatever the document's kind.
        std::int32_t asked = id;
        std::int32_t mask = context_.state.settings.glMaskeBelege;
        const std::int32_t answer =
            oElo().Get(L"PrepareObjectEx", ByRef(asked), documentEntry, ByRef(mask)).ToLong();
        Assert(answer >= 1, L"Unerwarteter Rückgabewert: PrepareObjectEx=" + Decimal(answer),
               errors::invalidArgument);
        if (kind != nullptr) {
            DeleteEntry(*kind, id);
        }
    });
}

/// The blanked fields are deliberately not written back ("UpdateObject") before the entry is deleted.
void ELODMS::DeleteEntry(const DocumentKind& kind, std::int32_t lObjID) {
    oElo().Put(L"ObjShort", L"Gelöschter Beleg");
    for (const IndexField& field : kind.fields) {
        const bool isStatus = field.position == &IndexPositions::Belegstatus;
        SetAttribute(PositionOf(kind, field), isStatus ? L"Gelöscht" : L"");
    }
    LoescheDokument(lObjID);
}

void ELODMS::ShowDokument(const Text& strSageDokID) {
    Inner(context_.errHandler, In(L"ShowDokument"), [&] {
        const std::int32_t id = FindSageDocumentByID(strSageDokID);
        if (id < 1) {
            context_.userInterface.ShowMessage(L"Das Dokument konnte nicht im Archiv gefunden werden",
                                               boxstyle::information | boxstyle::okOnly, {});
            return;
        }
        oElo().Call(L"BringToFront");
        oElo().Call(L"EloWindow", L"NORMAL");
        std::int32_t asked = id;
        const std::int32_t answer = oElo().Get(L"GotoId", ByRef(asked)).ToLong();
        Assert(answer == 1, L"Dokument nicht gefunden: id=" + Decimal(id), errors::invalidArgument);
        oElo().Call(L"BringToFront");  // navigating may have put another window in front
    });
}

void ELODMS::LoescheDokument(std::int32_t lDokID) {
    Inner(context_.errHandler, In(L"LoescheDokument"), [&] {
        std::int32_t asked = lDokID;
        const std::int32_t answer = oElo().Get(L"DeleteObj", ByRef(asked)).ToLong();
        Assert(answer == 1, L"Konnte Dokument nicht löschen: " + Decimal(answer), errors::invalidArgument);
    });
}

// Filing
// -------------------------------------------------------------------------------------------------------------

std::int32_t ELODMS::AddDokument(const Text& sFile, const Text& strBarcode, const Text& strBelegNr,
                                 const Text& strBelegIndex, const Text& strStatus,
                                 const Text& strSesamDocID) {
    for (const DocumentKind& kind : documentKinds) {
        RecordOf(kind) = {};  // nothing of an earlier document may reach this one
    }
    return Inner(context_.errHandler, In(L"AddDokument"), [&] {
        Assert(context_.platform.FileExists(sFile), L"Dokument nicht gefunden: " + sFile,
               errors::invalidArgument);
        const DocumentKind* const kind = KindOf(context_.vouchers.GetBuchungsType(strBelegNr, strBelegIndex));
        if (kind == nullptr) {
            return std::int32_t{0};
        }
        DocumentRecord& record = RecordOf(*kind);
        record.Barcode = strBarcode;
        record.BelegNr = strBelegNr;
        record.BelegIndex = strBelegIndex;
        record.BelegStatus = strStatus;
        record.SesamDocID = strSesamDocID;
        (context_.vouchers.*kind->readData)(strBelegNr, strBelegIndex);
        return Variant(AddEntry(*kind)).ToLong();
    });
}

Text ELODMS::AddEntry(const DocumentKind& kind) {
    return Inner(context_.errHandler, In(kind.addProcedure), [&] {
        PrepareEntry(0, MaskOf(kind));
        oElo().Put(L"ObjMaskNo", MaskOf(kind));
        oElo().Put(L"ObjShort", RecordOf(kind).Kurzbezeichnung);
        for (const IndexField& field : kind.fields) {
            WriteIndexField(kind, field);
        }
        FileDocument(Text(context_.state.folders.strPlatzhalterDatei), kind.folder);
        return oElo().Get(L"GetEntryId", filedEntry).ToText();
    });
}

void ELODMS::EditEntry(const DocumentKind& kind, std::int32_t lObjID) {
    Inner(context_.errHandler, In(kind.editProcedure), [&] {
        PrepareEntry(lObjID, MaskOf(kind));
        oElo().Put(L"ObjShort", RecordOf(kind).Kurzbezeichnung);
        for (const IndexField& field : kind.fields) {
            // An edit never clears a barcode that the archive has.
            if (field.value != &DocumentRecord::Barcode || !RecordOf(kind).Barcode.empty()) {
                WriteIndexField(kind, field);
            }
        }
        oElo().Call(L"UpdateObject");
    });
}

void ELODMS::SaveAuswertung() {
    Inner(context_.errHandler, In(L"SaveAuswertung"), [&] {
        const auto dialog = context_.userInterface.NewReportDialog();
        if (!dialog->GetIndex()) {
            return;
        }
        ReportRecord& record = context_.state.records.cAuswertung;
        record.Kurzbezeichnung = dialog->txtKurzbezeichnung();
        record.Listenbeschreibung = dialog->txtBeschreibung();
        record.DatumVon = dialog->txtVon();
        record.DatumBis = dialog->txtBis();
        const Settings& settings = context_.state.settings;
        PrepareEntry(0, settings.glMaskeAuswertung);
        oElo().Put(L"ObjMaskNo", settings.glMaskeAuswertung);
        oElo().Put(L"ObjShort", record.Kurzbezeichnung);
        SetAttribute(settings.giIdxAuswertung.Listenbeschreibung, Text(record.Listenbeschreibung));
        SetAttribute(settings.giIdxAuswertung.DatumBis,
                     Text(record.DatumBis));  // the end comes before the start
        SetAttribute(settings.giIdxAuswertung.DatumVon, Text(record.DatumVon));
        FileDocument(Text(settings.gsEloPrinterFile), reportFolder);
        oElo().Call(L"GetEntryId", filedEntry);
        oElo().Call(L"clickon", L"mmrefresh");
    });
}

/// A new entry (id 0) or an existing one becomes the archive's current one.
void ELODMS::PrepareEntry(std::int32_t lObjID, std::int32_t lMaske) {
    const std::int32_t answer = oElo().Get(L"PrepareObjectEx", lObjID, documentEntry, ByRef(lMaske)).ToLong();
    Assert(answer > 0, L"Unerwarteter Rückgabewert: PrepareObjectEx=" + Decimal(answer),
           errors::invalidArgument);
}

/// The status written is always the same, whatever the record says.
void ELODMS::WriteIndexField(const DocumentKind& kind, const IndexField& field) {
    const bool isStatus = field.position == &IndexPositions::Belegstatus;
    SetAttribute(PositionOf(kind, field), isStatus ? Text(pending) : RecordOf(kind).*field.value);
}

void ELODMS::SetAttribute(std::int16_t position, const Text& value) {
    oElo().Call(L"setobjAttrib", ByRef(position), value);
}

/// The file goes through the user's postbox into the folder. Nothing is rolled back when a step fails.
void ELODMS::FileDocument(const Text& file, const FilingFolder& folder) {
    Text path = file;
    const std::int32_t added = oElo().Get(L"AddPostboxFile", ByRef(path)).ToLong();
    Assert(added == 1, L"Fehler beim Hinzufügen des Dokuments: AddPostboxFile=" + Decimal(added),
           errors::invalidArgument);
    const Text target = L"#" + Decimal(FolderId(folder));
    const std::int32_t moved = oElo().Get(L"MoveToArchive", target).ToLong();
    Assert(moved == 1, L"Fehler beim Hinzufügen des Dokuments: MoveToArchive=" + Decimal(moved),
           errors::invalidArgument);
}

DocumentRecord& ELODMS::RecordOf(const DocumentKind& kind) const {
    return context_.state.records.*kind.record;
}

std::int32_t ELODMS::MaskOf(const DocumentKind& kind) const {
    return context_.state.settings.*kind.mask;
}

std::int16_t ELODMS::PositionOf(const DocumentKind& kind, const IndexField& field) const {
    return context_.state.settings.*kind.positions.*field.position;
}

}  // namespace kandora
