#include "archive/ELODMS.h"

#include <utility>

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"
#include "support/Convention.h"
#include "support/MDebug.h"
#include "support/MessageBoxes.h"

namespace kandora {

namespace {

constexpr const wchar_t* className = L"ELODMS";

constexpr std::uint32_t loginRetryPause = 500;  // milliseconds

constexpr const wchar_t* pending = L"Pendent";

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

/// A logout that fails, as it always does without a session, is recorded like every error and then forgotten,
/// so that nothing of it is left in the next one.
ELODMS::~ELODMS() {
    if (!lent_.IsNothing() && session_.Stored().Pointer() == lent_.Pointer()) {
        return;
    }
    IgnoringErrors([this] {
        const ErrorKeeper keeper(context_.errHandler);
        AbmeldenVonElo();
    });
}

void ELODMS::RecordAndRaise(const wchar_t* procedure) const {
    kandora::RecordAndRaise(context_.errHandler, {className, procedure});
}

// ---- Session ----

void ELODMS::AnmeldenAnElo() try {
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
} catch (...) {
    RecordAndRaise(L"AnmeldenAnElo");
}

LateBound ELODMS::oElo() try {
    if (!session_.IsAlive()) {
        AnmeldenAnElo();
    }
    return session_.Stored();
} catch (...) {
    RecordAndRaise(L"oElo");
}

void ELODMS::ELOSichtbar() {
    const ErrorKeeper keeper(context_.errHandler);
    IgnoringErrors([this] { oElo().Call(L"BringToFront"); });
    IgnoringErrors([this] { oElo().Call(L"EloWindow", L"NORMAL"); });
}

Text ELODMS::CheckLogin() try {
    if (oElo().Get(L"SelectView", archive::searchView).ComparedTo(0) <= 0) {
        // "Fehlgeschlagen" is meant so: the message has always read like this.
        return L"Das Anmelden an ELO ist Fehlgeschlagen. Das ELO-Interface ist deaktiviert.";
    }
    return {};
} catch (...) {
    RecordAndRaise(L"CheckLogin");
}

/// On the object as it stands, so that a logout never logs in.
void ELODMS::AbmeldenVonElo() try {
    const LateBound object = session_.Stored();
    Text name = L"LOGOUT";
    Text password;
    Text archive;
    object.Call(L"Login", ByRef(name), ByRef(password), ByRef(archive));
    object.Call(L"EloWindow", L"MINIMIZE");
} catch (...) {
    RecordAndRaise(L"AbmeldenVonElo");
}

// ---- Lookup ----

/// Lists what the archive holds of the kind's mask and loads one hit after the other until one matches. The
/// search is deliberately not narrowed: the comparison is made here.
template <class Matches>
std::int32_t ELODMS::FirstHit(const DocumentKind& kind, bool loadWithMask, Matches matches) {
    std::int32_t mask = MaskOf(kind);
    oElo().Call(L"PrepareObjectEx", archive::none, archive::none, ByRef(mask));
    oElo().Call(L"DoInvisibleSearch");
    for (std::int16_t hit = 0; hit <= archive::lastHitExamined; ++hit) {
        std::int32_t id = oElo().Get(L"GetEntryId", archive::firstHit + hit).ToLong();
        const std::int32_t found = id;
        if (found < archive::lowestObjectId) {
            break;
        }
        if (loadWithMask) {
            oElo().Call(L"PrepareObjectEx", ByRef(id), archive::none, ByRef(mask));
        } else {
            oElo().Call(L"PrepareObjectEx", ByRef(id), archive::none, archive::none);
        }
        if (matches(PositionsOf(kind))) {
            return found;
        }
    }
    return 0;
}

Variant ELODMS::Attribute(std::int16_t position) {
    return oElo().Get(L"getobjAttrib", ByRef(position));
}

std::int32_t ELODMS::FindSageDocumentByID(const Text& strSageDokID) try {
    std::int32_t id = 0;
    for (const DocumentKind* kind : searchOrder) {
        id = FirstHit(*kind, true, [&](const IndexPositions& positions) {
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
} catch (...) {
    RecordAndRaise(L"FindSageDocumentByID");
}

std::int32_t ELODMS::FindSageDocumentByBelegNr(const Text& strBelegNr, const Text& strIndex) try {
    std::int32_t id = 0;
    for (const DocumentKind* kind : searchOrder) {
        id = FirstHit(*kind, false, [&](const IndexPositions& positions) {
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
} catch (...) {
    RecordAndRaise(L"FindSageDocumentByBelegNr");
}

bool ELODMS::IsDokumentVorhanden(std::int32_t lDokID) try {
    return oElo().Get(L"PrepareObjectEx", ByRef(lDokID), archive::none, archive::none).ComparedTo(1) >= 0;
} catch (...) {
    RecordAndRaise(L"IsDokumentVorhanden");
}

// ---- Folders and masks ----

Text ELODMS::InArchiveNotation(const Text& strPfad) {
    return Replaced(strPfad, L"/", oElo().Get(L"LookupDelimiter").ToText());
}

/// The folder's id is asked anew each time: the archive's users move folders.
std::int32_t ELODMS::FolderId(const FilingFolder& folder) try {
    Text path = InArchiveNotation(Text(context_.state.folders.*folder.path));
    const Text asked = path;
    const std::int32_t id = oElo().Get(L"LookupIndex", ByRef(path)).ToLong();
    Assert(id > 0, folder.missing + asked, errors::invalidArgument);
    return id;
} catch (...) {
    RecordAndRaise(folder.procedure);
}

Text ELODMS::CheckPFadVorhanden(const Text& strPfad) try {
    Text path = InArchiveNotation(strPfad);
    if (oElo().Get(L"LookupIndex", ByRef(path)).ComparedTo(0) > 0) {
        return {};
    }
    // The lines of this message are separated by a carriage return alone, deliberately.
    return L"Der Pfad '" + strPfad +
           L"' ist im Archiv nicht vorhanden\rKorrigieren Sie die Sesam-Einstellungen";
} catch (...) {
    RecordAndRaise(L"CheckPFadVorhanden");
}

Text ELODMS::PFadErstellen(Text& strPfad) try {
    if (strPfad.empty()) {
        // The path is empty, and there is no answer of the archive to end with: it was not asked.
        return L"Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ";
    }
    if (strPfad.front() != L'/') {
        strPfad = L"/" + Trimmed(strPfad);
    }
    Text path = InArchiveNotation(strPfad);
    const Variant answer = oElo().Get(L"CreateStructure", ByRef(path), archive::none);
    if (answer.IsNumeric() && answer.ToLong() < 0) {
        // Without quotes, unlike above: the two messages have always differed.
        return L"Das Erstellen des Pfades " + strPfad + L" war nicht erfolgreich. Fehler Nr. " +
               answer.ToText();
    }
    return {};
} catch (...) {
    RecordAndRaise(L"PFadErstellen");
}

Text ELODMS::CheckMaskeVorhanden(std::int32_t lMaskeNr) try {
    std::int32_t asked = lMaskeNr;
    if (oElo().Get(L"ReadObjMask", ByRef(asked)).ComparedTo(0) < 0) {
        return L"Die Ablagemaske Nr. " + Decimal(lMaskeNr) + L" ist nicht vorhanden";
    }
    return {};
} catch (...) {
    RecordAndRaise(L"CheckMaskeVorhanden");
}

// ---- Changes ----

/// The shared record is not cleared first: what is not set here keeps what its last use left.
void ELODMS::ChangeDocument(const Text& strBarcode, const Text& strBelegNr, const Text& strBelegIndex,
                            const Text& strSesamDocID) try {
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
} catch (...) {
    RecordAndRaise(L"ChangeDocument");
}

void ELODMS::MarkAsDeleted(const Text& strSesamDocID, const Text& strBelegNr, const Text& strBelegIndex) try {
    const std::int32_t id = FindSageDocumentByID(strSesamDocID);
    const DocumentKind* const kind = KindOf(context_.vouchers.GetBuchungsType(strBelegNr, strBelegIndex));
    if (id <= 0) {
        return;
    }
    // With the voucher mask, whatever the document's kind.
    std::int32_t asked = id;
    std::int32_t mask = context_.state.settings.glMaskeBelege;
    const std::int32_t answer =
        oElo().Get(L"PrepareObjectEx", ByRef(asked), archive::documentEntry, ByRef(mask)).ToLong();
    Assert(answer >= 1, L"Unerwarteter Rückgabewert: PrepareObjectEx=" + Decimal(answer),
           errors::invalidArgument);
    if (kind != nullptr) {
        DeleteEntry(*kind, id);
    }
} catch (...) {
    RecordAndRaise(L"MarkAsDeleted");
}

/// The blanked fields are deliberately not written back ("UpdateObject") before the entry is deleted.
void ELODMS::DeleteEntry(const DocumentKind& kind, std::int32_t lObjID) {
    oElo().Put(L"ObjShort", L"Gelöschter Beleg");
    for (const IndexField& field : kind.fields) {
        const bool isStatus = field.role == FieldRole::Status;
        SetAttribute(PositionOf(kind, field), isStatus ? L"Gelöscht" : L"");
    }
    LoescheDokument(lObjID);
}

void ELODMS::ShowDokument(const Text& strSageDokID) try {
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
} catch (...) {
    RecordAndRaise(L"ShowDokument");
}

void ELODMS::LoescheDokument(std::int32_t lDokID) try {
    std::int32_t asked = lDokID;
    const std::int32_t answer = oElo().Get(L"DeleteObj", ByRef(asked)).ToLong();
    Assert(answer == 1, L"Konnte Dokument nicht löschen: " + Decimal(answer), errors::invalidArgument);
} catch (...) {
    RecordAndRaise(L"LoescheDokument");
}

// ---- Filing ----

std::int32_t ELODMS::AddDokument(const Text& sFile, const Text& strBarcode, const Text& strBelegNr,
                                 const Text& strBelegIndex, const Text& strStatus,
                                 const Text& strSesamDocID) try {
    for (const DocumentKind* kind : documentKinds) {
        RecordOf(*kind) = {};  // nothing of an earlier document may reach this one
    }
    Assert(context_.platform.FileExists(sFile), L"Dokument nicht gefunden: " + sFile,
           errors::invalidArgument);
    const DocumentKind* const kind = KindOf(context_.vouchers.GetBuchungsType(strBelegNr, strBelegIndex));
    if (kind == nullptr) {
        return 0;
    }
    DocumentRecord& record = RecordOf(*kind);
    record.Barcode = strBarcode;
    record.BelegNr = strBelegNr;
    record.BelegIndex = strBelegIndex;
    record.BelegStatus = strStatus;
    record.SesamDocID = strSesamDocID;
    (context_.vouchers.*kind->readData)(strBelegNr, strBelegIndex);
    return Variant(AddEntry(*kind)).ToLong();
} catch (...) {
    RecordAndRaise(L"AddDokument");
}

Text ELODMS::AddEntry(const DocumentKind& kind) try {
    PrepareEntry(0, MaskOf(kind));
    oElo().Put(L"ObjMaskNo", MaskOf(kind));
    oElo().Put(L"ObjShort", RecordOf(kind).Kurzbezeichnung);
    for (const IndexField& field : kind.fields) {
        WriteIndexField(kind, field);
    }
    FileDocument(Text(context_.state.folders.strPlatzhalterDatei), kind.folder);
    return oElo().Get(L"GetEntryId", archive::filedEntry).ToText();
} catch (...) {
    RecordAndRaise(kind.addProcedure);
}

void ELODMS::EditEntry(const DocumentKind& kind, std::int32_t lObjID) try {
    PrepareEntry(lObjID, MaskOf(kind));
    oElo().Put(L"ObjShort", RecordOf(kind).Kurzbezeichnung);
    for (const IndexField& field : kind.fields) {
        // An edit never clears a barcode that the archive has.
        if (field.role != FieldRole::Barcode || !RecordOf(kind).Barcode.empty()) {
            WriteIndexField(kind, field);
        }
    }
    oElo().Call(L"UpdateObject");
} catch (...) {
    RecordAndRaise(kind.editProcedure);
}

void ELODMS::SaveAuswertung() try {
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
    oElo().Call(L"GetEntryId", archive::filedEntry);
    oElo().Call(L"clickon", L"mmrefresh");
} catch (...) {
    RecordAndRaise(L"SaveAuswertung");
}

/// A new entry (id 0) or an existing one becomes the archive's current one.
void ELODMS::PrepareEntry(std::int32_t lObjID, std::int32_t lMaske) {
    const std::int32_t answer =
        oElo().Get(L"PrepareObjectEx", lObjID, archive::documentEntry, ByRef(lMaske)).ToLong();
    Assert(answer > 0, L"Unerwarteter Rückgabewert: PrepareObjectEx=" + Decimal(answer),
           errors::invalidArgument);
}

/// The status written is always the same, whatever the record says.
void ELODMS::WriteIndexField(const DocumentKind& kind, const IndexField& field) {
    const bool isStatus = field.role == FieldRole::Status;
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

const IndexPositions& ELODMS::PositionsOf(const DocumentKind& kind) const {
    return context_.state.settings.*kind.positions;
}

std::int16_t ELODMS::PositionOf(const DocumentKind& kind, const IndexField& field) const {
    return PositionsOf(kind).*field.position;
}

}  // namespace kandora
