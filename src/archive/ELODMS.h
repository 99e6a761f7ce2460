#pragma once

#include <cstdint>

#include "archive/ArchiveContext.h"
#include "archive/ArchiveSession.h"
#include "archive/DocumentKinds.h"
#include "automation/LateBound.h"
#include "automation/Text.h"

namespace kandora {

/// The archive client: session, folders and masks, lookup, filing and changing of documents. Every failure is
/// raised with its frames recorded in the error handler; an unexpected answer of the archive is error 5 with
/// the answer in its text.
class ELODMS {
public:
    explicit ELODMS(ArchiveContext context);
    /// A guest on the session of `host`, if there is one, for questions while the host is at work. When that
    /// session is lost the guest logs in for itself.
    ELODMS(ArchiveContext context, const ELODMS* host);
    /// Logs out; a guest only from what it has logged in itself.
    ~ELODMS();
    ELODMS(const ELODMS&) = delete;
    ELODMS& operator=(const ELODMS&) = delete;

    /// The logged-in automation object. A missing or lost session is opened first, so that every operation
    /// that asks here before each call pays one probe and survives a restarted archive.
    LateBound oElo();
    /// Brings the archive's window to the user; errors are ignored.
    void ELOSichtbar();
    /// The empty text, or why the archive cannot be used.
    Text CheckLogin();

    /// Object id of the document with the host's document id; 0 when none of the first 10001 entries of each
    /// mask is it.
    std::int32_t FindSageDocumentByID(const Text& strSageDokID);
    /// The same by voucher number and index.
    std::int32_t FindSageDocumentByBelegNr(const Text& strBelegNr, const Text& strIndex);
    bool IsDokumentVorhanden(std::int32_t lDokID);

    // These three return the empty text, or a message. Paths have "/" between levels.
    Text CheckPFadVorhanden(const Text& strPfad);
    /// Creates the folder. A path that does not begin with "/" is trimmed and completed in the argument.
    Text PFadErstellen(Text& strPfad);
    Text CheckMaskeVorhanden(std::int32_t lMaskeNr);

    /// Object id of one of the client's folders.
    std::int32_t FolderId(const FilingFolder& folder);

    /// Rewrites the index fields of a voucher's document, or files its placeholder when it has none yet and a
    /// barcode.
    void ChangeDocument(const Text& strBarcode, const Text& strBelegNr, const Text& strBelegIndex,
                        const Text& strSesamDocID);
    /// Blanks the index fields of a document, marks it as deleted and deletes it.
    void MarkAsDeleted(const Text& strSesamDocID, const Text& strBelegNr, const Text& strBelegIndex);
    /// Shows the document in the archive's window, or tells the user that there is none.
    void ShowDokument(const Text& strSageDokID);
    void LoescheDokument(std::int32_t lDokID);

    /// Files a voucher with its index fields. The new entry's object id; 0 when the booking is of no kind
    /// that is filed. `sFile` must exist, but what is handed to the archive is the client's placeholder
    /// document.
    std::int32_t AddDokument(const Text& sFile, const Text& strBarcode, const Text& strBelegNr,
                             const Text& strBelegIndex, const Text& strStatus, const Text& strSesamDocID);
    /// Asks the user for a report's description and files the printer's file; nothing when the user cancels.
    void SaveAuswertung();

private:
    /// Records the error being handled with the procedure as its frame, and raises it again.
    [[noreturn]] void RecordAndRaise(const wchar_t* procedure) const;

    void AnmeldenAnElo();
    void AbmeldenVonElo();

    [[nodiscard]] Text InArchiveNotation(const Text& strPfad);

    template <class Matches>
    std::int32_t FirstHit(const DocumentKind& kind, bool loadWithMask, Matches matches);
    [[nodiscard]] Variant Attribute(std::int16_t position);

    Text AddEntry(const DocumentKind& kind);
    void EditEntry(const DocumentKind& kind, std::int32_t lObjID);
    void DeleteEntry(const DocumentKind& kind, std::int32_t lObjID);
    void PrepareEntry(std::int32_t lObjID, std::int32_t lMaske);
    void WriteIndexField(const DocumentKind& kind, const IndexField& field);
    void SetAttribute(std::int16_t position, const Text& value);
    void FileDocument(const Text& file, const FilingFolder& folder);

    [[nodiscard]] DocumentRecord& RecordOf(const DocumentKind& kind) const;
    [[nodiscard]] std::int32_t MaskOf(const DocumentKind& kind) const;
    [[nodiscard]] const IndexPositions& PositionsOf(const DocumentKind& kind) const;
    [[nodiscard]] std::int16_t PositionOf(const DocumentKind& kind, const IndexField& field) const;

    ArchiveContext context_;
    ArchiveSession session_;
    LateBound lent_;  ///< what a guest was given, not to be logged out; nothing otherwise
};

}  // namespace kandora
